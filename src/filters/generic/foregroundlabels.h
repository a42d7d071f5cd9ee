#pragma once

#include "filters/generic/equivalences.h"

#include <opencv2/core/mat.hpp>

namespace ZR::Filtrix::Filters
{
/// `labelize` for the case that all neighbours in the foreground are connected: the same labels at the cost of the runs
/// of foreground instead of its pixels. `input` is CV_8UC1 or CV_16UC1; `labels` becomes a new matrix.
int labelForeground(const cv::Mat& input, cv::Mat& labels, const SizeBounds& bounds);
}  // namespace ZR::Filtrix::Filters
