#include "filters/generic/elementwise.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
/// Of two numbers that do not compare, such as NaN, `right` is the result.
FilterPtr makeMax()
{
  constexpr auto greater = [](auto left, auto right) { return left > right ? left : right; };
  constexpr auto greaterElements = [](const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
  { cv::max(left, right, out); };
  return std::make_shared<ElementwiseFilter>(
      "Max", "Gives the greater of two numbers, or the greater elements of two images.",
      ElementwiseFilter::Operation{
          greater, greater, {{TypeTag::ColorImage, greaterElements}, {TypeTag::GrayscaleImage, greaterElements}}});
}
}  // namespace ZR::Filtrix::Filters
