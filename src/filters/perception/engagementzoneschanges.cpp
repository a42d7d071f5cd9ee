// Tells by flags, for one run each, who came nearer to the robot or went away from it, and which zone was entered. The
// flags stand on the people themselves; who is not seen has none, since its zone is out of date.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* wrongType = "EngagementZonesChanges: wrong input type, not Humans";

constexpr std::array<std::int32_t, 3> entries{HumanProperty::EnteredZone1, HumanProperty::EnteredZone2,
                                              HumanProperty::EnteredZone3};

constexpr std::array<std::int32_t, 5> flags{HumanProperty::ApproachedRobot, HumanProperty::MovedAwayFromRobot,
                                            HumanProperty::EnteredZone1, HumanProperty::EnteredZone2,
                                            HumanProperty::EnteredZone3};

std::optional<std::int32_t> zoneOf(const Type::Human& human)
{
  return valueOf<std::int32_t>(human, HumanProperty::EngagementZone);
}

void removeFlags(Type::Human& human)
{
  for (const std::int32_t flag : flags)
  {
    if (human.hasProperty(flag))
      human.removeProperty(flag);
  }
}

void setFlags(Type::Human& human, std::int32_t previous, std::int32_t current)
{
  const DataPtr yes = makeData(true);
  if (previous != 0 && current < previous)
    human.setProperty(HumanProperty::ApproachedRobot, yes);
  if (previous != 0 && current > previous)
    human.setProperty(HumanProperty::MovedAwayFromRobot, yes);
  if (current != previous && current >= 1 && current <= 3)
    human.setProperty(entries[static_cast<std::size_t>(current - 1)], yes);
}

// Kept: the population of the last run as an Array of people of whom no more than identity and zone is known. The
// people themselves may be given a new zone before the next run, and hold images that nobody needs any more.
class EngagementZonesChanges final : public PerceptionFilter
{
public:
  EngagementZonesChanges() : PerceptionFilter("EngagementZonesChanges") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const DataArray& values = *inputs[0]->get<DataArray>();
    if (!values.empty() && personIn(values.front()) == nullptr)
    {
      ku::log::error(category(), wrongType);
      return {};
    }
    const auto people = peopleOf(inputs[0], category(), wrongType);
    const auto before = remembered();
    for (const DataPtr& value : people)
      compare(*personIn(value), before);
    remember(people);
    return {inputs[0]};
  }

private:
  using PeopleById = std::unordered_map<std::uint64_t, const Type::Human*>;

  // The people are those of the memory, which outlives the run. Of several with one identity the first counts.
  [[nodiscard]] PeopleById remembered() const
  {
    PeopleById people;
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    if (kept == nullptr)
      return people;
    for (const DataPtr& value : *kept)
    {
      if (const Type::Human* const human = personIn(value))
        people.emplace(human->getId(), human);
    }
    return people;
  }

  void remember(const std::vector<DataPtr>& people)
  {
    DataArray kept;
    kept.reserve(people.size());
    for (const DataPtr& value : people)
    {
      const Type::Human& human = *personIn(value);
      auto copy = std::make_shared<Type::Human>(human.getId());
      if (const auto zone = zoneOf(human))
        copy->setProperty(HumanProperty::EngagementZone, makeData(*zone));
      kept.push_back(makeData(std::move(copy)));
    }
    setMemory(makeData(std::move(kept)));
  }

  void compare(Type::Human& human, const PeopleById& before) const
  {
    removeFlags(human);
    if (!valueOf<bool>(human, HumanProperty::IsVisible).value_or(true))
      return;
    const auto current = zoneOf(human);
    if (!current)
    {
      ku::log::error(category(), "EngagementZonesChanges: human are supposed to have an 'EngagementZone'property");
      return;
    }
    setFlags(human, previousZone(human.getId(), before), *current);
  }

  [[nodiscard]] std::int32_t previousZone(std::uint64_t id, const PeopleById& before) const
  {
    const auto found = before.find(id);
    if (found == before.end())
      return 0;
    const auto zone = zoneOf(*found->second);
    if (!zone)
      ku::log::error(category(),
                     "EngagementZonesChanges:  prev human are supposed to have an 'EngagementZone'property");
    return zone.value_or(0);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeEngagementZonesChanges()
{
  return std::make_shared<EngagementZonesChanges>();
}
}  // namespace ZR::Filtrix::Filters
