#include "foundation/ku/threadpool.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/immortal.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

namespace ku
{
namespace
{
constexpr const char* category = "ku.threadpool";

void nameThread(const char* name)
{
  ::pthread_setname_np(::pthread_self(), name);
}

void run(const ThreadPool::Job& job)
{
  try
  {
    job();
  }
  catch (const std::exception& error)
  {
    log::error(category, "a job failed: {}", error.what());
  }
  catch (...)
  {
    log::error(category, "a job failed: it threw what is no std::exception");
  }
}
}  // namespace

ThreadPool::ThreadPool(const Limits& limits_) : limits(limits_) {}

ThreadPool::~ThreadPool()
{
  {
    const Lock lock(mutex);
    isEnding = true;
    jobCame.notify_all();
    lookedFor.notify_all();
  }
  // From here on the supervisor starts no thread, so once it is gone the list is ours.
  if (supervisor.joinable())
    supervisor.join();
  std::vector<std::thread> remaining;
  {
    const Lock lock(mutex);
    remaining.swap(workers);
    std::ranges::move(leaving, std::back_inserter(remaining));
  }
  for (std::thread& thread : remaining)
    thread.join();
}

void ThreadPool::post(Job job)
{
  const Lock lock(mutex);
  if (!supervisor.joinable())
    supervisor = std::thread([this] { _supervise(); });
  jobs.push_back(std::move(job));
  if (workers.size() < limits.base && jobs.size() > idling && !_start() && workers.empty())
  {
    jobs.pop_back();
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                            "the thread pool cannot start its first thread");
  }
  jobCame.notify_one();
  if (_isStarved())
    lookedFor.notify_one();
}

std::size_t ThreadPool::size() const
{
  const Lock lock(mutex);
  return workers.size();
}

ThreadPool& ThreadPool::shared()
{
  static Immortal<ThreadPool> pool;
  return *pool;
}

// True when a job waits for which there is no thread. Under the mutex.
bool ThreadPool::_isStarved() const
{
  return jobs.size() > idling && workers.size() < limits.most;
}

// True when another thread is idle as well and no more have been needed for a while. Quick jobs that keep coming would
// else keep each of many threads from ever being idle for long. Under the mutex; one thread may act on it.
bool ThreadPool::_isTooMany()
{
  if (workers.size() <= limits.base || idling == 0 || !jobs.empty() || isEnding)
    return false;
  const auto now = Clock::now();
  if (now - changed < limits.idle)
    return false;
  changed = now;
  return true;
}

// Adds a worker; false when the system gives no more threads. Under the mutex.
bool ThreadPool::_start()
try
{
  // So that nothing throws while an unowned thread runs, nor when a worker leaves.
  workers.reserve(workers.size() + 1);
  leaving.reserve(leaving.size() + workers.size() + 1);
  workers.emplace_back([this] { _work(); });
  isShort = false;
  return true;
}

catch (const std::exception& error)  // no more threads, or no memory for one
{
  if (!std::exchange(isShort, true))
    log::warning(category, "no more than {} threads: {}", workers.size(), error.what());
  return false;
}

void ThreadPool::_work()
{
  nameThread("ku.pool");
  Lock lock(mutex);
  for (;;)
  {
    if (_isTooMany())
      break;
    ++idling;
    const bool woken = jobCame.wait_for(lock, limits.idle, [this] { return isEnding || !jobs.empty(); });
    --idling;
    if (!jobs.empty())
    {
      ++taken;
      Job job = std::move(jobs.front());
      jobs.pop_front();
      lock.unlock();
      run(job);
      job = nullptr;  // what it holds may lock, or end a task, when it goes
      lock.lock();
      continue;
    }
    if (woken)
      return;
    if (workers.size() > limits.base)
      break;
  }
  const auto self = std::ranges::find(workers, std::this_thread::get_id(), &std::thread::get_id);
  leaving.push_back(std::move(*self));
  workers.erase(self);
  lookedFor.notify_one();
}

void ThreadPool::_supervise()
{
  nameThread("ku.supervisor");
  Lock lock(mutex);
  while (!isEnding)
  {
    lookedFor.wait(lock, [this] { return isEnding || !leaving.empty() || _isStarved(); });
    while (!leaving.empty())
    {
      std::thread thread = std::move(leaving.back());
      leaving.pop_back();
      lock.unlock();
      thread.join();
      lock.lock();
    }
    if (isEnding || !_isStarved())
      continue;

    const std::uint64_t before = taken;
    lookedFor.wait_for(lock, limits.patience, [this] { return isEnding; });
    if (!isEnding && taken == before && _isStarved() && _start())
      changed = Clock::now();
  }
}
}  // namespace ku
