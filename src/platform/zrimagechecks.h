#pragma once

#include "filtrix/zrimage.h"

#include <string>

namespace ZR
{
inline constexpr const char* zrImageLog = "vision.zrimage";

/// What is wrong with a record of this description, or an empty text: a negative side or layer, more than 2^31 - 1
/// bytes, or one of our colour spaces with another number of layers than it has.
[[nodiscard]] std::string problemOf(const ZRImageHeader& header);

/// The bytes of the pixels of a description without a problem.
[[nodiscard]] std::size_t byteCount(const ZRImageHeader& header) noexcept;
}  // namespace ZR
