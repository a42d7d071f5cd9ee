#include "filtrix/ku/periodictask.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/failurelog.h"
#include "foundation/ku/threadpool.h"
#include "foundation/ku/timer.h"

#include <fmt/core.h>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace ku
{
namespace
{
// Keeps a time on the clock, which counts nanoseconds in 64 bits, from running over.
constexpr std::chrono::microseconds longestPeriod = std::chrono::hours(24 * 365 * 100);

// The text of what a callback threw, or nothing.
std::optional<std::string> failureOf(const PeriodicTask::Callback& callback)
{
  try
  {
    callback();
    return std::nullopt;
  }
  catch (const std::exception& error)
  {
    return error.what();
  }
  catch (...)
  {
    return "it threw what is no std::exception";
  }
}
}  // namespace

class PeriodicTask::State : public std::enable_shared_from_this<State>
{
public:
  void setName(std::string name_)
  {
    const std::lock_guard lock(mutex);
    name = std::move(name_);
  }

  void setCallback(std::shared_ptr<const Callback> callback_)
  {
    // The old one goes outside the lock: what it holds may call us when it ends.
    const std::lock_guard lock(mutex);
    callback.swap(callback_);
  }

  void setPeriod(std::chrono::microseconds period_)
  {
    const std::lock_guard lock(mutex);
    if (period_ < std::chrono::microseconds::zero() || period_ > longestPeriod)
      throw std::invalid_argument(fmt::format("periodic task \"{}\": period is {} us, expected 0 to {} us (100 years)",
                                              name, period_.count(), longestPeriod.count()));
    period = period_;
  }

  void setCompensation(bool compensate)
  {
    const std::lock_guard lock(mutex);
    compensates = compensate;
  }

  void start(bool immediate)
  {
    const std::lock_guard lock(mutex);
    if (isStarted)
      return;
    if (!callback || !period)
      throw std::logic_error(
          fmt::format("periodic task \"{}\": start without a {}", name, callback ? "period" : "callback"));
    isStarted = true;
    ++era;
    due = Clock::now() + (immediate ? Clock::duration::zero() : Clock::duration(*period));
    if (isCalling)
      return;  // the end of that call plans the next one
    try
    {
      _plan();
    }
    catch (...)
    {
      isStarted = false;
      throw;
    }
  }

  void asyncStop()
  {
    const std::lock_guard lock(mutex);
    if (!std::exchange(isStarted, false))
      return;
    ++era;
    if (ticket)
      Timer::shared().cancel(*std::exchange(ticket, std::nullopt));
  }

  void awaitCall()
  {
    std::unique_lock lock(mutex);
    if (!isCalling || caller == std::this_thread::get_id())
      return;
    // Not for a later call, should someone start the task again.
    const std::uint64_t current = endedCalls;
    changed.wait(lock, [&] { return endedCalls != current; });
  }

  [[nodiscard]] bool isRunning()
  {
    const std::lock_guard lock(mutex);
    return isStarted;
  }

  [[nodiscard]] std::uint64_t runs()
  {
    const std::lock_guard lock(mutex);
    return endedCalls;
  }

  [[nodiscard]] bool waitForRuns(std::uint64_t count, std::chrono::milliseconds patience)
  {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, patience, [&] { return endedCalls >= count; });
  }

private:
  // Under the mutex: sees to it that `_call` comes when it is due.
  void _plan()
  {
    const auto job = [self = shared_from_this(), era_ = era] { self->_call(era_); };
    if (due <= Clock::now())
      ThreadPool::shared().post(job);
    else
      ticket = Timer::shared().plan(due, [job] { ThreadPool::shared().post(job); });
  }

  // The same after a call. Without a plan there would be no call any more: what there is no memory for is tried again.
  void _planSurely(std::unique_lock<std::mutex>& lock)
  {
    while (isStarted)
    {
      try
      {
        _plan();
        return;
      }
      catch (const std::bad_alloc&)
      {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        lock.lock();
      }
    }
  }

  void _call(std::uint64_t wantedEra)
  {
    std::shared_ptr<const Callback> current;
    {
      const std::lock_guard lock(mutex);
      if (era != wantedEra)
        return;
      isCalling = true;
      caller = std::this_thread::get_id();
      ticket.reset();
      current = callback;
    }
    const Clock::time_point begin = Clock::now();
    try
    {
      if (const auto failure = failureOf(*current))
        _tell(*failure);
    }
    catch (const std::bad_alloc&)
    {
      // There is no memory to tell of it.
    }
    current.reset();  // before the end is told: nothing of a stopped task's callback may be left in use

    std::unique_lock lock(mutex);
    isCalling = false;
    ++endedCalls;
    if (isStarted)
    {
      // Another era's start has set its own time already.
      if (era == wantedEra)
        due = _nextDue(begin, Clock::now());
      _planSurely(lock);
    }
    changed.notify_all();
  }

  [[nodiscard]] Clock::time_point _nextDue(Clock::time_point begin, Clock::time_point end) const
  {
    if (!compensates)
      return end + *period;
    // From when the call was due, so that small delays do not add up; from when it began, if that is far off.
    const bool isNear = begin >= due && begin - due < *period;
    return std::max((isNear ? due : begin) + *period, end);
  }

  void _tell(const std::string& failure)
  {
    const auto text = failures.tell(failure);
    if (!text)
      return;
    const std::lock_guard lock(mutex);
    log::error("ku.periodictask", "periodic task \"{}\": the callback failed: {}", name, *text);
  }

  FailureLog failures;  // used within a call, so by one thread at a time

  // Guards what follows. Before the mutexes of timer, pool and log; never held during a call.
  std::mutex mutex;
  std::condition_variable changed;
  std::string name = "unnamed";
  std::shared_ptr<const Callback> callback;
  std::optional<std::chrono::microseconds> period;
  bool compensates = false;
  bool isStarted = false;
  bool isCalling = false;
  std::thread::id caller;  // of the call in progress
  std::uint64_t era = 0;   // raised by each start and stop: what was planned in an earlier one is void
  std::uint64_t endedCalls = 0;
  Clock::time_point due;  // when the next call should begin
  std::optional<Timer::Ticket> ticket;
};

