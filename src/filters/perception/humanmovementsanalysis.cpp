// Follows what moves near a person as hands, on the left, on the right and in the centre, and decides for each whether
// it waves. Left and right are the robot's: what moves to the left of a person whom the robot faces is on the left.
//
// Source: R. Cutler, L. Davis, "Robust Real-Time Periodic Motion Detection, Analysis, and Applications", PAMI 22(8),
// 2000.

#include "filters/perception/handgroups.h"
#include "filters/perception/handmovements.h"
#include "filters/perception/peoplememory.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* ownCategory = "vision.filter.humanmovementanalysis";

/// The properties of a group of movements.
struct GroupKeys
{
  std::int32_t imagePosition;
  std::int32_t movements;
  std::int32_t positions;
  std::int32_t times;
  std::int32_t isWaving;
  std::int32_t isMoving;  ///< negative: the group has none
};

constexpr std::array<GroupKeys, 3> groups{{
    {HumanProperty::LeftHandImagePosition, HumanProperty::LeftHandMovements, HumanProperty::LeftHandPositions,
     HumanProperty::LeftHandTimes, HumanProperty::IsWavingLeft, HumanProperty::IsMovingLeft},
    {HumanProperty::RightHandImagePosition, HumanProperty::RightHandMovements, HumanProperty::RightHandPositions,
     HumanProperty::RightHandTimes, HumanProperty::IsWavingRight, HumanProperty::IsMovingRight},
    {HumanProperty::CenterHandImagePosition, HumanProperty::CenterHandMovements, HumanProperty::CenterHandPositions,
     HumanProperty::CenterHandTimes, HumanProperty::IsWavingCenter, -1},
}};

constexpr std::array<std::int32_t, 9> remembered{
    HumanProperty::LeftHandImagePosition,   HumanProperty::LeftHandPositions,   HumanProperty::LeftHandTimes,
    HumanProperty::RightHandImagePosition,  HumanProperty::RightHandPositions,  HumanProperty::RightHandTimes,
    HumanProperty::CenterHandImagePosition, HumanProperty::CenterHandPositions, HumanProperty::CenterHandTimes};

bool hasNeededProperties(const Type::Object3D& body)
{
  return valueOf<std::int32_t>(body, Object3DProperty::Distance) &&
         valueOf<Type::Vector2>(body, Object3DProperty::CenterOfMass) &&
         valueOf<Type::Region2>(body, Object3DProperty::Region2D) &&
         valueOf<Type::Vector2>(body, Object3DProperty::SizeImage) &&
         valueOf<Type::Vector2>(body, Object3DProperty::SizeImageOfCamera);
}

bool hasResults(const Type::Human& human)
{
  return std::ranges::all_of(groups, [&](const GroupKeys& keys) { return human.hasProperty(keys.isWaving); });
}

void writeNoMovement(Type::Human& human)
{
  for (const GroupKeys& keys : groups)
  {
    for (const std::int32_t key : {keys.imagePosition, keys.movements, keys.positions, keys.times})
    {
      if (human.hasProperty(key))
        human.removeProperty(key);
    }
    human.setProperty(keys.isWaving, makeData(false));
    if (keys.isMoving >= 0)
      human.setProperty(keys.isMoving, makeData(false));
  }
}

template <typename Value>
DataPtr arrayOf(const std::vector<Value>& elements)
{
  DataArray values;
  values.reserve(elements.size());
  for (const Value& element : elements)
    values.push_back(makeData(element));
  return makeData(std::move(values));
}

// What a run goes by.
struct Run
{
  float minSize;
  float maxDistance;
  Time now;
  RememberedPeople before;
};

// Kept: the population of the last run, of whom the hands alone are remembered, and the time of that run.
class HumanMovementsAnalysis final : public PerceptionFilter
{
public:
  HumanMovementsAnalysis() : PerceptionFilter("HumanMovementsAnalysis") {}

