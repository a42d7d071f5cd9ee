#include "program/programtext.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
/// As much of a statement as a message can hold.
constexpr std::size_t longestStatement = 120;

std::vector<std::size_t> findLineStarts(std::string_view text)
{
  std::vector<std::size_t> starts{0};
  for (std::size_t at = text.find_first_of("\r\n"); at != std::string_view::npos; at = text.find_first_of("\r\n", at))
  {
    at += text.substr(at, 2) == "\r\n" ? 2 : 1;
    starts.push_back(at);
  }
  return starts;
}

// The statement on one line, cut where it gets long.
std::string onOneLine(std::string_view statement)
{
  std::string line;
  for (const std::string_view word : splitWords(statement.substr(0, 2 * longestStatement)))
    line.append(line.empty() ? "" : " ").append(word);
  if (line.size() > longestStatement)
    line = line.substr(0, longestStatement - 3) + "...";
  return line;
}
}  // namespace

ProgramText::ProgramText(std::string name_, std::string_view original)
    : name(std::move(name_)), text(removeComments(original, '#', &kept)), lineStarts(findLineStarts(original))
{
}

std::shared_ptr<const Origin> ProgramText::locate(std::string_view piece) const
{
  const char* const begin = text.data();
  const bool inside =
      std::less_equal<>()(begin, piece.data()) && std::less_equal<>()(piece.data(), begin + text.size());
  if (!inside || kept.empty())
    return nullptr;
  const auto offset = static_cast<std::size_t>(piece.data() - begin);
  // The last stretch that begins at or before the piece: of several that begin there, all but the last are empty.
  const auto stretch = std::prev(std::ranges::upper_bound(kept, offset, {}, &KeptText::start));
  const std::size_t original = stretch->original + (offset - stretch->start);
  const auto line = std::prev(std::ranges::upper_bound(lineStarts, original));
  return std::make_shared<const Origin>(Origin{name, static_cast<std::uint32_t>(line - lineStarts.begin() + 1),
                                               static_cast<std::uint32_t>(original - *line + 1), onOneLine(piece)});
}
}  // namespace ZR::Filtrix
