#include "filters/perception/peoplememory.h"

#include "filters/perception/population.h"

#include <algorithm>
#include <utility>

namespace ZR::Filtrix::Filters
{
bool isPopulation(const DataPtr& value)
{
  const auto* const elements = value ? value->get<DataArray>() : nullptr;
  return elements != nullptr &&
         std::ranges::all_of(*elements, [](const DataPtr& element) { return personIn(element) != nullptr; });
}

DataPtr rememberPeople(const DataArray& population, std::span<const std::int32_t> keys)
{
  DataArray copies;
  copies.reserve(population.size());
  for (const DataPtr& value : population)
  {
    const Type::Human* const human = personIn(value);
    if (human == nullptr)
      continue;
    auto copy = std::make_shared<Type::Human>(human->getId());
    for (const std::int32_t key : keys)
    {
      if (human->hasProperty(key))
        copy->setProperty(key, human->getProperty(key));
    }
    copies.push_back(makeData(std::move(copy)));
  }
  return makeData(std::move(copies));
}

RememberedPeople::RememberedPeople(DataPtr memory_) : memory(std::move(memory_))
{
  const auto* const values = memory ? memory->get<DataArray>() : nullptr;
  if (values == nullptr)
    return;
  for (const DataPtr& value : *values)
  {
    if (const Type::Human* const human = personIn(value))
      people.emplace(human->getId(), human);
  }
}

const Type::Human* RememberedPeople::find(std::uint64_t id) const
{
  const auto found = people.find(id);
  return found != people.end() ? found->second : nullptr;
}
}  // namespace ZR::Filtrix::Filters
