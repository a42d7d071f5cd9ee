#include "program/loadrecord.h"

#include "program/parserlog.h"

namespace ZR::Filtrix
{
namespace
{
/// As many names as a person reads in one line.
constexpr std::size_t longestList = 50;

std::string entryOf(std::string_view kind, std::string_view name)
{
  return std::string(kind).append(" ").append(name);
}
}  // namespace

void LoadRecord::add(std::string_view kind, std::string_view name)
{
  entries.push_back(entryOf(kind, name));
  positions[entries.back()] = entries.size() - 1;
}

void LoadRecord::remove(std::string_view kind, std::string_view name)
{
  const auto position = positions.find(entryOf(kind, name));
  if (position == positions.end())
    return;
  entries[position->second].clear();
  positions.erase(position);
}

std::string LoadRecord::tell(std::size_t from) const
{
  std::string text;
  std::size_t told = 0;
  std::size_t untold = 0;
  for (std::size_t at = from; at < entries.size(); ++at)
  {
    if (entries[at].empty())
      continue;
    if (told == longestList)
    {
      ++untold;
      continue;
    }
    text.append(told == 0 ? "" : ", ").append(ParserLog::shown(entries[at]));
    ++told;
  }
  if (untold > 0)
    text += " and " + std::to_string(untold) + " more";
  return told == 0 ? "nothing" : text;
}
}  // namespace ZR::Filtrix
