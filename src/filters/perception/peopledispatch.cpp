#include "filters/perception/peopledispatch.h"

#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace ZR::Filtrix::Filters
{
DataList dispatchPeople(const DataList& inputs, std::int32_t key, std::string_view filter, std::string_view property,
                        std::string_view category)
{
  if (!haveTypes(inputs, std::array{TypeTag::Array}))
  {
    ku::log::error(category, "{} : invalid inputs", filter);
    return {};
  }
  DataArray with;
  DataArray without;
  for (const DataPtr& value : peopleOf(inputs[0], category, fmt::format("{}: wrong input type, not Humans", filter)))
  {
    const auto isTrue = valueOf<bool>(*personIn(value), key);
    if (!isTrue)
      ku::log::error(category, "{}: human does not have a '{}' property", filter, property);
    (isTrue.value_or(false) ? with : without).push_back(value);
  }
  return {makeData(std::move(with)), makeData(std::move(without))};
}
}  // namespace ZR::Filtrix::Filters
