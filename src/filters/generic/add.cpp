#include "filters/generic/elementwise.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{

FilterPtr makeAdd()
{
  constexpr auto sum = [](auto left, auto right) { return left + right; };
  constexpr auto saturatingSum = [](const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
  { cv::add(left, right, out); };
  return std::make_shared<ElementwiseFilter>("Add", "Adds two numbers or two images; pixels saturate.",
                                             ElementwiseFilter::Operation{sum,
                                                                          sum,
                                                                          {{TypeTag::ColorImage, saturatingSum},
                                                                           {TypeTag::GrayscaleImage, saturatingSum},
                                                                           {TypeTag::BinaryImage, saturatingSum}}});
}
}  // namespace ZR::Filtrix::Filters
