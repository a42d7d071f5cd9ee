#pragma once

#include "filtrix/ku/clock.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace ku
{
/// Does things at given times on the clock in force. One thread, which sleeps on an `Alarm` while something is planned
/// and does not count as a sleeper otherwise. Thread-safe.
///
/// A step of a `ManualClock` that comes after the look at the clock and before the sleep is felt at the next step only:
/// wait for the sleeper before each step.
class Timer
{
public:
  using Action = std::function<void()>;
  using Ticket = std::pair<Clock::time_point, std::uint64_t>;

  Timer();

  /// Ends at once; what is still planned is dropped.
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// Calls `action` once on the timer's thread when the clock has reached `due`, at once when it has passed. It must be
  /// quick: post what takes longer to a pool. What it throws is logged. When another clock comes into force, what was
  /// to come next is done at once, since its time may never come.
  Ticket plan(Clock::time_point due, Action action);

  /// Forgets what was planned. It may be under way already.
  void cancel(const Ticket& ticket);

  /// The timer of periodic tasks. It lives until the program ends.
  [[nodiscard]] static Timer& shared();

private:
  void _run();
  void _doUpTo(Clock::time_point time);

  Alarm alarm;
  std::mutex mutex;  // guards the next four; before the clock's own mutex
  std::condition_variable changed;
  std::map<Ticket, Action> planned;
  std::uint64_t nextNumber = 0;
  bool isEnding = false;
  std::thread thread;
};
}  // namespace ku
