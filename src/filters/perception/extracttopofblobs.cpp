// Finds the top of each object: of the columns' tops above its middle the highest above the ground that a neighbouring
// column confirms, and how far away what is below it is. Height counts in the robot frame, not in rows: a camera that
// looks down sees a near head below a far one. A hand that is raised beside the head is not above the middle.

#include "filters/perception/blobprofile.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A column's top is confirmed by one of the next columns whose top is at most so much lower, in metres.
constexpr float confirmation = 0.06F;

/// The distance at the top is that of a head: so far below it and to its sides, in metres.
constexpr float headHeight = 0.16F;
constexpr float headHalfWidth = 0.08F;

/// A top is at most so far to the sides of the body's middle, in metres.
constexpr float reach = 0.25F;

// Of the columns from `first` to `last`.
std::optional<int> highestColumn(const std::vector<ColumnTop>& tops, std::size_t first, std::size_t last)
{
  const auto confirms = [&](std::size_t other, float height)
  { return other < tops.size() && tops[other].row >= 0 && tops[other].height > height - confirmation; };
  std::optional<int> highest;
  for (std::size_t column = first; column <= last && column < tops.size(); ++column)
  {
    const ColumnTop& top = tops[column];
    if (top.row < 0 || (highest && top.height <= tops[static_cast<std::size_t>(*highest)].height))
      continue;
    if (confirms(column - 1, top.height) || confirms(column + 1, top.height) || tops.size() == 1)
      highest = static_cast<int>(column);
  }
  return highest;
}

std::optional<int> highestAbove(const ObjectView& view, const std::vector<ColumnTop>& tops, int middle)
{
  const auto columns = static_cast<int>(reach * view.camera.focalX() / std::max(view.distance, 0.1F));
  const int last = std::max(0, middle + columns);
  const auto highest =
      highestColumn(tops, static_cast<std::size_t>(std::max(0, middle - columns)), static_cast<std::size_t>(last));
  return highest ? highest : highestColumn(tops, 0, tops.size());
}

// A head's top is flat for some columns: the middle of those that are nearly as high as the highest.
int middleOfTop(const std::vector<ColumnTop>& tops, int highest)
{
  constexpr float flat = 0.02F;  // metres
  const float least = tops[static_cast<std::size_t>(highest)].height - flat;
  const auto isTop = [&](int column)
  {
    return column >= 0 && column < static_cast<int>(tops.size()) && tops[static_cast<std::size_t>(column)].row >= 0 &&
           tops[static_cast<std::size_t>(column)].height > least;
  };
  int first = highest;
  int last = highest;
  while (isTop(first - 1))
    --first;
  while (isTop(last + 1))
    ++last;
  return (first + last) / 2;
}

class ExtractTopOfBlobs final : public PerceptionFilter
{
public:
  ExtractTopOfBlobs() : PerceptionFilter("ExtractTopOfBlobs") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& object : elementsOf<Type::Object3D>(inputs[0], category()))
      extract(*object);
    return {inputs[0]};
  }

private:
  void extract(Type::Object3D& object) const
  {
    const auto histogram = propertyOf<Type::Histogram>(object, Object3DProperty::HorizontalHistogram);
    if (!histogram)
    {
      ku::log::error(category(), "filter ComputeHorizontalHistogram has not been applied before");
      return;
    }
    const auto view = ObjectView::of(object);
    const auto centre = propertyOf<Type::Vector2>(object, Object3DProperty::CenterOfMass);
    if (!view || !centre)
    {
      ku::log::error(category(), "Object3D does not have the required properties");
      return;
    }
    const auto tops = columnTops(*view, *histogram);
    const auto highest = highestAbove(*view, tops, static_cast<int>(std::lround(centre->x)) - view->left);
    if (!highest)
      return;
    const int column = middleOfTop(tops, *highest);
    const ColumnTop& top = tops[static_cast<std::size_t>(column)];
    const auto rows = static_cast<int>(std::ceil(headHeight * view->camera.focalY() / top.depth));
    const auto columns = static_cast<int>(std::ceil(headHalfWidth * view->camera.focalX() / top.depth));
    const float distance = medianDepthIn(*view, top.row, top.row + rows, column - columns, column + columns);
    object.setProperty(Object3DProperty::TopOfBlob,
                       makeData(static_cast<float>(view->left + column), static_cast<float>(view->top + top.row)));
    object.setProperty(Object3DProperty::TopOfBlobDist,
                       makeData(static_cast<std::int32_t>(std::lround(1000.0F * distance))));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractTopOfBlobs()
{
  return std::make_shared<ExtractTopOfBlobs>();
}
}  // namespace ZR::Filtrix::Filters
