// Puts bodies together again that the segmentation has cut: by a table's edge, by a belt or a coat that returns no
// depth, by an arm that reaches toward the camera. Two objects are one body
// - when they stand at one place, less than 0.4 m apart on the ground, or
// - when one is above the other: most of the narrower one's columns are shared, and where they meet neither the depth
// nor
//   the gap between them differs by more than the thresholds, which are in metres,
// and when together they are not taller than a person.
//
// Source: the first rule is that of the ground-based clustering of M. Munaro, E. Menegatti, "Fast RGB-D People Tracking
// for Service Robots", Autonomous Robots 37, 2014.

#include "filters/perception/frameassembly.h"
#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float samePlace = 0.40F;      ///< metres
constexpr float tallest = 2.30F;        ///< metres
constexpr float sharedColumns = 0.50F;  ///< of the narrower object

// One of the objects to be put together.
struct Piece
{
  std::shared_ptr<Type::Object3D> object;
  ObjectView view;
  cv::Vec3f centre;  ///< in the robot frame
  float topHeight;
  float bottomHeight;
  float topDistance;  ///< metres
  float bottomDistance;
};

float metresOf(const Type::Object3D& object, std::int32_t key, float otherwise)
{
  const auto millimetres = propertyOf<std::int32_t>(object, key);
  return millimetres && *millimetres > 0 ? 0.001F * static_cast<float>(*millimetres) : otherwise;
}

std::optional<Piece> makePiece(const std::shared_ptr<Type::Object3D>& object)
{
  const auto view = ObjectView::of(*object);
  const auto centre = propertyOf<Type::Vector2>(*object, Object3DProperty::CenterOfMass);
  if (!view || !centre || view->distance <= 0.0F)
    return std::nullopt;
  const auto at = [&](float row) { return view->robotPose.apply(view->camera.point(centre->x, row, view->distance)); };
  const auto top = static_cast<float>(view->top);
  return Piece{object,
               *view,
               at(centre->y),
               at(top)[2],
               at(top + static_cast<float>(view->height()))[2],
               metresOf(*object, Object3DProperty::TopOfBlobDist, view->distance),
               metresOf(*object, Object3DProperty::BlobBottomDistance, view->distance)};
}

bool isOneAboveTheOther(const Piece& a, const Piece& b, float depthThreshold, float verticalThreshold)
{
  const Piece& upper = a.bottomHeight > b.bottomHeight ? a : b;
  const Piece& lower = &upper == &a ? b : a;
  const int shared = std::min(upper.view.left + upper.view.width(), lower.view.left + lower.view.width()) -
                     std::max(upper.view.left, lower.view.left);
  const int narrower = std::min(upper.view.width(), lower.view.width());
  return static_cast<float>(shared) >= sharedColumns * static_cast<float>(narrower) &&
         std::abs(upper.bottomDistance - lower.topDistance) < depthThreshold &&
         upper.bottomHeight - lower.topHeight < verticalThreshold;
}

bool belongTogether(const Piece& a, const Piece& b, float depthThreshold, float verticalThreshold)
{
  const float height = std::max(a.topHeight, b.topHeight) - std::min(a.bottomHeight, b.bottomHeight);
  if (height > tallest)
    return false;
  return std::hypot(a.centre[0] - b.centre[0], a.centre[1] - b.centre[1]) < samePlace ||
         isOneAboveTheOther(a, b, depthThreshold, verticalThreshold);
}

class ReconstructBlobs final : public PerceptionFilter
{
public:
  ReconstructBlobs() : PerceptionFilter("ReconstructBlobs") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float depthThreshold = *inputs[1]->get<float>();
    const float verticalThreshold = *inputs[2]->get<float>();
    const auto objects = elementsOf<Type::Object3D>(inputs[0], category());
    std::vector<Piece> pieces;
    std::vector<std::shared_ptr<Type::Object3D>> result;
    for (const auto& object : objects)
    {
      if (auto piece = makePiece(object))
        pieces.push_back(std::move(*piece));
      else
        result.push_back(object);
    }
    const auto frame = assembleFrame(objects);
    for (const auto& group : groupsOf(pieces, depthThreshold, verticalThreshold))
      result.push_back(group.size() == 1 ? pieces[group[0]].object : merge(pieces, group, *frame));
    return {toArray(result)};
  }

private:
  using Group = std::vector<std::size_t>;

  // Each piece is put to the first group with a member that it belongs to; groups that meet in it become one.
  static std::vector<Group> groupsOf(const std::vector<Piece>& pieces, float depthThreshold, float verticalThreshold)
  {
    std::vector<std::size_t> root(pieces.size());
    std::iota(root.begin(), root.end(), std::size_t{0});
    const auto rootOf = [&](std::size_t i)
    {
      while (root[i] != i)
        i = root[i];
      return i;
    };
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
      for (std::size_t j = 0; j < i; ++j)
      {
        if (belongTogether(pieces[i], pieces[j], depthThreshold, verticalThreshold))
          root[std::max(rootOf(i), rootOf(j))] = std::min(rootOf(i), rootOf(j));
      }
    }
    std::vector<Group> groups(pieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i)
      groups[rootOf(i)].push_back(i);
    std::erase_if(groups, [](const Group& group) { return group.empty(); });
    return groups;
  }

  static std::shared_ptr<Type::Object3D> merge(const std::vector<Piece>& pieces, const Group& group, const Frame& frame)
  {
    cv::Rect box;
    bool isOffset = false;
    for (const std::size_t i : group)
    {
      const ObjectView& view = pieces[i].view;
      box |= cv::Rect(view.left, view.top, view.width(), view.height());
      isOffset = isOffset || isTrue(*pieces[i].object, Object3DProperty::TopIsVerticallyOffset);
    }
    cv::Mat mask(box.size(), CV_8UC1, cv::Scalar(0));
    for (const std::size_t i : group)
    {
      const ObjectView& view = pieces[i].view;
      view.mask.copyTo(mask(cv::Rect(view.left - box.x, view.top - box.y, view.width(), view.height())), view.mask);
    }
    auto object = makeObject3D(mask, box, *frame.depth, frame.poses);
    object->setProperty(Object3DProperty::TopIsVerticallyOffset, makeData(isOffset));
    return object;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeReconstructBlobs()
{
  return std::make_shared<ReconstructBlobs>();
}
}  // namespace ZR::Filtrix::Filters
