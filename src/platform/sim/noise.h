#pragma once

#include <cstdint>

namespace ZR::Sim
{
/// Random numbers that are a function of where they are used: of a seed, a frame and a pixel. Thread-safe.
class Noise final
{
public:
  Noise(std::uint32_t seed, std::int64_t frame) noexcept;

  /// Evenly spread over all numbers.
  [[nodiscard]] std::uint32_t bits(std::uint32_t index) const noexcept;

  /// Normally distributed, with a standard deviation of 1.
  [[nodiscard]] float normal(std::uint32_t index) const noexcept;

  /// True with this probability.
  [[nodiscard]] bool happens(std::uint32_t index, float probability) const noexcept;

private:
  std::uint32_t start;
};
}  // namespace ZR::Sim
