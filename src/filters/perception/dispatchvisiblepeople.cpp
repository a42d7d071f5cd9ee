// Splits a population between the people who are seen and those who are only remembered.

#include "filters/perception/peopledispatch.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/properties.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class DispatchVisiblePeople final : public PerceptionFilter
{
public:
  DispatchVisiblePeople() : PerceptionFilter("DispatchVisiblePeople") {}

  DataList run(const DataList& inputs) override
  {
    return dispatchPeople(inputs, HumanProperty::IsVisible, "DispatchVisiblePeople", "IsVisible", category());
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDispatchVisiblePeople()
{
  return std::make_shared<DispatchVisiblePeople>();
}
}  // namespace ZR::Filtrix::Filters
