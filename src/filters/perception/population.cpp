#include "filters/perception/population.h"

#include "filters/perception/propertydump.h"
#include "filtrix/ku/log.h"
#include "filtrix/properties.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
bool haveTypes(const DataList& inputs, std::span<const TypeTag> types)
{
  return std::ranges::equal(inputs, types,
                            [](const DataPtr& input, TypeTag type)
                            { return input && input->type() == type && input->rawPointer() != nullptr; });
}

std::vector<DataPtr> peopleOf(const DataPtr& array, std::string_view category, std::string_view wrongType)
{
  std::vector<DataPtr> people;
  const auto* const values = array ? array->get<DataArray>() : nullptr;
  if (values == nullptr)
    return people;
  people.reserve(values->size());
  for (const DataPtr& value : *values)
  {
    if (personIn(value) != nullptr)
      people.push_back(value);
    else
      ku::log::write(ku::log::Level::Error, category, wrongType);
  }
  return people;
}

std::shared_ptr<Type::Human> firstSeenOf(const DataPtr& array, std::string_view category, std::string_view wrongType)
{
  const auto* const values = array ? array->get<DataArray>() : nullptr;
  if (values == nullptr)
    return nullptr;
  for (const DataPtr& value : *values)
  {
    auto human = value ? value->share<Type::Human>() : nullptr;
    if (!human)
      ku::log::write(ku::log::Level::Error, category, wrongType);
    else if (valueOf<bool>(*human, HumanProperty::IsVisible).value_or(true))
      return human;
  }
  return nullptr;
}

void complainOfType(std::string_view holder, std::int32_t key, TypeTag expected, const Data& found)
{
  ku::log::error("vision.filter.population", "{} property '{}': expected {}, got {}{}", holder,
                 propertyName(holder, key), Type::typeName(expected), Type::typeName(found.type()),
                 found.rawPointer() == nullptr ? " without a value" : "");
}

std::optional<Type::Vector2> placeProperty(const Type::Human& human, std::int32_t key)
{
  const auto place = valueOf<Type::Vector2>(human, key);
  return place && std::isfinite(place->x) && std::isfinite(place->y) ? place : std::nullopt;
}

std::optional<std::uint64_t> countIn(const DataPtr& value)
{
  if (const auto* const count = value ? value->get<std::uint32_t>() : nullptr)
    return *count;
  const auto* const number = value ? value->get<std::int32_t>() : nullptr;
  return number != nullptr && *number >= 0 ? std::optional<std::uint64_t>(*number) : std::nullopt;
}

std::optional<float> distanceOf(const Type::Human& human)
{
  std::optional<std::int32_t> millimetres;
  if (const auto body = human.getObject3D(ObjectName::object3D))
    millimetres = valueOf<std::int32_t>(*body, Object3DProperty::Distance);
  else if (const auto image = human.getObject2D(ObjectName::bodyImage))
    millimetres = valueOf<std::int32_t>(*image, Object2DProperty::Distance);
  if (!millimetres)
    return std::nullopt;
  return static_cast<float>(*millimetres) / 1000.0F;
}
}  // namespace ZR::Filtrix::Filters
