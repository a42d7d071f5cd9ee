#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labels.h"
#include "filtrix/image.h"

#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
// Width to height, both measured from first to last pixel; 0 where either is 0.
float ratioOf(const Box& box)
{
  if (!box.hasWidth() || box.maxY == box.minY)
    return 0.0F;
  return static_cast<float>(box.maxX - box.minX) / static_cast<float>(box.maxY - box.minY);
}

struct Range
{
  float min;
  float max;

  [[nodiscard]] bool holds(float ratio) const { return min <= ratio && ratio <= max; }
};

cv::Mat keepRatios(const cv::Mat& labels, const Range& range)
{
  LabelTable<Box> boxes = findBoxes(labels);
  return keepLabels(labels, [&](int label) { return range.holds(ratioOf(boxes[label])); });
}

DataArray keepRegions(const DataArray& elements, const Range& range)
{
  DataArray kept;
  for (const DataPtr& element : elements)
  {
    const auto* const region = element ? element->get<Type::Region2>() : nullptr;
    if (region == nullptr)
      continue;
    const float height = region->end.y - region->start.y;
    if (height != 0.0F && range.holds((region->end.x - region->start.x) / height))
      kept.push_back(element);
  }
  return kept;
}
}  // namespace

/// Keeps the regions whose ratio of width to height lies in a range.
///
/// | Port     | Types            | Meaning                                                                         |
/// |----------|------------------|---------------------------------------------------------------------------------|
/// | in       | LabelImage Array | labels, or an array of Region2; elements of other types are dropped             |
/// | min, max | Float            | the least and the greatest ratio to keep                                        |
/// | out      | as `in`          | the labels that are left, with the source, time and view of `in`; or an array   |
///
/// Of a label, the ratio is (maxX - minX) / (maxY - minY), and 0 when it is a single row or column. Region2 values
/// without height are dropped. Missing inputs or other types give no output. Stateless.
class Ratio final : public GenericFilter
{
public:
  Ratio() : GenericFilter("Ratio", "Keeps the labels or regions with a ratio of width to height from min to max.")
  {
    input("in", {TypeTag::LabelImage, TypeTag::Array});
    input("min", {TypeTag::Float});
    input("max", {TypeTag::Float});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Ratio::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 3 || typeOf(inputs[1]) != TypeTag::Float || typeOf(inputs[2]) != TypeTag::Float)
    return {};

  const Range range{inputs[1]->toFloat(), inputs[2]->toFloat()};
  switch (typeOf(inputs[0]))
  {
  case TypeTag::LabelImage:
    return {Type::toData(TypeTag::LabelImage, keepRatios(Type::toCvMat(*inputs[0]), range), *inputs[0])};
  case TypeTag::Array:
    return {makeData(keepRegions(inputs[0]->toArray(), range))};
  default:
    return {};
  }
}

FilterPtr makeRatio()
{
  return std::make_shared<Ratio>();
}
}  // namespace ZR::Filtrix::Filters
