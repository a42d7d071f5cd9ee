#include "graph/processkey.h"

#include <utility>

namespace ZR::Filtrix
{
namespace
{
// Boost's hash_range over signed bytes as it was for 32-bit hashes; recordings and logs of other hosts hold these
// values.
std::uint32_t goOn(std::uint32_t seed, std::string_view bytes) noexcept
{
  for (const char byte : bytes)
  {
    const auto extended = static_cast<std::uint32_t>(static_cast<signed char>(byte));
    seed ^= extended + 0x9E3779B9U + (seed << 6U) + (seed >> 2U);
  }
  return seed;
}
}  // namespace

ProcessKey::ProcessKey(std::string name_)
    : name(std::make_shared<const std::string>(std::move(name_))), hash(goOn(0, *name))
{
}

ProcessKey::ProcessKey(const ProcessKey& outer, std::string_view suffix) : hash(goOn(outer.hash, suffix))
{
  std::string inner;
  inner.reserve(outer.name->size() + suffix.size());
  inner.append(*outer.name).append(suffix);
  name = std::make_shared<const std::string>(std::move(inner));
}
}  // namespace ZR::Filtrix
