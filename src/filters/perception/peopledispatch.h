#pragma once

#include "filtrix/data.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ZR::Filtrix::Filters
{
/// Splits the population on the only input in two, both in its order: those with a Boolean property that is true, and
/// all others. A person without the property is told of. `filter` and `property` are the names for the messages.
[[nodiscard]] DataList dispatchPeople(const DataList& inputs, std::int32_t key, std::string_view filter,
                                      std::string_view property, std::string_view category);
}  // namespace ZR::Filtrix::Filters
