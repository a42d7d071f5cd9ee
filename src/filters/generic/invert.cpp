#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
namespace
{
struct IsBackground
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    for (int x = 0; x < pixels; ++x)
      out[x] = in[x] == 0 ? 255 : 0;
  }
};

// 255 minus each element.
cv::Mat invertLevels(const cv::Mat& image)
{
  cv::Mat result = makePooledMat(image.rows, image.cols, image.type());
  if (!image.empty())
    cv::bitwise_not(image, result);
  return result;
}
}  // namespace

/// Turns a truth value or an image into its opposite.
///
/// | Port | Types                                         | Meaning                                                  |
/// |------|-----------------------------------------------|----------------------------------------------------------|
/// | in   | Boolean ColorImage GrayscaleImage BinaryImage | any size                                                 |
/// | out  | as `in`                                       | images: same size, source, time and fields of view       |
///
/// Pixels become 255 minus themselves. A binary result holds 255 where the input is 0, and 0 elsewhere, whatever value
/// the input's foreground has. A missing input or another type gives no output. Stateless.
class Invert final : public GenericFilter
{
public:
  Invert() : GenericFilter("Invert", "Turns a truth value or an image into its opposite.")
  {
    input("in", {TypeTag::Boolean, TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::BinaryImage});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Invert::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const TypeTag type = inputs.size() == 1 ? typeOf(inputs[0]) : TypeTag::Invalid;
  if (type == TypeTag::Boolean)
    return {makeData(!inputs[0]->toBool())};
  if (!isOneOf(type, {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::BinaryImage}))
    return {};
  const cv::Mat image = Type::toCvMat(*inputs[0]);
  const cv::Mat inverse = type == TypeTag::BinaryImage ? mapPixels(image, IsBackground()) : invertLevels(image);
  return {Type::toData(type, inverse, *inputs[0])};
}

FilterPtr makeInvert()
{
  return std::make_shared<Invert>();
}
}  // namespace ZR::Filtrix::Filters
