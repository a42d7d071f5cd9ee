#include "foundation/text/split.h"

#include <algorithm>

namespace ZR::Filtrix
{
namespace
{
constexpr std::string_view blanks = " \t\n\r";

// The end of the quoted string that opens at `open`: one past its closing quote, or the end of the text.
std::size_t pastString(std::string_view text, std::size_t open) noexcept
{
  return std::min(skipString(text, open) + 1, text.size());
}
}  // namespace

std::string_view trim(std::string_view text) noexcept
{
  const std::size_t first = std::min(text.find_first_not_of(blanks), text.size());
  if (first == text.size())
    return text.substr(first);
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::size_t skipString(std::string_view text, std::size_t open) noexcept
{
  for (std::size_t at = open + 1; at < text.size(); ++at)
  {
    if (text[at] == '\\')
      ++at;
    else if (text[at] == '"')
      return at;
  }
  return text.size();
}

std::string removeComments(std::string_view text, char mark, std::vector<KeptText>* kept)
{
  std::string rest;
  rest.reserve(text.size());
  std::size_t at = 0;
  while (at < text.size())
  {
    const std::size_t comment = std::min(text.find(mark, at), text.size());
    if (kept != nullptr)
      kept->push_back({rest.size(), at});
    rest.append(text.substr(at, comment - at));
    const std::size_t lineEnd = std::min(text.find_first_of("\n\r", comment), text.size());
    at = lineEnd + 1;
  }
  return rest;
}

std::vector<std::string_view> splitBlocks(std::string_view text, char open, char close)
{
  std::vector<std::string_view> pieces;
  std::size_t start = 0;  // where the header or the block being read began
  std::size_t depth = 0;  // 0 outside a block, 1 in it, more in the blocks within
  for (std::size_t at = 0; at < text.size();)
  {
    const char c = text[at];
    if (c == '"')
    {
      at = pastString(text, at);
      continue;
    }
    if (depth == 0 && c == open)
    {
      if (const auto header = trim(text.substr(start, at - start)); !header.empty())
        pieces.emplace_back(header);
      start = at + 1;
      depth = 1;
    }
    else if (depth > 0 && c == close)
    {
      if (--depth == 0)
      {
        pieces.emplace_back(trim(text.substr(start, at - start)));
        start = at + 1;
      }
    }
    else if (depth > 0 && c == open)
    {
      ++depth;
    }
    ++at;
  }
  if (depth > 0)
    return pieces;
  if (const auto rest = trim(text.substr(start)); !rest.empty())
    pieces.emplace_back(rest);
  return pieces;
}

std::vector<std::string_view> splitList(std::string_view text, char separator)
{
  std::vector<std::string_view> items;
  std::size_t start = 0;
  const auto endItem = [&](std::size_t end)
  {
    if (const auto item = trim(text.substr(start, end - start)); !item.empty())
      items.emplace_back(item);
    start = end + 1;
  };
  for (std::size_t at = 0; at < text.size();)
  {
    if (text[at] == '"')
    {
      at = pastString(text, at);
      continue;
    }
    if (text[at] == separator)
      endItem(at);
    ++at;
  }
  if (start < text.size())
    endItem(text.size());
  return items;
}

std::pair<std::string_view, std::string_view> splitOnce(std::string_view text, std::string_view separator)
{
  const std::size_t at = text.find(separator);
  if (at == std::string_view::npos)
    return {text, text.substr(text.size())};
  return {trim(text.substr(0, at)), trim(text.substr(at + separator.size()))};
}

std::vector<std::string_view> splitWords(std::string_view text)
{
  std::vector<std::string_view> words;
  std::size_t at = text.find_first_not_of(" \t\n\r\v\f");
  while (at != std::string_view::npos)
  {
    const std::size_t end = std::min(text.find_first_of(" \t\n\r\v\f", at), text.size());
    words.emplace_back(text.substr(at, end - at));
    at = text.find_first_not_of(" \t\n\r\v\f", end);
  }
  return words;
}
}  // namespace ZR::Filtrix
