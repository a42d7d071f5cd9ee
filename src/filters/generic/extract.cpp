#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
/// Cuts a rectangle out of a colour image.
///
/// | Port   | Types      | Meaning                                                                                 |
/// |--------|------------|-----------------------------------------------------------------------------------------|
/// | in     | ColorImage | any size                                                                                |
/// | region | Region2    | the first and the last pixel, both included; rounded, and clipped to the image          |
/// | out    | ColorImage | a copy; same source and time, fields of view in proportion to the pixels                |
///
/// A region wholly outside the image throws cv::Exception. Missing inputs or a region of another type give no output,
/// an image of another type gives a null one. Stateless.
class Extract final : public GenericFilter
{
public:
  Extract() : GenericFilter("Extract", "Cuts a rectangle out of a colour image.")
  {
    input("in", {TypeTag::ColorImage});
    input("region", {TypeTag::Region2});
    output("out", {TypeTag::ColorImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Extract::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const region = inputAs<Type::Region2>(inputs, 1);
  if (inputs.size() != 2 || !inputs[0] || !region)
    return {};
  const auto* const image = inputAs<Type::ColorImage>(inputs, 0);
  if (!image)
    return {nullptr};

  auto part = std::make_shared<Type::ColorImage>(image->subImage(*region));
  DataPtr result = makeData(std::move(part));
  result->setTimestamp(image->timestamp());
  return {std::move(result)};
}

FilterPtr makeExtract()
{
  return std::make_shared<Extract>();
}
}  // namespace ZR::Filtrix::Filters
