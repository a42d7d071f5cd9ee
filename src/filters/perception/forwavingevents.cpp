// Tells by flags, for one run each, that somebody waves at the robot: on the left, on the right or in the centre. A
// wave that goes on is told again after more than two seconds. The times of the last flags go with a person's identity.

#include "filters/perception/peoplememory.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"
#include "filtrix/time.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ZR::Filtrix::Filters
{
namespace
{
/// From one flag to the next of the same hand, in milliseconds.
constexpr std::int32_t minEventIntervalMs = 2000;

struct EventKeys
{
  std::int32_t isWaving;
  std::int32_t started;
  std::int32_t stamp;
};

constexpr std::array<EventKeys, 3> events{{
    {HumanProperty::IsWavingLeft, HumanProperty::StartedWavingLeft, HumanProperty::WavingStampLeft},
    {HumanProperty::IsWavingRight, HumanProperty::StartedWavingRight, HumanProperty::WavingStampRight},
    {HumanProperty::IsWavingCenter, HumanProperty::StartedWavingCenter, HumanProperty::WavingStampCenter},
}};

constexpr std::array<std::int32_t, 6> remembered{HumanProperty::IsWavingLeft,   HumanProperty::WavingStampLeft,
                                                 HumanProperty::IsWavingRight,  HumanProperty::WavingStampRight,
                                                 HumanProperty::IsWavingCenter, HumanProperty::WavingStampCenter};

bool hasResults(const Type::Human& human)
{
  return std::ranges::all_of(events, [&](const EventKeys& keys) { return human.hasProperty(keys.isWaving); });
}

void removeFlags(Type::Human& human)
{
  for (const EventKeys& keys : events)
  {
    if (human.hasProperty(keys.started))
      human.removeProperty(keys.started);
  }
}

// A stamp from the future is one of before the clock was set back.
bool isDue(const Type::Human& human, const EventKeys& keys, Time now)
{
  const auto stamp = valueOf<Time>(human, keys.stamp);
  return !stamp || *stamp > now || (now - *stamp).milliseconds() > minEventIntervalMs;
}

// Kept: the population of the last run, of whom no more than the waving is remembered.
class ForWavingEvents final : public PerceptionFilter
{
public:
  ForWavingEvents() : PerceptionFilter("ForWavingEvents") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}) || !isPopulation(inputs[0]))
    {
      ku::log::error(category(), "ForWavingEvents: wrong input type, not Humans");
      return {};
    }
    const DataArray& population = *inputs[0]->get<DataArray>();
    const RememberedPeople before(getMemory());
    const Time now = Time::now();
    for (const DataPtr& value : population)
      raise(*personIn(value), before, now);
    setMemory(rememberPeople(population, remembered));
    return {inputs[0]};
  }

private:
  // The stamps are carried on whatever else is missing: they are all that keeps a wave from being told at every run.
  void raise(Type::Human& human, const RememberedPeople& before, Time now) const
  {
    removeFlags(human);
    if (!valueOf<bool>(human, HumanProperty::IsVisible).value_or(true))
      return;
    if (const Type::Human* const previous = before.find(human.getId()))
      carryStamps(human, *previous);
    if (!hasResults(human))
    {
      ku::log::error(
          category(),
          "ForWavingEvents: human {} does not have 'IsWavingLeft', 'IsWavingRight' or 'IsWavingCenter' properties",
          human.getId());
      return;
    }
    for (const EventKeys& keys : events)
    {
      if (!valueOf<bool>(human, keys.isWaving).value_or(false) || !isDue(human, keys, now))
        continue;
      human.setProperty(keys.started, makeData(true));
      human.setProperty(keys.stamp, makeData(now));
    }
  }

  void carryStamps(Type::Human& human, const Type::Human& previous) const
  {
    if (!hasResults(previous))
      ku::log::error(category(),
                     "ForWavingEvents: human {} did not have 'IsWavingLeft', 'IsWavingRight' or 'IsWavingCenter' "
                     "properties before",
                     human.getId());
    for (const EventKeys& keys : events)
    {
      if (previous.hasProperty(keys.stamp))
        human.setProperty(keys.stamp, previous.getProperty(keys.stamp));
    }
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeForWavingEvents()
{
  return std::make_shared<ForWavingEvents>();
}
}  // namespace ZR::Filtrix::Filters
