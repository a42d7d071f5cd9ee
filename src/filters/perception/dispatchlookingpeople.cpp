// Splits a population between the people who look at the robot and those who do not.

#include "filters/perception/peopledispatch.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/properties.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class DispatchLookingPeople final : public PerceptionFilter
{
public:
  DispatchLookingPeople() : PerceptionFilter("DispatchLookingPeople") {}

  DataList run(const DataList& inputs) override
  {
    return dispatchPeople(inputs, HumanProperty::IsLookingAtRobot, "DispatchLookingPeople", "IsLookingAtRobot",
                          category());
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDispatchLookingPeople()
{
  return std::make_shared<DispatchLookingPeople>();
}
}  // namespace ZR::Filtrix::Filters
