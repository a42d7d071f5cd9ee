#pragma once

#include "filtrix/data.h"
#include "filtrix/human.h"

#include <cstdint>
#include <span>
#include <unordered_map>

/// What filters remember of people from one run to the next.
namespace ZR::Filtrix::Filters
{
/// True for an array all of whose elements are people; an empty one is such.
[[nodiscard]] bool isPopulation(const DataPtr& value);

/// The people of a population with their identities and those of their properties that `keys` names, as an Array to
/// keep as state. They are copies: the people themselves may be given other values before the next run, and hold images
/// that nobody needs any more. What is no person is left out.
[[nodiscard]] DataPtr rememberPeople(const DataArray& population, std::span<const std::int32_t> keys);

/// The people of such an array by identity.
class RememberedPeople final
{
public:
  /// Nobody for null and for what is no array.
  explicit RememberedPeople(DataPtr memory_);

  /// Null for somebody unknown. Of several people with one identity the first counts.
  [[nodiscard]] const Type::Human* find(std::uint64_t id) const;

private:
  DataPtr memory;  // keeps the people alive
  std::unordered_map<std::uint64_t, const Type::Human*> people;
};
}  // namespace ZR::Filtrix::Filters
