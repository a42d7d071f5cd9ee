#include "filtrix/ku/clock.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace ku
{
namespace
{
// The manual time lives here and not in the ManualClock, so that a thread that reads the time never follows a pointer
// to a clock that is just ending.
std::atomic<bool> manualInForce{false};
std::atomic<std::int64_t> manualTime{0};

// Guards the writes of the two above, every Alarm's flag and the count of sleepers. A leaf lock.
std::mutex sleepMutex;
std::condition_variable sleepersWake;
std::condition_variable sleeperCame;
std::size_t sleepers = 0;

std::chrono::steady_clock::time_point toSteady(Clock::time_point time)
{
  return std::chrono::steady_clock::time_point(
      std::chrono::duration_cast<std::chrono::steady_clock::duration>(time.time_since_epoch()));
}
}  // namespace

Clock::time_point Clock::now() noexcept
{
  if (manualInForce.load(std::memory_order_acquire))
    return time_point(duration(manualTime.load(std::memory_order_acquire)));
  return time_point(std::chrono::duration_cast<duration>(std::chrono::steady_clock::now().time_since_epoch()));
}

ManualClock::ManualClock(Clock::duration start)
{
  const std::lock_guard lock(sleepMutex);
  previousInForce = manualInForce.load();
  previousTime = manualTime.load();
  manualTime.store(start.count());
  manualInForce.store(true);
  sleepersWake.notify_all();
}

ManualClock::~ManualClock()
{
  const std::lock_guard lock(sleepMutex);
  manualInForce.store(previousInForce);
  manualTime.store(previousTime);
  sleepersWake.notify_all();
}

void ManualClock::advance(Clock::duration step)
{
  const std::lock_guard lock(sleepMutex);
  manualTime.fetch_add(step.count());
  sleepersWake.notify_all();
}

bool ManualClock::waitForSleepers(std::size_t count, std::chrono::milliseconds patience)
{
  std::unique_lock lock(sleepMutex);
  return sleeperCame.wait_for(lock, patience, [count] { return sleepers >= count; });
}

bool Alarm::sleepFor(Clock::duration length)
{
  std::unique_lock lock(sleepMutex);
  if (length <= Clock::duration::zero())
    return !interrupted;

  // A sleep that began under one clock and finds another in force has nothing left to wait for that makes sense.
  const bool manual = manualInForce.load();
  const Clock::time_point due = Clock::now() + length;
  ++sleepers;
  sleeperCame.notify_all();
  while (!interrupted && manual == manualInForce.load() && Clock::now() < due)
  {
    if (manual)
      sleepersWake.wait(lock);
    else
      sleepersWake.wait_until(lock, toSteady(due));
  }
  --sleepers;
  return !interrupted;
}

void Alarm::interrupt()
{
  const std::lock_guard lock(sleepMutex);
  interrupted = true;
  sleepersWake.notify_all();
}

void Alarm::rearm()
{
  const std::lock_guard lock(sleepMutex);
  interrupted = false;
}
}  // namespace ku
