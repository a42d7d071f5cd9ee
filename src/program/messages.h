#pragma once

#include "program/filtrixprivate.h"

#include <fmt/format.h>

#include <string>
#include <string_view>

/// Pieces of the registry's messages.
namespace ZR::Filtrix
{
/// " [people.fxs:12:3: gain <= 12]", or nothing for what no text has asked for.
[[nodiscard]] inline std::string placeOf(const OriginPtr& origin)
{
  return origin ? " [" + toString(*origin) + "]" : std::string();
}

/// "the node's name has 300 bytes, expected at most 256." for a name that is too long; empty for one that may stand.
/// `subject` says whose name it is.
[[nodiscard]] inline std::string tellIfTooLong(std::string_view subject, std::string_view name)
{
  if (name.size() <= Limits::nameBytes)
    return {};
  return fmt::format("{} has {} bytes, expected at most {}.", subject, name.size(), Limits::nameBytes);
}

/// Throws an `Error` for such a name.
template <typename Error>
void refuseLongName(std::string_view subject, std::string_view name, const OriginPtr& origin)
{
  if (const std::string problem = tellIfTooLong(subject, name); !problem.empty())
    throw Error(problem, origin);
}

/// As much of a name as a message shows: one that is refused may be a whole text.
[[nodiscard]] inline std::string shortName(std::string_view name)
{
  return std::string(name.substr(0, Limits::nameBytes));
}
}  // namespace ZR::Filtrix
