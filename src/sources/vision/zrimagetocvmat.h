#pragma once

#include "filtrix/zrimage.h"

#include <opencv2/core/mat.hpp>

namespace vision
{
/// A matrix on the pixels of a record, none of which is copied: it must not be written to, nor outlive the record.
///
/// With -1 the type follows from the record's colour space: 8 or 16 bits or 32-bit floats, and its channels. Throws
/// std::runtime_error for a colour space that is not known, one whose channels have another size, and a record with
/// fewer bytes than the matrix would have.
[[nodiscard]] cv::Mat zrImageToCvMat(const ZR::ZRImage& record, int type = -1);
}  // namespace vision
