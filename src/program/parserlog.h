#pragma once

#include "filtrix/ku/log.h"
#include "filtrix/ku/unicode.h"
#include "graph/origin.h"

#include <fmt/format.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// How the parser tells what is wrong: the text, then where it was written.
namespace ZR::Filtrix::ParserLog
{
inline constexpr const char* category = "filtrix.parser";

/// A piece of a program as a message shows it: text from anywhere may be long or no text at all.
[[nodiscard]] inline std::string shown(std::string_view text, std::size_t longest = 256)
{
  return text.size() <= longest ? ku::toValidUtf8(text) : ku::toValidUtf8(text.substr(0, longest - 3)) + "...";
}

/// " [people.fxs:12:3: gain <= 12]", or nothing without an origin.
[[nodiscard]] inline std::string at(const std::shared_ptr<const Origin>& origin)
{
  return origin ? " [" + ku::toValidUtf8(toString(*origin)) + "]" : std::string();
}

/// Logs at level 2 and says no.
template <typename... Args>
bool fail(const std::shared_ptr<const Origin>& origin, fmt::format_string<Args...> text, Args&&... args)
{
  ku::log::write(ku::log::Level::Error, category, fmt::format(text, std::forward<Args>(args)...) + at(origin));
  return false;
}
}  // namespace ZR::Filtrix::ParserLog
