#include "filters/generic/morphology.h"

#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
// From here on a square covers the image from each of its pixels.
int covering(int length)
{
  return 2 * length;
}
}  // namespace

cv::Mat applyMorphology(const cv::Mat& image, Morphology operation, int size)
{
  cv::Mat result = makePooledMat(image.rows, image.cols, image.type());
  if (image.empty())
    return result;
  const cv::Mat square =
      cv::Mat::ones(std::min(size, covering(image.rows)), std::min(size, covering(image.cols)), CV_8U);
  // Isolated: else the pixels around a part of a larger matrix would count.
  constexpr int border = cv::BORDER_CONSTANT | cv::BORDER_ISOLATED;
  const auto apply = operation == Morphology::Dilation ? &cv::dilate : &cv::erode;
  apply(image, result, square, {-1, -1}, 1, border, cv::morphologyDefaultBorderValue());
  return result;
}

MorphologyFilter::MorphologyFilter(const std::string& filterName, std::string_view description, Morphology operation_,
                                   std::string_view category_)
    : GenericFilter(filterName, description), operation(operation_), category(category_)
{
  input("in", {TypeTag::BinaryImage, TypeTag::GrayscaleImage, TypeTag::DepthImage});
  input("size", {TypeTag::Integer});
  output("out", {TypeTag::BinaryImage, TypeTag::GrayscaleImage, TypeTag::DepthImage});
}

DataList MorphologyFilter::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const TypeTag type = inputs.size() == 2 ? typeOf(inputs[0]) : TypeTag::Invalid;
  if (!isOneOf(type, {TypeTag::BinaryImage, TypeTag::GrayscaleImage, TypeTag::DepthImage}) ||
      typeOf(inputs[1]) != TypeTag::Integer || inputs[1]->toInt() < 1)
  {
    logInvalidInput(category, getName());
    return {};
  }
  return {Type::toData(type, applyMorphology(Type::toCvMat(*inputs[0]), operation, inputs[1]->toInt()), *inputs[0])};
}
}  // namespace ZR::Filtrix::Filters
