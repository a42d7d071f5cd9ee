#pragma once

#include "filtrix/data.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <string_view>

/// What many filters ask of their inputs.
namespace ZR::Filtrix::Filters
{
/// The type of a value; Invalid for no value.
[[nodiscard]] inline TypeTag typeOf(const DataPtr& value) noexcept
{
  return value ? value->type() : TypeTag::Invalid;
}

[[nodiscard]] inline bool isOneOf(TypeTag type, std::initializer_list<TypeTag> types) noexcept
{
  return std::ranges::find(types, type) != types.end();
}

/// The line that a filter writes when it can do nothing with its inputs.
inline void logInvalidInput(std::string_view category, std::string_view filter)
{
  ku::log::error(category, " [Invalid Input] -> {} -> ...", filter);
}

/// Without the fraction, and defined for what no int can hold: the nearer end of its range, 0 for what is no number.
[[nodiscard]] inline int truncateToInt(double x) noexcept
{
  using Limits = std::numeric_limits<int>;
  if (std::isnan(x))
    return 0;
  if (x <= Limits::min())
    return Limits::min();
  return x >= Limits::max() ? Limits::max() : static_cast<int>(x);
}
}  // namespace ZR::Filtrix::Filters
