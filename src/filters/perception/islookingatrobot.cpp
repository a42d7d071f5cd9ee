// Decides who looks at the robot: whose score is at or above a threshold. A face that is not found for a moment ends
// nothing: somebody who looked goes on doing so for three scores below the threshold, and stops with the fourth. Nobody
// counts as looking before a first hit, and who was out of sight has no tolerance left.

#include "filters/perception/peoplememory.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ZR::Filtrix::Filters
{
namespace
{
/// So many scores below the threshold in a row are tolerated.
constexpr std::uint32_t maxMisses = 3;

constexpr std::array<std::int32_t, 2> remembered{HumanProperty::IsLookingAtRobot, HumanProperty::LookingMissCount};

struct Looking
{
  bool isLooking = false;
  std::uint32_t misses = maxMisses;
};

Looking next(const Looking& before, bool isHit)
{
  if (isHit)
    return {true, 0};
  if (before.misses < maxMisses)
    return {true, before.misses + 1};
  return {false, before.misses};
}

void removeFlags(Type::Human& human)
{
  for (const std::int32_t flag : {HumanProperty::StartedLooking, HumanProperty::StoppedLooking})
  {
    if (human.hasProperty(flag))
      human.removeProperty(flag);
  }
}

// The decision of before holds as long as nobody can see otherwise.
void markUnseen(Type::Human& human)
{
  if (!human.hasProperty(HumanProperty::IsLookingAtRobot))
    human.setProperty(HumanProperty::IsLookingAtRobot, makeData(false));
  human.setProperty(HumanProperty::LookingMissCount, makeData(maxMisses));
}

// Kept: the population of the last run, of whom no more than the decision is remembered.
class IsLookingAtRobot final : public PerceptionFilter
{
public:
  IsLookingAtRobot() : PerceptionFilter("IsLookingAtRobot") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array, TypeTag::Float}) || !isPopulation(inputs[0]))
    {
      ku::log::error(category(), "Invalid inputs");
      return {};
    }
    const DataArray& population = *inputs[0]->get<DataArray>();
    const RememberedPeople before(getMemory());
    for (const DataPtr& value : population)
      judge(*personIn(value), *inputs[1]->get<float>(), before);
    setMemory(rememberPeople(population, remembered));
    return {inputs[0]};
  }

private:
  void judge(Type::Human& human, float threshold, const RememberedPeople& before) const
  {
    removeFlags(human);
    if (!valueOf<bool>(human, HumanProperty::IsVisible).value_or(true))
      return markUnseen(human);
    // A score that is missing is not a number, hence a miss.
    if (!human.hasScore(ScoreName::lookingAtRobot))
      ku::log::error(category(), "Human {} does not have a score 'LookingAtRobot'", human.getId());
    const Looking earlier = earlierOf(human.getId(), before);
    const Looking now = next(earlier, human.getScore(ScoreName::lookingAtRobot) >= threshold);
    human.setProperty(HumanProperty::IsLookingAtRobot, makeData(now.isLooking));
    human.setProperty(HumanProperty::LookingMissCount, makeData(now.misses));
    if (now.isLooking != earlier.isLooking)
      human.setProperty(now.isLooking ? HumanProperty::StartedLooking : HumanProperty::StoppedLooking, makeData(true));
  }

  [[nodiscard]] Looking earlierOf(std::uint64_t id, const RememberedPeople& before) const
  {
    const Type::Human* const human = before.find(id);
    if (human == nullptr)
      return {};
    const auto isLooking = valueOf<bool>(*human, HumanProperty::IsLookingAtRobot);
    if (!isLooking)
      ku::log::error(category(), "Human {} did not have an 'IsLookingAtRobot' property before", id);
    const auto misses = countIn(human->getProperty(HumanProperty::LookingMissCount)).value_or(maxMisses);
    return {isLooking.value_or(false), static_cast<std::uint32_t>(std::min<std::uint64_t>(misses, maxMisses))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeIsLookingAtRobot()
{
  return std::make_shared<IsLookingAtRobot>();
}
}  // namespace ZR::Filtrix::Filters
