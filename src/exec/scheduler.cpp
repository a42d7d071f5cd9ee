#include "exec/scheduler.h"

#include "exec/processregistry.h"
#include "filtrix/ku/log.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.scheduler";

/// How long an idle worker sleeps at most.
constexpr Duration longestSleep(100'000);

/// The same failure of the same process is logged once in this time, at most.
constexpr std::chrono::seconds failureLogPace(10);

/// Failures of so many processes are remembered for that.
constexpr std::size_t rememberedFailures = 1024;

// The scheduler whose worker this thread is.
thread_local const Scheduler* workerOf = nullptr;

// Linux keeps 15 characters of a thread's name.
void nameThread(const std::string& name)
{
  pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
}
}  // namespace

Scheduler::Scheduler(const ProcessRegistry& registry_, std::uint32_t threadCount_)
    : registry(registry_), threadCount(threadCount_)
{
}

Scheduler::~Scheduler()
{
  stop();
}

bool Scheduler::start()
{
  if (workerOf == this)
  {
    ku::log::error(category, "start(): the scheduler can not be started by one of its own workers.");
    return false;
  }
  const std::lock_guard lock(startMutex);
  if (running)
    return true;
  // Workers that a callback has told to stop have nobody else to wait for them.
  for (std::thread& thread : threads)
    thread.join();
  threads.clear();
  wakeUp.rearm();
  running = true;
  for (std::uint32_t i = 0; i < threadCount; ++i)
    threads.emplace_back([this] { _supervise(); });
  return true;
}

bool Scheduler::stop()
{
  const auto letEnd = [this]
  {
    {
      const std::lock_guard lock(queueMutex);
      running = false;
    }
    wakeUp.interrupt();
  };
  if (workerOf == this)
  {
    letEnd();
    return true;
  }
  const std::lock_guard lock(startMutex);
  letEnd();
  for (std::thread& thread : threads)
    thread.join();
  threads.clear();
  return true;
}

void Scheduler::rebuildJobs()
{
  std::vector<Weighted> list;
  registry.forEachProcess(
      [&](const ProcessPtr& process)
      {
        const std::uint32_t priority = process->getPriority();
        if (priority != 0 && process->isLive())
          list.push_back({process, 1U << (priority - 1)});
      });
  std::ranges::stable_sort(list, {}, &Weighted::weight);
  if (!list.empty())
  {
    const std::uint32_t smallest = list.front().weight;
    for (Weighted& entry : list)
      entry.weight /= smallest;
  }
  const std::lock_guard lock(nextJobsMutex);
  nextJobs.clear();
  _interleave(list);
}

// An entry of weight w comes w times: once between two rounds in which the heavier ones come half their weight each.
void Scheduler::_interleave(const std::vector<Weighted>& list)
{
  if (list.empty())
    return;
  if (list.back().weight == 1)
  {
    for (const Weighted& entry : list)
      nextJobs.push_back({entry.process, Time()});
    return;
  }
  std::vector<Weighted> light;
  std::vector<Weighted> heavy;
  for (const Weighted& entry : list)
  {
    if (entry.weight == 1)
      light.push_back(entry);
    else
      heavy.push_back({entry.process, entry.weight / 2});
  }
  _interleave(heavy);
  _interleave(light);
  _interleave(heavy);
}

void Scheduler::addJob(const ProcessPtr& process, Time time)
{
  if (!process)
    return;
  {
    const std::lock_guard lock(queueMutex);
    pendingJobs.push_back({process, time});
  }
  wakeUp.interrupt();
}

std::vector<ProcessPtr> Scheduler::getCycle() const
{
  const std::lock_guard lock(nextJobsMutex);
  std::vector<ProcessPtr> cycle;
  cycle.reserve(nextJobs.size());
  for (const Job& job : nextJobs)
    cycle.push_back(job.process);
  return cycle;
}

