#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labelize.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
/// Splits an image into regions of connected pixels.
///
/// | Port      | Types                               | Meaning                                                      |
/// |-----------|-------------------------------------|--------------------------------------------------------------|
/// | in        | BinaryImage DepthImage GrayscaleImage | 0 is background; depth in millimetres                      |
/// | tolerance | Integer, optional, 0                | by how much connected neighbours may differ; not for binary  |
/// | out       | LabelImage                          | 1, 2, 3, ... in the order of their first pixels; 0 elsewhere |
///
/// Neighbours share a side. In a binary image all of the foreground is connected. Gray values above 127 count as 127.
/// Wrong inputs are logged on "filtrix.filter.labelize"; they and an empty image give no output. Stateless.
class Labelize final : public GenericFilter
{
public:
  Labelize() : GenericFilter("Labelize", "Numbers the regions of connected pixels of an image.")
  {
    input("in", {TypeTag::BinaryImage, TypeTag::DepthImage, TypeTag::GrayscaleImage});
    optionalInput("tolerance", {TypeTag::Integer});
    output("out", {TypeTag::LabelImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Labelize::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const TypeTag type = inputs.size() == 2 ? typeOf(inputs[0]) : TypeTag::Invalid;
  if (!isOneOf(type, {TypeTag::BinaryImage, TypeTag::GrayscaleImage, TypeTag::DepthImage}))
  {
    logInvalidInput("filtrix.filter.labelize", "Labelize");
    return {};
  }

  constexpr int anyStep = 255;
  const int tolerance = inputs[1] ? inputs[1]->toInt() : 0;
  cv::Mat labels;
  labelize(Type::toCvMat(*inputs[0]), labels, type == TypeTag::BinaryImage ? anyStep : tolerance, 0, 0);
  if (labels.empty())
    return {};
  return {Type::toData(TypeTag::LabelImage, labels, *inputs[0])};
}

FilterPtr makeLabelize()
{
  return std::make_shared<Labelize>();
}
}  // namespace ZR::Filtrix::Filters
