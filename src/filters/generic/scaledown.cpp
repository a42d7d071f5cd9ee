#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
template <typename Image>
cv::Mat scaleDown(const Data& image, int factor)
{
  return image.get<Image>()->scaleDown(factor).cvMat();
}

struct OfType
{
  TypeTag type;
  cv::Mat (*scaleDown)(const Data& image, int factor);
};

constexpr OfType ofTypes[] = {
    {TypeTag::ColorImage, &scaleDown<Type::ColorImage>}, {TypeTag::BinaryImage, &scaleDown<Type::BinaryImage>},
    {TypeTag::DepthImage, &scaleDown<Type::DepthImage>}, {TypeTag::GrayscaleImage, &scaleDown<Type::GrayscaleImage>},
    {TypeTag::LabelImage, &scaleDown<Type::LabelImage>},
};
}  // namespace

/// Makes an image smaller by a whole factor: every `factor`-th pixel of every `factor`-th row stays.
///
/// | Port   | Types                                                       | Meaning |
/// |--------|-------------------------------------------------------------|---------------------------------------------|
/// | in     | ColorImage BinaryImage DepthImage GrayscaleImage LabelImage | any size | | factor | Integer | at most the
/// shorter side of `in`            | | out    | as `in`                                                     | same
/// source, time and fields of view        |
///
/// A factor below 1 passes `in` on as it is, whatever its type. A factor beyond the shorter side throws
/// std::invalid_argument. Missing inputs or a factor that is no Integer give no output; another type of image is also
/// logged, on "filtrix.filter.scaledown". Stateless.
class ScaleDown final : public GenericFilter
{
public:
  ScaleDown() : GenericFilter("ScaleDown", "Makes an image smaller by a whole factor.")
  {
    const PortPtr in = addInput("in");
    for (const OfType& row : ofTypes)
      in->addType(row.type);
    input("factor", {TypeTag::Integer});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList ScaleDown::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || !inputs[0] || typeOf(inputs[1]) != TypeTag::Integer)
    return {};
  const int factor = inputs[1]->toInt();
  if (factor < 1)
    return {inputs[0]};

  const auto* const row = std::ranges::find(ofTypes, inputs[0]->type(), &OfType::type);
  if (row == std::end(ofTypes) || !inputs[0]->rawPointer())
  {
    logInvalidInput("filtrix.filter.scaledown", "ScaleDown");
    return {};
  }
  return {Type::toData(row->type, row->scaleDown(*inputs[0], factor), *inputs[0])};
}

FilterPtr makeScaleDown()
{
  return std::make_shared<ScaleDown>();
}
}  // namespace ZR::Filtrix::Filters