  DataList run(const DataList& inputs) override
  {
    if (!areValid(inputs))
    {
      ku::log::error(ownCategory, "invalid inputs");
      return {};
    }
    const DataArray& population = *inputs[0]->get<DataArray>();
    const Time now = Time::now();
    const Run settings{*inputs[1]->get<float>(), *inputs[2]->get<float>(), now, RememberedPeople(lastPeople(now))};
    for (const DataPtr& value : population)
      analyse(*personIn(value), settings);
    setMemory(makeData(DataArray{rememberPeople(population, remembered), makeData(now)}));
    return {inputs[0]};
  }

private:
  static bool areValid(const DataList& inputs)
  {
    return haveTypes(inputs, std::array{TypeTag::Array, TypeTag::Float, TypeTag::Float}) && isPopulation(inputs[0]) &&
           std::isfinite(*inputs[1]->get<float>()) && !std::isnan(*inputs[2]->get<float>());
  }

  // Nobody after a pause as long as the window, and when the clock was set back: the histories are out of date.
  [[nodiscard]] DataPtr lastPeople(Time now) const
  {
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    if (kept == nullptr || kept->size() != 2)
      return nullptr;
    const auto* const lastRun = (*kept)[1]->get<Time>();
    const Duration elapsed = lastRun != nullptr ? now - *lastRun : Duration(-1);
    return elapsed >= Duration() && elapsed <= handWindow ? (*kept)[0] : nullptr;
  }

  static void analyse(Type::Human& human, const Run& settings)
  {
    if (!valueOf<bool>(human, HumanProperty::IsVisible).value_or(true) && hasResults(human))
      return;
    const auto body = bodyOf(human);
    if (!body)
    {
      ku::log::error(ownCategory, "human has no Object3D");
      return;
    }
    if (!hasNeededProperties(*body))
    {
      ku::log::error(ownCategory, "object3D of Human does not have all the needed properties");
      return;
    }
    const std::int32_t distance = *valueOf<std::int32_t>(*body, Object3DProperty::Distance);
    if (!(settings.maxDistance > static_cast<float>(distance) / 1000.0F))
      return writeNoMovement(human);
    HandPaths paths = readPaths(human, settings);
    const Hands hands = findHands(human, *body, paths, ownCategory);
    for (std::size_t i = 0; i < groups.size(); ++i)
    {
      if (!hands[i].empty())
        paths[i].add(handPosition(hands[i]), settings.now, settings.minSize);
      write(human, groups[i], hands[i], paths[i], settings);
    }
  }

  // The histories stand on the person if it was here before, else on who had its identity then.
  static HandPaths readPaths(const Type::Human& human, const Run& settings)
  {
    const Type::Human* const before = settings.before.find(human.getId());
    HandPaths paths;
    for (std::size_t i = 0; i < groups.size(); ++i)
    {
      const GroupKeys& keys = groups[i];
      const bool isOwn = human.hasProperty(keys.positions) || human.hasProperty(keys.times);
      const Type::Human* const holder = isOwn ? &human : before;
      if (holder == nullptr)
        continue;
      const auto positions = checkedProperty<DataArray>(*holder, keys.positions);
      const auto times = checkedProperty<DataArray>(*holder, keys.times);
      paths[i] = filterHandsPositionWithTime(positions ? *positions : DataArray(), times ? *times : DataArray(),
                                             settings.now, ownCategory);
    }
    return paths;
  }

  static void write(Type::Human& human, const GroupKeys& keys, const std::vector<Hand>& hands, const HandPath& path,
                    const Run& settings)
  {
    DataArray movements;
    for (const Hand& hand : hands)
      movements.push_back(hand.movement);
    human.setProperty(keys.movements, makeData(std::move(movements)));
    human.setProperty(keys.positions, arrayOf(path.positions));
    human.setProperty(keys.times, arrayOf(path.times));
    human.setProperty(keys.isWaving, makeData(isWaving(path.positions, settings.minSize)));
    if (keys.isMoving >= 0)
      human.setProperty(keys.isMoving, makeData(!hands.empty()));
    const Type::Human* const before = settings.before.find(human.getId());
    if (!hands.empty())
      human.setProperty(keys.imagePosition, makeData(hands.front().imagePosition));
    else if (before != nullptr && before->hasProperty(keys.imagePosition))
      human.setProperty(keys.imagePosition, before->getProperty(keys.imagePosition));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeHumanMovementsAnalysis()
{
  return std::make_shared<HumanMovementsAnalysis>();
}
}  // namespace ZR::Filtrix::Filters
