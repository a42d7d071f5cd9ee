#include "platform/sim/noise.h"

#include <array>
#include <cmath>
#include <numbers>

namespace ZR::Sim
{
namespace
{
constexpr unsigned tableBits = 12;
constexpr std::uint32_t tableSize = 1U << tableBits;

// Source: C. Wellons, "Prospecting for Hash Functions", 2018.
constexpr std::uint32_t mix(std::uint32_t x) noexcept
{
  x ^= x >> 16U;
  x *= 0x7feb352dU;
  x ^= x >> 15U;
  x *= 0x846ca68bU;
  x ^= x >> 16U;
  return x;
}

float unit(std::uint32_t bits)
{
  return (static_cast<float>(bits >> 8U) + 0.5F) / 16777216.0F;
}

// Source: G. Box, M. Muller, "A Note on the Generation of Random Normal Deviates", 1958.
std::array<float, tableSize> normals()
{
  std::array<float, tableSize> table{};
  for (std::uint32_t i = 0; i < tableSize; ++i)
    table[i] = std::sqrt(-2.0F * std::log(unit(mix(2 * i + 1)))) *
               std::cos(2.0F * std::numbers::pi_v<float> * unit(mix(2 * i + 2)));
  return table;
}
}  // namespace

Noise::Noise(std::uint32_t seed, std::int64_t frame) noexcept
    : start(mix(seed ^ mix(static_cast<std::uint32_t>(frame) ^ mix(static_cast<std::uint32_t>(frame >> 32)))))
{
}

std::uint32_t Noise::bits(std::uint32_t index) const noexcept
{
  return mix(index ^ start);
}

float Noise::normal(std::uint32_t index) const noexcept
{
  static const std::array<float, tableSize> table = normals();
  return table[bits(index) >> (32U - tableBits)];
}

bool Noise::happens(std::uint32_t index, float probability) const noexcept
{
  return unit(bits(index)) < probability;
}
}  // namespace ZR::Sim
