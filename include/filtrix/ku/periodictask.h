#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ku
{
/// Calls a function again and again until it is stopped.
///
/// All tasks share one pool of threads, two to begin with. A call may block: when all threads are blocked for 10 ms,
/// one more is started, up to 32, so that a blocked task costs the others no more than that; a thread that is idle for
/// 5 s ends again. A task never overlaps itself, and its calls may come from different threads.
///
/// What a call throws is logged, at level Error under "ku.periodictask" with the task's name, and the task goes on. The
/// same text again is logged every 10 s at most, another one every second.
///
/// Periods are on `Clock`, so a `ManualClock` drives the tasks that are started under it. Each step has three parts:
/// `waitForRuns`, after which the time of the next call is set; `ManualClock::waitForSleepers(1)`, for the timer, which
/// is one thread for all tasks and sleeps while it has a call to wait for; and `advance`. A step over several periods
/// makes one call. Stop the tasks before the manual clock ends; one that lives through a change of clocks is called
/// once at once and goes on in the time of the new clock.
///
/// Thread-safe.
class PeriodicTask
{
public:
  using Callback = std::function<void()>;

  PeriodicTask();

  /// Stops; within its own callback, as `stop` does there.
  ~PeriodicTask();
  PeriodicTask(const PeriodicTask&) = delete;
  PeriodicTask& operator=(const PeriodicTask&) = delete;

  /// The name for the log.
  void setName(std::string name);

  /// What to call. Holds from the next call on. Throws std::invalid_argument when it is empty.
  void setCallback(Callback callback);

  /// The period, once the next call has been made; 0 calls back to back. Throws std::invalid_argument when it is less,
  /// or beyond 100 years.
  void setUsPeriod(std::int64_t microseconds);
  void setPeriod(std::chrono::microseconds period);

  /// With true, calls begin a period apart, and one that took longer is followed by the next at once. With false, the
  /// default, a period passes between the end of a call and the beginning of the next.
  void compensateCallbackTime(bool compensate);

  /// Begins: with a call at once, or when a period has passed. Does nothing when the task is running already. Throws
  /// std::logic_error when the callback or the period has not been set, std::system_error when there is not one thread.
  void start(bool immediate = true);

  /// Makes no further call. One in progress goes on, and `stop` waits for it.
  void asyncStop();

  /// Makes no further call and waits for one in progress, unless it is called from within that: then it must not wait.
  /// The task may be started again.
  void stop();

  /// True from `start` to `stop` or `asyncStop`.
  [[nodiscard]] bool isRunning() const;

  /// How many calls have ended, by an exception too, since the task was made.
  [[nodiscard]] std::uint64_t runs() const;

  /// Waits, in real time, until at least `count` calls have ended; false after `patience`.
  [[nodiscard]] bool waitForRuns(std::uint64_t count,
                                 std::chrono::milliseconds patience = std::chrono::seconds(10)) const;

private:
  class State;

  // Shared with what is planned for it, which may come a moment after its end and then finds it stopped.
  const std::shared_ptr<State> state;
};
}  // namespace ku
