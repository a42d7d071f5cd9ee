// Keeps the people whose score under a name lies between a threshold and 1, both included, in their order. Who has no
// such score is left out.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
class FilterPopulationByScore final : public PerceptionFilter
{
public:
  FilterPopulationByScore() : PerceptionFilter("FilterPopulationByScore") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array, TypeTag::String, TypeTag::Float}))
    {
      ku::log::error(category(), "Invalid inputs.");
      return {};
    }
    const std::string& name = *inputs[1]->get<std::string>();
    const float threshold = *inputs[2]->get<float>();
    DataArray kept = peopleOf(inputs[0], category(), "wrong input type, not Humans");
    // A score that is not there is NaN, which lies between no two numbers.
    std::erase_if(kept,
                  [&](const DataPtr& value)
                  {
                    const float score = personIn(value)->getScore(name);
                    return !(score >= threshold && score <= 1.0F);
                  });
    return {makeData(std::move(kept))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeFilterPopulationByScore()
{
  return std::make_shared<FilterPopulationByScore>();
}
}  // namespace ZR::Filtrix::Filters
