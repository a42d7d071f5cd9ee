#include "foundation/ku/loglevels.h"

#include "foundation/text/split.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace ku::log
{
namespace
{
std::optional<Level> toLevel(std::string_view text) noexcept
{
  if (text.size() != 1 || text.front() < '1' || text.front() > '6')
    return std::nullopt;
  return static_cast<Level>(text.front() - '0');
}
}  // namespace

Levels::Levels(std::string_view text)
{
  for (const std::string_view item : ZR::Filtrix::splitList(text, ','))
  {
    const std::size_t sign = item.find('=');
    const bool isDefault = sign == std::string_view::npos;
    const auto category = ZR::Filtrix::trim(item.substr(0, isDefault ? 0 : sign));
    const auto level = toLevel(ZR::Filtrix::trim(item.substr(isDefault ? 0 : sign + 1)));
    if (!level || (!isDefault && category.empty()))
      throw std::invalid_argument(
          fmt::format(R"("{}" is neither a level from 1 to 6 nor a category and one, as in "filtrix.port=5")", item));
    set(category, *level);
  }
}

void Levels::set(std::string_view category, Level level)
{
  if (category.empty())
    fallback = level;
  else
    byCategory.insert_or_assign(std::string(category), level);
}

Level Levels::of(std::string_view category) const noexcept
{
  while (!category.empty())
  {
    if (const auto found = byCategory.find(category); found != byCategory.end())
      return found->second;
    const std::size_t dot = category.rfind('.');
    category = category.substr(0, dot == std::string_view::npos ? 0 : dot);
  }
  return fallback;
}

Level Levels::most() const noexcept
{
  Level most = fallback;
  for (const auto& [category, level] : byCategory)
    most = std::max(most, level);
  return most;
}
}  // namespace ku::log
