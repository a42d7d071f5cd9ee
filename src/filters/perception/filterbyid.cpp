// Keeps the people whose identities stand in a list, in the order of the population. The list holds Integers or
// UnsignedIntegers.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
class FilterByID final : public PerceptionFilter
{
public:
  FilterByID() : PerceptionFilter("FilterByID") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array, TypeTag::Array}))
    {
      ku::log::error(category(), "Invalid inputs.");
      return {};
    }
    const std::vector<std::uint64_t> wanted = idsOf(*inputs[1]->get<DataArray>());
    DataArray kept = peopleOf(inputs[0], category(), "wrong input type, not Humans");
    std::erase_if(kept,
                  [&](const DataPtr& value) { return !std::ranges::binary_search(wanted, personIn(value)->getId()); });
    return {makeData(std::move(kept))};
  }

private:
  // In ascending order.
  [[nodiscard]] std::vector<std::uint64_t> idsOf(const DataArray& list) const
  {
    std::vector<std::uint64_t> ids;
    ids.reserve(list.size());
    for (const DataPtr& value : list)
    {
      if (const auto id = countIn(value))
        ids.push_back(*id);
      else
        ku::log::error(category(), "idList: expected Integers from 0 up, got {}",
                       value ? Type::toText(*value) : "nothing");
    }
    std::ranges::sort(ids);
    return ids;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeFilterByID()
{
  return std::make_shared<FilterByID>();
}
}  // namespace ZR::Filtrix::Filters
