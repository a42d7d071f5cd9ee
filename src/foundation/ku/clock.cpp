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

// Guards the writes of the two above, every Alarm's state and the list of sleepers. A leaf lock.
std::mutex sleepMutex;
std::condition_variable sleeperCame;

std::chrono::steady_clock::time_point toSteady(Clock::time_point time)
{
  return std::chrono::steady_clock::time_point(
      std::chrono::duration_cast<std::chrono::steady_clock::duration>(time.time_since_epoch()));
}
}  // namespace

// Those who sleep. A change of the clock concerns them all; an alarm's interruption only its own, so that each has a
// condition of its own.
class Sleepers
{
public:
  // One sleep, entered under the sleep mutex.
  class Entry
  {
  public:
    explicit Entry(Alarm& alarm_) : alarm(alarm_), next(first)
    {
      if (next != nullptr)
        next->previous = this;
      first = this;
      ++alarm.sleeping;
      ++count;
      sleeperCame.notify_all();
    }

    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    ~Entry()
    {
      (previous != nullptr ? previous->next : first) = next;
      if (next != nullptr)
        next->previous = previous;
      --alarm.sleeping;
      --count;
    }

  private:
    friend class Sleepers;

    Alarm& alarm;
    Entry* previous = nullptr;
    Entry* next;
  };

  static void wakeAll()
  {
    for (Entry* entry = first; entry != nullptr; entry = entry->next)
      entry->alarm.woken.notify_all();
  }

  [[nodiscard]] static std::size_t size() noexcept { return count; }

private:
  static inline Entry* first = nullptr;
  static inline std::size_t count = 0;
};

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
  Sleepers::wakeAll();
}

ManualClock::~ManualClock()
{
  const std::lock_guard lock(sleepMutex);
  manualInForce.store(previousInForce);
  manualTime.store(previousTime);
  Sleepers::wakeAll();
}

void ManualClock::advance(Clock::duration step)
{
  const std::lock_guard lock(sleepMutex);
  manualTime.fetch_add(step.count());
  Sleepers::wakeAll();
}

bool ManualClock::waitForSleepers(std::size_t count, std::chrono::milliseconds patience)
{
  std::unique_lock lock(sleepMutex);
  return sleeperCame.wait_for(lock, patience, [count] { return Sleepers::size() >= count; });
}

bool Alarm::sleepFor(Clock::duration length)
{
  std::unique_lock lock(sleepMutex);
  if (length <= Clock::duration::zero())
    return !interrupted;

  // A sleep that began under one clock and finds another in force has nothing left to wait for that makes sense.
  const bool manual = manualInForce.load();
  const Clock::time_point due = Clock::now() + length;
  const Sleepers::Entry entry(*this);
  while (!interrupted && manual == manualInForce.load() && Clock::now() < due)
  {
    if (manual)
      woken.wait(lock);
    else
      woken.wait_until(lock, toSteady(due));
  }
  return !interrupted;
}

// The mutex is let go before the sleepers are told, who would wake only to wait for it.
void Alarm::interrupt()
{
  {
    const std::lock_guard lock(sleepMutex);
    interrupted = true;
    if (sleeping == 0)
      return;
  }
  woken.notify_all();
}

void Alarm::interruptOne()
{
  {
    const std::lock_guard lock(sleepMutex);
    interrupted = true;
    if (sleeping == 0)
      return;
  }
  woken.notify_one();
}

void Alarm::rearm()
{
  const std::lock_guard lock(sleepMutex);
  interrupted = false;
}
}  // namespace ku
