#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>

namespace ku
{
/// The one steady clock of the runtime. Everything that reads "now" asks it, so that a test or a replay can put a
/// `ManualClock` in its place. Meets the standard's requirements of a clock. Thread-safe.
class Clock
{
public:
  using duration = std::chrono::nanoseconds;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<Clock>;
  static constexpr bool is_steady = true;

  /// Nanoseconds since an arbitrary start: the machine's steady clock, or the manual clock in force.
  [[nodiscard]] static time_point now() noexcept;
};

/// Stands in for the steady clock as long as it lives: time moves only when told to. Clocks may be nested; the
/// innermost one is in force, and they end in the reverse order of their making. Thread-safe, but made and ended by one
/// thread.
class ManualClock
{
public:
  /// Starts at one hour rather than at zero, which means "unset" to much of the runtime.
  explicit ManualClock(Clock::duration start = std::chrono::hours(1));
  ~ManualClock();
  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;

  /// Moves the time by `step`, which may be negative, and wakes every `Alarm` that is due by then.
  void advance(Clock::duration step);

  /// Waits, in real time, until at least `count` threads sleep on an `Alarm`; false after `patience`.
  /// With it a test steps the clock only once the thread that it drives has come to rest.
  [[nodiscard]] static bool waitForSleepers(std::size_t count,
                                            std::chrono::milliseconds patience = std::chrono::seconds(10));

private:
  bool previousInForce;
  std::int64_t previousTime;
};

/// A sleep, on the clock in force, that another thread can cut short. Thread-safe.
class Alarm
{
public:
  Alarm() = default;
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;

  /// Sleeps for `length`; nothing for zero or less. True when the time has passed, false when `interrupt` cut it short.
  bool sleepFor(Clock::duration length);

  /// Ends the sleeps in progress, and those to come until `rearm`, at once.
  void interrupt();

  /// Ends one of the sleeps in progress, and those to come until `rearm`, at once: for one piece of work, which needs
  /// one sleeper of several.
  void interruptOne();
  void rearm();

private:
  // Guarded by the clock's own mutex, a leaf lock.
  bool interrupted = false;
  std::size_t sleeping = 0;

  std::condition_variable woken;

  friend class Sleepers;
};
}  // namespace ku
