// Follows the nearest object. Candidates nearer than a distance compete by how far away they are, and the one that
// stands where the last choice stood has an advantage, so that the choice does not jump between two of nearly equal
// distance. For a moment after it was lost the place of the last choice keeps that advantage. The output is an array of
// at most one object.

#include "filters/perception/camerageometry.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/time.h"

#include <cmath>
#include <limits>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// All in metres.
constexpr float farthest = 1.5F;   ///< unless "distance" says otherwise
constexpr float advantage = 0.3F;  ///< of the last choice
constexpr float samePlace = 0.3F;

/// So long the last choice is remembered.
const Type::Duration memoryLength(500'000);

struct Candidate
{
  DataPtr value;
  float distance;  ///< metres
  std::optional<Type::Vector3> position;
};

Type::Vector3 placeOf(const Type::Vector6& position)
{
  return {position.x, position.y, position.z};
}

std::optional<Candidate> makeCandidate(const DataPtr& value)
{
  const auto candidate = [&](const Type::PropertyHolder& object, std::int32_t distanceKey,
                             std::int32_t positionKey) -> std::optional<Candidate>
  {
    const auto distance = propertyOf<std::int32_t>(object, distanceKey);
    if (!distance || *distance <= 0)
      return std::nullopt;
    const auto position = propertyOf<Type::Vector6>(object, positionKey);
    return Candidate{value, 0.001F * static_cast<float>(*distance),
                     position ? std::optional(placeOf(*position)) : std::nullopt};
  };
  if (const auto object = value ? value->share<Type::Object3D>() : nullptr)
    return candidate(*object, Object3DProperty::Distance, Object3DProperty::PositionInRobotFrame);
  if (const auto object = value ? value->share<Type::Object2D>() : nullptr)
    return candidate(*object, Object2DProperty::Distance, Object2DProperty::PositionInRobotFrame);
  return std::nullopt;
}

// Kept: the place of the last choice in the robot frame, and when it was made.
class NearestObject final : public PerceptionFilter
{
public:
  NearestObject() : PerceptionFilter("NearestObject") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float limit = inputs[1] ? *inputs[1]->get<float>() : farthest;
    const Type::Time now = Type::Time::now();
    const auto last = inputs[2] ? std::optional(*inputs[2]->get<Type::Vector3>()) : remembered(now);
    std::optional<Candidate> best;
    float bestScore = std::numeric_limits<float>::infinity();
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
    {
      auto candidate = makeCandidate(value);
      if (!candidate || candidate->distance > limit)
        continue;
      const float score = candidate->distance - (isAt(*candidate, last) ? advantage : 0.0F);
      if (score >= bestScore)
        continue;
      bestScore = score;
      best = std::move(candidate);
    }
    if (!best)
      return {makeData(DataArray())};
    if (best->position)
      setMemory(makeData(DataArray{makeData(*best->position), makeData(now)}));
    return {makeData(DataArray{best->value})};
  }

private:
  [[nodiscard]] std::optional<Type::Vector3> remembered(Type::Time now) const
  {
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    if (kept == nullptr || now - *(*kept)[1]->get<Type::Time>() > memoryLength)
      return std::nullopt;
    return *(*kept)[0]->get<Type::Vector3>();
  }

  static bool isAt(const Candidate& candidate, const std::optional<Type::Vector3>& place)
  {
    if (!candidate.position || !place)
      return false;
    const Type::Vector3 way = *candidate.position - *place;
    return std::hypot(way.x, way.y, way.z) < samePlace;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeNearestObject()
{
  return std::make_shared<NearestObject>();
}
}  // namespace ZR::Filtrix::Filters
