#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labels.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
/// Keeps the regions of a label image whose size lies in a range.
///
/// | Port     | Types      | Meaning                                                      |
/// |----------|------------|--------------------------------------------------------------|
/// | in       | LabelImage | any size                                                     |
/// | min, max | Integer    | the least and the greatest number of pixels to keep          |
/// | out      | LabelImage | the labels that are left; same source, time and fields of view |
///
/// Missing inputs or other types give no output. Stateless.
class Density final : public GenericFilter
{
public:
  Density() : GenericFilter("Density", "Keeps the labels with a number of pixels from min to max.")
  {
    input("in", {TypeTag::LabelImage});
    input("min", {TypeTag::Integer});
    input("max", {TypeTag::Integer});
    output("out", {TypeTag::LabelImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Density::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 3 || typeOf(inputs[0]) != TypeTag::LabelImage || typeOf(inputs[1]) != TypeTag::Integer ||
      typeOf(inputs[2]) != TypeTag::Integer)
    return {};

  const cv::Mat labels = Type::toCvMat(*inputs[0]);
  const std::int64_t min = inputs[1]->toInt();
  const std::int64_t max = inputs[2]->toInt();
  LabelTable<std::int64_t> counts(labels);
  forEachRun(labels,
             [&](int, int begin, int end, int label)
             {
               if (label > 0)
                 counts[label] += end - begin;
             });
  const cv::Mat kept = keepLabels(labels, [&](int label) { return counts[label] >= min && counts[label] <= max; });
  return {Type::toData(TypeTag::LabelImage, kept, *inputs[0])};
}

FilterPtr makeDensity()
{
  return std::make_shared<Density>();
}
}  // namespace ZR::Filtrix::Filters
