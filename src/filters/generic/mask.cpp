#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
/// Keeps the pixels of an image that a mask marks; the others become 0.
///
/// | Port | Types                                                                    | Meaning                       |
/// |------|--------------------------------------------------------------------------|-------------------------------|
/// | mask | BinaryImage                                                              | what is not 0 is kept         |
/// | in   | ColorImage GrayscaleImage LabelImage DepthImage BinaryImage XYZImage     | as large as `mask`            |
/// | out  | as `in`                                                                  | the header is that of `mask`  |
///
/// Missing inputs give no output. Other types are also logged, on "filtrix.filter.mask". Images of different size throw
/// cv::Exception. Stateless.
class Mask final : public GenericFilter
{
public:
  Mask() : GenericFilter("Mask", "Keeps the pixels that a mask marks; the others become 0.")
  {
    input("mask", {TypeTag::BinaryImage});
    input("in", {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::LabelImage, TypeTag::DepthImage,
                 TypeTag::BinaryImage, TypeTag::XYZImage});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Mask::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || !inputs[0] || !inputs[1])
    return {};
  const TypeTag type = inputs[1]->type();
  if (inputs[0]->type() != TypeTag::BinaryImage ||
      !isOneOf(type, {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::LabelImage, TypeTag::DepthImage,
                      TypeTag::BinaryImage, TypeTag::XYZImage}))
  {
    logInvalidInput("filtrix.filter.mask", "Mask");
    return {};
  }

  const cv::Mat mask = Type::toCvMat(*inputs[0]);
  const cv::Mat image = Type::toCvMat(*inputs[1]);
  requireSameSize("Mask", mask, image);
  cv::Mat kept = makePooledMat(image.rows, image.cols, image.type());
  kept.setTo(cv::Scalar());
  image.copyTo(kept, mask);
  return {Type::toData(type, kept, *inputs[0])};
}

FilterPtr makeMask()
{
  return std::make_shared<Mask>();
}
}  // namespace ZR::Filtrix::Filters
