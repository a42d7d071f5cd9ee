// Makes one value of two: an array of those that are there, arrays taken apart into their elements.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/data.h"

#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
class Collapse final : public PerceptionFilter
{
public:
  Collapse() : PerceptionFilter("Collapse") {}

  DataList run(const DataList& inputs) override
  {
    DataArray all;
    for (const DataPtr& input : inputs)
    {
      if (const auto* const array = input ? input->get<DataArray>() : nullptr)
        all.insert(all.end(), array->begin(), array->end());
      else if (input)
        all.push_back(input);
    }
    return {makeData(std::move(all))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCollapse()
{
  return std::make_shared<Collapse>();
}
}  // namespace ZR::Filtrix::Filters
