// Keeps the people from 0 m up to a distance, both included, in their order. Who has no distance is left out.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
class NearPopulation final : public PerceptionFilter
{
public:
  NearPopulation() : PerceptionFilter("NearPopulation") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array, TypeTag::Float}))
    {
      ku::log::error(category(), "Invalid inputs.");
      return {};
    }
    const float maxDistance = *inputs[1]->get<float>();
    DataArray kept = peopleOf(inputs[0], category(), "wrong input type, not Humans");
    std::erase_if(kept,
                  [maxDistance](const DataPtr& value)
                  {
                    const auto distance = distanceOf(*personIn(value));
                    return !(distance && *distance >= 0.0F && *distance <= maxDistance);
                  });
    return {makeData(std::move(kept))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeNearPopulation()
{
  return std::make_shared<NearPopulation>();
}
}  // namespace ZR::Filtrix::Filters
