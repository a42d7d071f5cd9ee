#pragma once

#include "filtrix/ku/clock.h"

#include <chrono>
#include <cstdint>

namespace ZR
{
/// Turns moments of `ku::Clock` into microseconds since 1970.
struct TimeBase
{
  std::chrono::microseconds start{0};
  ku::Clock::time_point clockStart = ku::Clock::now();

  [[nodiscard]] std::int64_t microseconds(ku::Clock::time_point moment) const
  {
    return (start + std::chrono::duration_cast<std::chrono::microseconds>(moment - clockStart)).count();
  }
};
}  // namespace ZR
