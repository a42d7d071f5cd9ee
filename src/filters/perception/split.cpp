// Takes an array of two apart; the two halves of a longer one; any other value goes to both outputs.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/data.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class Split final : public PerceptionFilter
{
public:
  Split() : PerceptionFilter("Split") {}

  DataList run(const DataList& inputs) override
  {
    const auto* const array = inputs[0] ? inputs[0]->get<DataArray>() : nullptr;
    if (array == nullptr)
      return {inputs[0], inputs[0]};
    if (array->size() == 2)
      return {(*array)[0], (*array)[1]};
    const auto middle = array->begin() + static_cast<std::ptrdiff_t>((array->size() + 1) / 2);
    return {makeData(DataArray(array->begin(), middle)), makeData(DataArray(middle, array->end()))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeSplit()
{
  return std::make_shared<Split>();
}
}  // namespace ZR::Filtrix::Filters
