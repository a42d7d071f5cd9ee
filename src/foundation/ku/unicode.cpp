#include "filtrix/ku/unicode.h"

#include <fmt/core.h>

#include <boost/locale/utf.hpp>

#include <iterator>
#include <stdexcept>

namespace ku
{
std::size_t findInvalidUtf8(std::string_view text) noexcept
{
  namespace utf = boost::locale::utf;
  const auto* at = text.begin();
  while (at != text.end())
  {
    const auto* const start = at;
    const utf::code_point character = utf::utf_traits<char>::decode(at, text.end());
    if (character == utf::illegal || character == utf::incomplete)
      return static_cast<std::size_t>(std::distance(text.begin(), start));
  }
  return std::string_view::npos;
}

bool isValidUtf8(std::string_view text) noexcept
{
  return findInvalidUtf8(text) == std::string_view::npos;
}

std::string toValidUtf8(std::string_view text)
{
  std::string valid;
  valid.reserve(text.size());
  for (;;)
  {
    const std::size_t bad = findInvalidUtf8(text);
    valid += text.substr(0, bad);
    if (bad == std::string_view::npos)
      return valid;
    valid += "\xEF\xBF\xBD";
    text.remove_prefix(bad + 1);
  }
}

std::filesystem::path UnicodeFacet::toPath(std::string_view text) const
{
  if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
    throw std::invalid_argument(
        fmt::format("a path holds a zero byte at offset {}, behind \"{}\"", zero, toValidUtf8(text.substr(0, zero))));
  return {text};
}

std::string UnicodeFacet::toText(const std::filesystem::path& path) const
{
  return path.string();
}
}  // namespace ku
