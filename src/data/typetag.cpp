#include "filtrix/typetag.h"

#include <algorithm>
#include <array>

namespace ZR::Filtrix::Type
{
namespace
{
constexpr std::array<std::string_view, typeTagCount> names = {
#define FILTRIX_ROW(name, payload) #name,
    FILTRIX_TYPE_TAGS(FILTRIX_ROW)
#undef FILTRIX_ROW
};
}  // namespace

std::string_view typeName(TypeTag tag) noexcept
{
  const auto index = static_cast<std::size_t>(tag);
  return index < names.size() ? names[index] : names.front();
}

TypeTag typeFromName(std::string_view name) noexcept
{
  const auto* const hit = std::find(names.begin(), names.end(), name);
  return hit != names.end() ? static_cast<TypeTag>(hit - names.begin()) : TypeTag::Invalid;
}
}  // namespace ZR::Filtrix::Type
