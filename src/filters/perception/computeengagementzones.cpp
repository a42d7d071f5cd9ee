// Places each person, or each movement, into one of three zones about the robot. Two distances in metres and an angle
// in degrees part them; what stands exactly on a limit is in the nearer zone.
//
//                                  | within the angle | beside it
//     up to the first distance     |        1         |     2
//     up to the second distance    |        2         |     3
//     farther                      |        3         |     3
//
// The type of the first element decides for the whole array. Who is not seen keeps the zone it has, since its place is
// out of date.

#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <cmath>
#include <cstdint>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float degreesPerRadian = 57.29578F;
constexpr const char* wrongType = "ComputeEngagementZones: wrong input type, not Humans nor Objects3D";

struct Zones
{
  float angle;           ///< degrees, to each side
  float firstDistance;   ///< metres
  float secondDistance;  ///< metres

  [[nodiscard]] bool areNumbers() const
  {
    return !std::isnan(angle) && !std::isnan(firstDistance) && !std::isnan(secondDistance);
  }

  // The angle is that of the quotient: who stands behind the robot is judged as if mirrored to its front.
  [[nodiscard]] std::int32_t at(float x, float y) const
  {
    const float distance2 = x * x + y * y;
    if (distance2 > secondDistance * secondDistance)
      return 3;
    const bool isAside = std::abs(std::atan(y / x)) * degreesPerRadian > angle;
    if (distance2 > firstDistance * firstDistance)
      return isAside ? 3 : 2;
    return isAside ? 2 : 1;
  }
};

std::optional<Type::Vector2> finitePlace(float x, float y)
{
  return std::isfinite(x) && std::isfinite(y) ? std::optional(Type::Vector2(x, y)) : std::nullopt;
}

std::optional<Type::Vector2> placeOf(const Type::Object3D& movement)
{
  const auto position = valueOf<Type::Vector6>(movement, Object3DProperty::PositionInRobotFrame);
  return position ? finitePlace(position->x, position->y) : std::nullopt;
}

// What was found in an image alone stands at its distance, in the direction of the middle of its box.
std::optional<Type::Vector2> placeOf(const Type::Object2D& movement)
{
  const auto distance = valueOf<std::int32_t>(movement, Object2DProperty::Distance);
  const auto box = valueOf<Type::Region2>(movement, Object2DProperty::Region2D);
  const auto size = valueOf<Type::Vector2>(movement, Object2DProperty::SizeImage);
  const auto fov = valueOf<Type::Vector2>(movement, Object2DProperty::FieldOfView);
  const auto camera = valueOf<Type::Vector6>(movement, Object2DProperty::CameraPositionRobot);
  if (!distance || *distance <= 0 || !box || !size || !fov || !camera)
    return std::nullopt;
  const Pinhole pinhole(size->x, size->y, fov->x, fov->y);
  if (!pinhole.isValid())
    return std::nullopt;
  const float metres = static_cast<float>(*distance) / 1000.0F;
  const float bearing = std::atan(pinhole.left((box->start.x + box->end.x) / 2.0F)) + camera->wz;
  return finitePlace(metres * std::cos(bearing), metres * std::sin(bearing));
}

class ComputeEngagementZones final : public PerceptionFilter
{
public:
  ComputeEngagementZones() : PerceptionFilter("ComputeEngagementZones") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const Zones zones{*inputs[1]->get<float>(), *inputs[2]->get<float>(), *inputs[3]->get<float>()};
    if (!zones.areNumbers())
    {
      ku::log::error(category(), "expected an angle in degrees and two distances in metres, got {}, {} and {}",
                     zones.angle, zones.firstDistance, zones.secondDistance);
      return {};
    }
    return placeAll(inputs[0], zones) ? DataList{inputs[0]} : DataList{};
  }

private:
  // False when the array holds nothing that can be placed.
  [[nodiscard]] bool placeAll(const DataPtr& array, const Zones& zones) const
  {
    const DataArray& values = *array->get<DataArray>();
    if (values.empty())
      return true;
    switch (values.front() ? values.front()->type() : TypeTag::Invalid)
    {
    case TypeTag::Human:
      placePeople(array, zones);
      return true;
    case TypeTag::Object3D:
      placeMovements<Type::Object3D>(values, zones,
                                     "ComputeEngagementZones: movement does not have a "
                                     "'PositionInRobotFrame' property");
      return true;
    case TypeTag::Object2D:
      placeMovements<Type::Object2D>(values, zones,
                                     "ComputeEngagementZones: movement does not have a distance and a "
                                     "bearing");
      return true;
    default:
      ku::log::error(category(), wrongType);
      return false;
    }
  }

  void placePeople(const DataPtr& population, const Zones& zones) const
  {
    for (const DataPtr& value : peopleOf(population, category(), wrongType))
    {
      Type::Human& human = *personIn(value);
      const bool isSeen = valueOf<bool>(human, HumanProperty::IsVisible).value_or(true);
      if (!isSeen && human.hasProperty(HumanProperty::EngagementZone))
        continue;
      if (const auto place = placeProperty(human, HumanProperty::GroundPositionInRobotFrame))
        human.setProperty(HumanProperty::EngagementZone, makeData(zones.at(place->x, place->y)));
      else
        ku::log::error(category(),
                       "ComputeEngagementZones: human does not have a 'GroundPositionInRobotFrame' property");
    }
  }

  template <typename Movement>
  void placeMovements(const DataArray& values, const Zones& zones, const char* placeMissing) const
  {
    static_assert(Object2DProperty::EngagementZone == static_cast<std::int32_t>(Object3DProperty::EngagementZone));
    for (const DataPtr& value : values)
    {
      auto* const movement = value ? value->get<Movement>() : nullptr;
      if (movement == nullptr)
        ku::log::error(category(), wrongType);
      else if (const auto place = placeOf(*movement))
        movement->setProperty(Object3DProperty::EngagementZone, makeData(zones.at(place->x, place->y)));
      else
        ku::log::write(ku::log::Level::Error, category(), placeMissing);
    }
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeEngagementZones()
{
  return std::make_shared<ComputeEngagementZones>();
}
}  // namespace ZR::Filtrix::Filters