Job Scheduler::nextJob()
{
  {
    const std::lock_guard lock(queueMutex);
    bool dropped = false;
    while (!pendingJobs.empty())
    {
      Job job = std::move(pendingJobs.back());
      pendingJobs.pop_back();
      if (runningProcesses.insert(job.process).second)
        return job;
      dropped = true;
    }
    if (dropped)
      return {};
    // From here on a job that is added cuts the sleep below short. A stop that came before must still do so.
    if (running)
      wakeUp.rearm();
  }
  bool idle = false;
  {
    const std::lock_guard lock(nextJobsMutex);
    idle = nextJobs.empty();
  }
  if (idle)
  {
    _sleep(longestSleep);
    return {};
  }
  bool allRunning = false;
  {
    const std::scoped_lock lock(queueMutex, nextJobsMutex);
    // Jobs may have come in the meantime, by an event or by the other worker's refill: they are not to be lost.
    if (pendingJobs.empty())
      pendingJobs = nextJobs;
    allRunning = pendingJobs.size() == runningProcesses.size();
  }
  _sleep(allRunning ? longestSleep : _sleepTime());
  return {};
}

void Scheduler::finishJob(const ProcessPtr& process)
{
  const std::lock_guard lock(queueMutex);
  runningProcesses.erase(process);
}

// Until the first process is due, so that a cycle that holds nothing to do does not turn for its own sake.
Duration Scheduler::_sleepTime() const
{
  const Time now = Time::now();
  Duration shortest = longestSleep;
  registry.forEachProcess(
      [&](const ProcessPtr& process)
      {
        if (process->getPriority() != 0 && process->isLive())
          shortest = std::min(shortest, std::max(process->timeToNextRun(now), Duration(0)));
      });
  return shortest;
}

// In whole milliseconds; what is left of the last one is slept as it is, or else the cycle would turn thousands of
// times before the first process is due.
void Scheduler::_sleep(Duration length)
{
  const std::chrono::milliseconds whole(length.milliseconds());
  wakeUp.sleepFor(whole.count() > 0 ? std::chrono::microseconds(whole)
                                    : std::chrono::microseconds(length.microseconds()));
}

// Enters the worker function again as often as a run throws it out.
void Scheduler::_supervise()
{
  workerOf = this;
  nameThread("ModWrk_idle");
  while (true)
  {
    ProcessPtr current;
    std::string cause;
    try
    {
      _work(&current);
      return;
    }
    catch (const std::exception& exception)
    {
      cause = exception.what();
    }
    catch (...)
    {
      cause = "unknown exception";
    }
    if (current)
      finishJob(current);
    _reportFailure(current ? current->getName() : std::string(), cause);
    nameThread("ModWrk_idle");
  }
}

void Scheduler::_work(ProcessPtr* current)
{
  while (running)
  {
    const Job job = nextJob();
    if (!job.process)
      continue;
    *current = job.process;
    const std::string name = job.process->getName();
    if (!registry.isRegistered(name))
    {
      const std::lock_guard lock(queueMutex);
      runningProcesses.erase(job.process);
      current->reset();
      rebuildJobs();
      continue;
    }
    nameThread("ModWrk_" + name);
    job.process->recover();
    job.process->run(job.time.isSet() ? job.time : Time::now());
    finishJob(job.process);
    current->reset();
    nameThread("ModWrk_idle");
  }
  const std::lock_guard lock(queueMutex);
  pendingJobs.clear();
}

void Scheduler::_reportFailure(const std::string& processName, const std::string& cause)
{
  std::uint64_t unlogged = 0;
  {
    const std::lock_guard lock(failuresMutex);
    if (failures.size() >= rememberedFailures && !failures.contains(processName))
      failures.clear();
    const auto now = ku::Clock::now();
    const auto [entry, isNew] = failures.try_emplace(processName);
    Failure& failure = entry->second;
    if (!isNew && failure.cause == cause && now - failure.logged < failureLogPace)
    {
      ++failure.unlogged;
      return;
    }
    unlogged = std::exchange(failure.unlogged, 0);
    failure.cause = cause;
    failure.logged = now;
  }
  const std::string since = unlogged != 0 ? fmt::format(" ({} more since the last report)", unlogged) : std::string();
  ku::log::fatal(category, "The process \"{}\" failed: {}{}", processName, cause, since);
}
}  // namespace ZR::Filtrix
