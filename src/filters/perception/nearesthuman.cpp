// Gives an array of the one person that is nearest; of several at the same distance the first. No output without a
// person whose distance is known.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
class NearestHuman final : public PerceptionFilter
{
public:
  NearestHuman() : PerceptionFilter("NearestHuman") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}))
    {
      ku::log::error(category(), "Invalid inputs.");
      return {};
    }
    DataPtr nearest;
    std::optional<float> least;
    for (const DataPtr& value : peopleOf(inputs[0], category(), "wrong input type, not Humans"))
    {
      const auto distance = distanceOf(*personIn(value));
      if (!distance || (least && *distance >= *least))
        continue;
      least = distance;
      nearest = value;
    }
    if (!nearest)
      return {};
    return {makeData(DataArray{nearest})};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeNearestHuman()
{
  return std::make_shared<NearestHuman>();
}
}  // namespace ZR::Filtrix::Filters
