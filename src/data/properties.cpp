#include "filtrix/properties.h"

#include <array>

namespace ZR::Filtrix
{
namespace
{
#define FILTRIX_PROPERTY_ROW(name, key, type, doc) PropertyDescription{(key), #name, #type, (doc)},

constexpr std::array humanTable{FILTRIX_HUMAN_PROPERTIES(FILTRIX_PROPERTY_ROW)};
constexpr std::array object3DTable{FILTRIX_OBJECT3D_PROPERTIES(FILTRIX_PROPERTY_ROW)};
constexpr std::array object2DTable{FILTRIX_OBJECT2D_PROPERTIES(FILTRIX_PROPERTY_ROW)};

// A key that stands twice, or out of order, would give one property the value of another.
template <std::size_t N>
constexpr bool keysAscend(const std::array<PropertyDescription, N>& table)
{
  for (std::size_t i = 1; i < N; ++i)
  {
    if (table[i - 1].key >= table[i].key)
      return false;
  }
  return true;
}

static_assert(keysAscend(humanTable) && keysAscend(object3DTable) && keysAscend(object2DTable));
}  // namespace

std::span<const PropertyDescription> humanProperties() noexcept
{
  return humanTable;
}

std::span<const PropertyDescription> object3DProperties() noexcept
{
  return object3DTable;
}

std::span<const PropertyDescription> object2DProperties() noexcept
{
  return object2DTable;
}
}  // namespace ZR::Filtrix
