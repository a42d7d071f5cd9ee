// Finds for each object of one segmentation, of movements for example, the object of another on which it lies: the one
// that shares most of its pixels, at nearly its distance. Objects of the reference hold what lies on them.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// An object lies on another when it shares at least this much of its pixels with it.
constexpr float leastShare = 0.3F;

int sharedPixels(const ObjectView& a, const ObjectView& b)
{
  const cv::Rect common =
      cv::Rect(a.left, a.top, a.width(), a.height()) & cv::Rect(b.left, b.top, b.width(), b.height());
  int count = 0;
  for (int v = common.y; v < common.y + common.height; ++v)
  {
    for (int u = common.x; u < common.x + common.width; ++u)
    {
      if (!a.isSet(v - a.top, u - a.left) || !b.isSet(v - b.top, u - b.left))
        continue;
      const float depth = a.depth(v - a.top, u - a.left);
      const float other = b.depth(v - b.top, u - b.left);
      count += std::abs(depth - other) < depthTolerance(depth) ? 1 : 0;
    }
  }
  return count;
}

// What lies on a reference is held by it; if that held the reference itself too, neither would ever be freed.
std::shared_ptr<Type::Object3D> withoutMatches(const Type::Object3D& reference)
{
  auto copy = std::make_shared<Type::Object3D>(reference.getRegion());
  for (auto& [key, value] : reference.getProperties())
  {
    if (key != Object3DProperty::MatchedObjects)
      copy->setProperty(key, value);
  }
  return copy;
}

class MatchObjects3D final : public PerceptionFilter
{
public:
  MatchObjects3D() : PerceptionFilter("MatchObjects3D") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto objects = elementsOf<Type::Object3D>(inputs[0], category());
    const auto references = elementsOf<Type::Object3D>(inputs[1], category());
    std::vector<DataArray> matched(references.size());
    std::vector<std::optional<ObjectView>> views;
    for (const auto& reference : references)
      views.push_back(ObjectView::of(*reference));
    for (const auto& object : objects)
    {
      const auto match = findMatch(*object, views);
      if (!match)
        continue;
      object->setProperty(Object3DProperty::MatchedReference, makeData(withoutMatches(*references[*match])));
      matched[*match].push_back(makeData(object));
    }
    for (std::size_t i = 0; i < references.size(); ++i)
    {
      references[i]->setProperty(Object3DProperty::HasMovementData, makeData(static_cast<std::int32_t>(1)));
      references[i]->setProperty(Object3DProperty::MatchedObjects, makeData(std::move(matched[i])));
    }
    return {inputs[0], inputs[1]};
  }

private:
  static std::optional<std::size_t> findMatch(const Type::Object3D& object,
                                              const std::vector<std::optional<ObjectView>>& references)
  {
    const auto view = ObjectView::of(object);
    const auto pixels = propertyOf<std::int32_t>(object, Object3DProperty::PixelCount);
    if (!view || !pixels)
      return std::nullopt;
    std::optional<std::size_t> best;
    int most = std::max(1, static_cast<int>(leastShare * static_cast<float>(*pixels)));
    for (std::size_t i = 0; i < references.size(); ++i)
    {
      const int shared = references[i] ? sharedPixels(*view, *references[i]) : 0;
      if (shared < most || (best && shared == most))
        continue;
      most = shared;
      best = i;
    }
    return best;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeMatchObjects3D()
{
  return std::make_shared<MatchObjects3D>();
}
}  // namespace ZR::Filtrix::Filters
