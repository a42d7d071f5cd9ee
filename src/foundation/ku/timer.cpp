#include "foundation/ku/timer.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/immortal.h"

#include <pthread.h>

#include <algorithm>
#include <exception>

namespace ku
{
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
  for (;;)
  {
    Action action;
    {
      const std::lock_guard lock(mutex);
      if (planned.empty() || planned.begin()->first.first > time)
        return;
      action = std::move(planned.begin()->second);
      planned.erase(planned.begin());
    }
    try
    {
      action();
    }
    catch (const std::exception& error)
    {
      log::error("ku.timer", "what was due could not be done: {}", error.what());
    }
  }
}
}  // namespace ku
