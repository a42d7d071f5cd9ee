#include "filters/generic/pixelloops.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
void requireSameSize(std::string_view filter, const cv::Mat& left, const cv::Mat& right)
{
  if (left.size() != right.size())
    CV_Error(cv::Error::StsUnmatchedSizes, fmt::format("{}: expected images of one size, got {}x{} and {}x{}", filter,
                                                       left.cols, left.rows, right.cols, right.rows));
}
}  // namespace ZR::Filtrix::Filters
