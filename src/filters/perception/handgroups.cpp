#include "filters/perception/handgroups.h"

#include "filters/perception/objectview.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// In widths of the shoulders, from the body's axis.
constexpr float besideBody = 0.5F;
constexpr float beforeBody = 0.4F;

// In metres. A body that is measured with its arms is no wider than the widest shoulders.
constexpr float usualShoulders = 0.45F;
constexpr float narrowestShoulders = 0.30F;
constexpr float widestShoulders = 0.60F;

/// From the top of the head down to the middle of the chest, in metres: 0.28 of a stature of 1.75 m. Hands that swing
/// in walking stay below it.
constexpr float topToChest = 0.50F;

/// The middle of the head below its top, and how far about it movements are those of the head, in metres.
constexpr float topToHead = 0.12F;
constexpr float headRadius = 0.20F;

/// A hand in the centre is so far before the axis at least, in metres: nearer to it the chest itself moves.
constexpr float beforeChest = 0.22F;

enum Group : std::size_t
{
  onLeft,
  onRight,
  inCentre
};

/// A body as the judge of its movements sees it, in the robot's frame.
struct Trunk
{
  cv::Vec2f axis;
  cv::Vec2f left;  ///< of length one, across the robot's line of sight
  float shoulders;
  std::optional<float> top;
};

std::optional<Type::Vector2> centreOf(const Type::Object3D& object)
{
  const auto centre = valueOf<Type::Vector2>(object, Object3DProperty::CenterOfMass);
  return centre && std::isfinite(centre->x) && std::isfinite(centre->y) ? centre : std::nullopt;
}

// The point of the centre at the object's distance.
std::optional<cv::Vec3f> placeOf(const Type::Object3D& object)
{
  if (const auto known = valueOf<Type::Vector6>(object, Object3DProperty::PositionInRobotFrame);
      known && isFinite(*known))
    return cv::Vec3f(known->x, known->y, known->z);
  const auto view = ObjectView::of(object);
  const auto centre = centreOf(object);
  if (!view || !centre || view->distance <= 0.0F)
    return std::nullopt;
  return view->robotPose.apply(view->camera.point(centre->x, centre->y, view->distance));
}

std::optional<Trunk> trunkOf(const Type::Human& human, const Type::Object3D& body)
{
  const auto head = valueOf<Type::Vector3>(human, HumanProperty::Head3DPosition);
  const bool isKnown = head && std::isfinite(head->x) && std::isfinite(head->y) && std::isfinite(head->z);
  const auto place = isKnown ? cv::Vec3f(head->x, head->y, head->z) : placeOf(body);
  if (!place)
    return std::nullopt;
  const cv::Vec2f axis((*place)[0], (*place)[1]);
  const float distance = std::hypot(axis[0], axis[1]);
  const cv::Vec2f left = distance > 0.0F ? cv::Vec2f(-axis[1], axis[0]) / distance : cv::Vec2f(0.0F, 1.0F);
  const float width = floatProperty(human, HumanProperty::BodyWidth).value_or(usualShoulders);
  return Trunk{axis, left, std::clamp(width, narrowestShoulders, widestShoulders),
               isKnown ? std::optional(head->z) : std::nullopt};
}

bool isArm(const cv::Vec3f& place, const Trunk& trunk)
{
  if (!trunk.top)
    return true;
  const cv::Vec3f fromHead = place - cv::Vec3f(trunk.axis[0], trunk.axis[1], *trunk.top - topToHead);
  return place[2] > *trunk.top - topToChest && fromHead.dot(fromHead) > headRadius * headRadius;
}

Type::Vector3 positionOf(const cv::Vec3f& place, const Trunk& trunk)
{
  const cv::Vec2f fromAxis = cv::Vec2f(place[0], place[1]) - trunk.axis;
  const cv::Vec2f forward(trunk.left[1], -trunk.left[0]);
  return {fromAxis.dot(trunk.left), place[2] - trunk.top.value_or(0.0F), fromAxis.dot(forward)};
}

bool isWhereItWas(const Type::Vector3& position, const HandPath& path)
{
  return !path.positions.empty() && !areApart(position, path.positions.back());
}

Group groupOf(const Type::Vector3& position, const Trunk& trunk, const HandPaths& paths)
{
  const float offset = position.x / trunk.shoulders;
  const Group side = offset > 0.0F ? onLeft : onRight;
  if (std::abs(offset) > besideBody)
    return side;
  return std::abs(offset) > beforeBody && isWhereItWas(position, paths[side]) ? side : inCentre;
}

// Movements are found by the person, or came with the body from a segmentation of all that moves.
DataPtr movementsOf(const Type::Human& human, const Type::Object3D& body)
{
  const DataPtr own = human.getProperty(HumanProperty::AssociatedMovements);
  return own ? own : body.getProperty(Object3DProperty::MatchedObjects);
}

std::optional<Hand> handOf(const std::shared_ptr<Type::Object3D>& movement, const Trunk& trunk)
{
  const auto place = placeOf(*movement);
  const auto centre = centreOf(*movement);
  const auto size = valueOf<Type::Vector2>(*movement, Object3DProperty::SizeImage);
  const auto sizeOfCamera = valueOf<Type::Vector2>(*movement, Object3DProperty::SizeImageOfCamera);
  if (!place || !centre || !size || !sizeOfCamera || !(size->x > 0.0F && size->y > 0.0F))
    return std::nullopt;
  return Hand{makeData(movement), *place, positionOf(*place, trunk), *centre * *sizeOfCamera / *size};
}
}  // namespace

Hands findHands(const Type::Human& human, const Type::Object3D& body, const HandPaths& paths, std::string_view category)
{
  Hands hands;
  const auto trunk = trunkOf(human, body);
  const auto movements = elementsOf<Type::Object3D>(movementsOf(human, body), category);
  if (!trunk && !movements.empty())
    ku::log::error(category, "human {} has movements, but no place in the robot's frame", human.getId());
  if (!trunk)
    return hands;
  const auto limit = valueOf<std::int32_t>(human, HumanProperty::BodyLimit);
  for (const auto& movement : movements)
  {
    const auto hand = handOf(movement, *trunk);
    if (!hand)
    {
      ku::log::error(category, "a movement of human {} does not say where it is", human.getId());
      continue;
    }
    const bool isBelowBody = limit && hand->imagePosition.y > static_cast<float>(*limit);
    if (isBelowBody || !isArm(hand->place, *trunk))
      continue;
    const Group group = groupOf(hand->position, *trunk, paths);
    if (group != inCentre || hand->position.z < -beforeChest)
      hands[group].push_back(*hand);
  }
  return hands;
}

Type::Vector3 handPosition(const std::vector<Hand>& hands)
{
  const auto topmost = std::ranges::max_element(hands, {}, [](const Hand& hand) { return hand.position.y; });
  Type::Vector3 sum;
  float count = 0.0F;
  for (const Hand& hand : hands)
  {
    if (areApart(hand.position, topmost->position))
      continue;
    sum = sum + hand.position;
    count += 1.0F;
  }
  return {sum.x / count, sum.y / count, sum.z / count};
}
}  // namespace ZR::Filtrix::Filters