PeriodicTask::PeriodicTask() : state(std::make_shared<State>()) {}

PeriodicTask::~PeriodicTask()
{
  stop();
  state->setCallback(nullptr);  // a job that comes too late may keep the state, but nothing of its owner's
}

void PeriodicTask::setName(std::string name)
{
  state->setName(std::move(name));
}

void PeriodicTask::setCallback(Callback callback)
{
  if (!callback)
    throw std::invalid_argument("a periodic task's callback is empty, expected something to call");
  state->setCallback(std::make_shared<const Callback>(std::move(callback)));
}

void PeriodicTask::setUsPeriod(std::int64_t microseconds)
{
  setPeriod(std::chrono::microseconds(microseconds));
}

void PeriodicTask::setPeriod(std::chrono::microseconds period)
{
  state->setPeriod(period);
}

void PeriodicTask::compensateCallbackTime(bool compensate)
{
  state->setCompensation(compensate);
}

void PeriodicTask::start(bool immediate)
{
  state->start(immediate);
}

void PeriodicTask::asyncStop()
{
  state->asyncStop();
}

void PeriodicTask::stop()
{
  state->asyncStop();
  state->awaitCall();
}

bool PeriodicTask::isRunning() const
{
  return state->isRunning();
}

std::uint64_t PeriodicTask::runs() const
{
  return state->runs();
}

bool PeriodicTask::waitForRuns(std::uint64_t count, std::chrono::milliseconds patience) const
{
  return state->waitForRuns(count, patience);
}
}  // namespace ku
