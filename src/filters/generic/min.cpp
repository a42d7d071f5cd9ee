#include "filters/generic/elementwise.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
/// Of two numbers that do not compare, such as NaN, `right` is the result.
FilterPtr makeMin()
{
  constexpr auto smaller = [](auto left, auto right) { return left < right ? left : right; };
  constexpr auto smallerElements = [](const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
  { cv::min(left, right, out); };
  return std::make_shared<ElementwiseFilter>(
      "Min", "Gives the smaller of two numbers, or the smaller elements of two images.",
      ElementwiseFilter::Operation{
          smaller, smaller, {{TypeTag::ColorImage, smallerElements}, {TypeTag::GrayscaleImage, smallerElements}}});
}
}  // namespace ZR::Filtrix::Filters
