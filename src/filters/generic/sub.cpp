#include "filters/generic/elementwise.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
/// Numbers differ with a sign, images without: what changed shows in both directions.
FilterPtr makeSub()
{
  constexpr auto difference = [](auto left, auto right) { return left - right; };
  constexpr auto distance = [](const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
  { cv::absdiff(left, right, out); };
  return std::make_shared<ElementwiseFilter>(
      "Sub", "Gives the difference of two numbers, or the absolute difference of two images.",
      ElementwiseFilter::Operation{
          difference,
          difference,
          {{TypeTag::ColorImage, distance}, {TypeTag::GrayscaleImage, distance}, {TypeTag::DepthImage, distance}}});
}
}  // namespace ZR::Filtrix::Filters
