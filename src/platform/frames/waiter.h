#pragma once

#include "filtrix/ku/clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

namespace ZR
{
/// Services answer within this time, with nothing if need be: a caller may want to stop.
inline constexpr std::chrono::seconds longestWait(1);

/// A subscriber that waits, and that its unsubscription wakes. Thread-safe.
class Waiter final
{
public:
  /// Calls `look` until it gives something, sleeping until the time that it leaves in its argument, for a second
  /// altogether. Nothing after that, or once it is closed.
  template <typename Look>
  auto wait(const Look& look) -> decltype(look(std::declval<ku::Clock::time_point&>()))
  {
    const ku::Clock::time_point latest = ku::Clock::now() + longestWait;
    while (!closed)
    {
      alarm.rearm();
      ku::Clock::time_point wake = latest;
      if (auto found = look(wake))
        return found;
      const ku::Clock::time_point now = ku::Clock::now();
      if (now >= latest || closed)
        break;
      alarm.sleepFor(std::min(wake, latest) - now);
    }
    return {};
  }

  void close()
  {
    closed = true;
    alarm.interrupt();
  }

private:
  std::atomic<bool> closed = false;
  ku::Alarm alarm;
};
}  // namespace ZR
