// Finds out what hangs in the air: lamps, screens on a wall, the upper part of a wall cupboard. An object levitates
// when its lower end is far above the ground, is not cut by the image's border, and has nothing nearer before it that
// could hide how it goes on downwards.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A lower end above this is in the air, metres: a person's shins may return no depth, its knees do.
constexpr float highestBottom = 0.45F;

/// Something nearer hides the rest when it takes this share of the object's columns.
constexpr float hidingShare = 0.3F;

/// The heavy algorithm looks at the lower end of every column; the light one at the lowest row.
constexpr float columnShare = 0.2F;

class CheckLevitation final : public PerceptionFilter
{
public:
  CheckLevitation() : PerceptionFilter("CheckLevitation") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const bool heavy = inputs[1] && *inputs[1]->get<bool>();
    const auto objects = elementsOf<Type::Object3D>(inputs[0], category());
    std::vector<std::optional<ObjectView>> views;
    views.reserve(objects.size());
    for (const auto& object : objects)
      views.push_back(ObjectView::of(*object));
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
      if (views[i])
        objects[i]->setProperty(Object3DProperty::IsLevitating,
                                makeData(!isTrue(*objects[i], Object3DProperty::BottomBorderTouched) &&
                                         bottomHeight(*views[i], heavy) > highestBottom && !isHidden(i, views)));
    }
    return {inputs[0]};
  }

private:
  static float bottomHeight(const ObjectView& view, bool heavy)
  {
    if (!heavy)
      return view.heightOf(view.height() - 1, view.width() / 2, view.distance);
    std::vector<float> heights;
    for (int column = 0; column < view.width(); ++column)
    {
      for (int row = view.height() - 1; row >= 0; --row)
      {
        if (!view.isSet(row, column) || view.depth(row, column) <= 0.0F)
          continue;
        heights.push_back(view.heightOf(row, column, view.depth(row, column)));
        break;
      }
    }
    if (heights.empty())
      return 0.0F;
    const auto place = static_cast<std::ptrdiff_t>(columnShare * static_cast<float>(heights.size()));
    std::nth_element(heights.begin(), heights.begin() + place, heights.end());
    return heights[static_cast<std::size_t>(place)];
  }

  // A nearer object that begins below this one's top and ends below its bottom.
  static bool isHidden(std::size_t index, const std::vector<std::optional<ObjectView>>& views)
  {
    const ObjectView& own = *views[index];
    for (std::size_t i = 0; i < views.size(); ++i)
    {
      if (i == index || !views[i] || views[i]->distance > own.distance - depthTolerance(own.distance))
        continue;
      const ObjectView& other = *views[i];
      const int shared = std::min(own.left + own.width(), other.left + other.width()) - std::max(own.left, other.left);
      if (static_cast<float>(shared) > hidingShare * static_cast<float>(own.width()) &&
          other.top + other.height() >= own.top + own.height())
        return true;
    }
    return false;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCheckLevitation()
{
  return std::make_shared<CheckLevitation>();
}
}  // namespace ZR::Filtrix::Filters
