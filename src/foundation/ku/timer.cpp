#include "foundation/ku/timer.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/immortal.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <utility>

namespace ku
{
namespace
{
/// When what could not be done for want of memory is tried again.
constexpr std::chrono::milliseconds retry{10};

// False when there was no memory for it.
bool perform(const Timer::Action& action)
{
  try
  {
    action();
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
  catch (const std::exception& error)
  {
    log::error("ku.timer", "what was due could not be done: {}", error.what());
  }
  return true;
}
}  // namespace

Timer::Timer()
    : thread(
          [this]
          {
            ::pthread_setname_np(::pthread_self(), "ku.timer");
            _run();
          })
{
}

Timer::~Timer()
{
  {
    const std::lock_guard lock(mutex);
    isEnding = true;
    planned.clear();
    alarm.interrupt();
    changed.notify_one();
  }
  thread.join();
}

Timer::Ticket Timer::plan(Clock::time_point due, Action action)
{
  const std::lock_guard lock(mutex);
  const Ticket ticket(due, nextNumber++);
  const auto entry = planned.emplace(ticket, std::move(action)).first;
  if (entry == planned.begin())
  {
    alarm.interrupt();
    changed.notify_one();
  }
  return ticket;
}

void Timer::cancel(const Ticket& ticket)
{
  const std::lock_guard lock(mutex);
  planned.erase(ticket);
  if (planned.empty())
    alarm.interrupt();
}

Timer& Timer::shared()
{
  static Immortal<Timer> timer;
  return *timer;
}

void Timer::_run()
{
  for (;;)
  {
    // First of all, so that an interruption that comes after the look at what is planned is not lost.
    alarm.rearm();
    Clock::time_point due;
    {
      std::unique_lock lock(mutex);
      changed.wait(lock, [this] { return isEnding || !planned.empty(); });
      if (isEnding)
        return;
      due = planned.begin()->first.first;
    }
    if (alarm.sleepFor(due - Clock::now()))
      _doUpTo(std::max(due, Clock::now()));
  }
}

void Timer::_doUpTo(Clock::time_point time)
{
  // Taken all at once: what is planned meanwhile may be in the time of another clock.
  std::map<Ticket, Action> due;
  {
    const std::lock_guard lock(mutex);
    const auto end = planned.upper_bound({time, std::numeric_limits<std::uint64_t>::max()});
    while (planned.begin() != end)
      due.insert(due.end(), planned.extract(planned.begin()));
  }
  while (!due.empty())
  {
    auto entry = due.extract(due.begin());
    if (perform(entry.mapped()))
      continue;
    const std::lock_guard lock(mutex);
    entry.key() = {Clock::now() + retry, nextNumber++};
    if (!isEnding)
      planned.insert(std::move(entry));
  }
}
}  // namespace ku
