#include "program/unclosed.h"

#include "foundation/text/split.h"

namespace ZR::Filtrix
{
std::optional<Unclosed> findUnclosed(std::string_view text) noexcept
{
  std::size_t depth = 0;
  std::size_t outermost = 0;
  for (std::size_t at = 0; at < text.size(); ++at)
  {
    const char c = text[at];
    if (c == '"')
    {
      const std::size_t end = skipString(text, at);
      if (end == text.size())
        return Unclosed{at, true};
      at = end;
    }
    else if (c == '{' && depth++ == 0)
    {
      outermost = at;
    }
    else if (c == '}' && depth > 0)
    {
      --depth;
    }
  }
  return depth > 0 ? std::optional(Unclosed{outermost, false}) : std::nullopt;
}
}  // namespace ZR::Filtrix
