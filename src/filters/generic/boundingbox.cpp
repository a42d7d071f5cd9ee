#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labels.h"
#include "filtrix/image.h"

#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
Type::Vector2 toVector(int x, int y)
{
  return {static_cast<float>(x), static_cast<float>(y)};
}
}  // namespace

/// The rectangles around the labels of an image.
///
/// | Port      | Types      | Meaning                                                                          |
/// |-----------|------------|----------------------------------------------------------------------------------|
/// | in        | LabelImage | any size                                                                         |
/// | out       | Array      | a Region2 per label, ascending: its first and last column and row, in pixels     |
/// | inputSize | Vector2    | width and height of `in`, to bring the rectangles to another size                |
///
/// A label that is a single column wide gives no rectangle. A missing input or another type gives no output. Stateless.
class BoundingBox final : public GenericFilter
{
public:
  BoundingBox() : GenericFilter("BoundingBox", "Gives the rectangle around each label.")
  {
    input("in", {TypeTag::LabelImage});
    output("out", {TypeTag::Array});
    output("inputSize", {TypeTag::Vector2});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList BoundingBox::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::LabelImage)
    return {};

  const cv::Mat labels = Type::toCvMat(*inputs[0]);
  DataArray regions;
  findBoxes(labels).forEach(
      [&](int, const Box& box)
      {
        if (box.hasWidth())
          regions.push_back(makeData(Type::Region2(toVector(box.minX, box.minY), toVector(box.maxX, box.maxY))));
      });
  return {makeData(std::move(regions)), makeData(toVector(labels.cols, labels.rows))};
}

FilterPtr makeBoundingBox()
{
  return std::make_shared<BoundingBox>();
}
}  // namespace ZR::Filtrix::Filters
