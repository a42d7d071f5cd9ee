#pragma once

#include "filtrix/ku/clock.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace ZR
{
/// Turns moments of `ku::Clock` into microseconds since 1970.
struct TimeBase
{
  std::chrono::microseconds start{0};
  ku::Clock::time_point clockStart = ku::Clock::now();

  /// From now on, beginning with this time; with that of `ku::Clock` when none is told.
  [[nodiscard]] static TimeBase beginning(std::optional<std::chrono::microseconds> start)
  {
    TimeBase time;
    time.start =
        start.value_or(std::chrono::duration_cast<std::chrono::microseconds>(time.clockStart.time_since_epoch()));
    return time;
  }

  [[nodiscard]] std::int64_t microseconds(ku::Clock::time_point moment) const
  {
    return (start + std::chrono::duration_cast<std::chrono::microseconds>(moment - clockStart)).count();
  }
};
}  // namespace ZR
