#include "exec/scheduler.h"

#include "exec/processregistry.h"
#include "filtrix/ku/log.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.scheduler";

/// How long an idle worker sleeps at most.
constexpr Duration longestSleep(100'000);

/// A run that lasts longer is told of.
constexpr std::chrono::seconds longRun(1);

/// How often, in real time, the runs in progress are looked at for that.
constexpr std::chrono::milliseconds watchPace(250);

/// How long a stop waits before it says for whom.
constexpr std::chrono::seconds stopPatience(2);

/// The same failure of the same process is logged once in this time, at most.
constexpr std::chrono::seconds failureLogPace(10);

/// Failures of so many processes are remembered for that.
constexpr std::size_t rememberedFailures = 1024;

// The scheduler whose worker this thread is.
thread_local const Scheduler* workerOf = nullptr;

/// Jobs of events that wait to be taken. Beyond it the workers do not keep up, and the oldest half goes.
constexpr std::ptrdiff_t mostAddedJobs = 131'072;

std::string textOf(const std::exception_ptr& failure)
{
  try
  {
    std::rethrow_exception(failure);
  }
  catch (const std::exception& exception)
  {
    return exception.what();
  }
  catch (...)
  {
    return "unknown exception";
  }
}

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
  _join();
  wakeUp.rearm();
  running = true;
  try
  {
    for (std::uint32_t i = 0; i < threadCount; ++i)
      _startWorker();
    threads.emplace_back([this] { _watch(); });
  }
  catch (const std::exception& exception)
  {
    ku::log::error(category, "start(): expected {} threads, only {} could be started: {}", threadCount + 1,
                   threads.size(), exception.what());
    _letEnd();
    _join();
    return false;
  }
  return true;
}

void Scheduler::_startWorker()
{
  const auto count = [this](std::size_t change)
  {
    const std::lock_guard lock(workersMutex);
    workers += change;
    workerEnded.notify_all();
  };
  threads.reserve(threads.size() + 1);  // so that nothing throws while an unowned thread runs
  count(1);
  try
  {
    threads.emplace_back(
        [this, count]
        {
          _supervise();
          count(static_cast<std::size_t>(-1));
        });
  }
  catch (...)
  {
    count(static_cast<std::size_t>(-1));
    throw;
  }
}

bool Scheduler::stop()
{
  if (workerOf == this)
  {
    _letEnd();
    return true;
  }
  const std::lock_guard lock(startMutex);
  _letEnd();
  _join();
  return true;
}

void Scheduler::_letEnd()
{
  {
    const std::lock_guard lock(queueMutex);
    running = false;
  }
  wakeUp.interrupt();
}

// A run that does not end cannot be ended from outside: all that can be done is to say so.
void Scheduler::_join()
{
  const auto allEnded = [this]
  {
    std::unique_lock lock(workersMutex);
    return workerEnded.wait_for(lock, stopPatience, [this] { return workers == 0; });
  };
  if (!allEnded())
  {
    const std::lock_guard lock(queueMutex);
    for (const auto& [process, run] : runningProcesses)
      ku::log::error(category, "stop(): waiting for the process \"{}\", whose run does not end.", process->getName());
  }
  for (std::thread& thread : threads)
    thread.join();
  threads.clear();
}

std::shared_ptr<const Scheduler::Cycle> Scheduler::_makeCycle() const
{
  auto cycle = std::make_shared<Cycle>();
  std::vector<Weighted> list;
  registry.forEachProcess(
      [&](const ProcessPtr& process)
      {
        const std::uint32_t priority = process->getPriority();
        if (priority == 0 || !process->isLive())
          return;
        list.push_back({static_cast<std::uint32_t>(cycle->processes.size()), 1U << (priority - 1)});
        cycle->processes.push_back(process);
      });
  std::ranges::stable_sort(list, {}, &Weighted::weight);
  if (!list.empty())
  {
    const std::uint32_t smallest = list.front().weight;
    for (Weighted& entry : list)
      entry.weight /= smallest;
  }
  _interleave(list, cycle->order);
  return cycle;
}

// Who comes while another works the list out waits for it: what was changed before must be in it.
std::shared_ptr<const Scheduler::Cycle> Scheduler::_currentCycle()
{
  const std::lock_guard lock(cycleMutex);
  if (!isCycleStale.exchange(false))
    return nextCycle;
  try
  {
    nextCycle = _makeCycle();
  }
  catch (...)
  {
    isCycleStale = true;
    throw;
  }
  return nextCycle;
}

// An entry of weight w comes w times: once between two rounds in which the heavier ones come half their weight each.
void Scheduler::_interleave(const std::vector<Weighted>& list, std::vector<std::uint32_t>& order)
{
  if (list.empty())
    return;
  if (list.back().weight == 1)
  {
    for (const Weighted& entry : list)
      order.push_back(entry.process);
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
  _interleave(heavy, order);
  _interleave(light, order);
  _interleave(heavy, order);
}

void Scheduler::addJob(const ProcessPtr& process, Time time)
{
  if (!process)
    return;
  bool areTooMany = false;
  {
    const std::lock_guard lock(queueMutex);
    // While nobody takes them, the newest job of each process is enough: a source may go on for days.
    if (!running)
      std::erase_if(addedJobs, [&](const Job& job) { return job.process == process; });
    // The newest are taken first: what stands far back would not be taken anyway while events keep coming.
    areTooMany = addedJobs.size() >= mostAddedJobs;
    if (areTooMany)
      addedJobs.erase(addedJobs.begin(), addedJobs.begin() + mostAddedJobs / 2);
    addedJobs.push_back({process, time});
  }
  wakeUp.interruptOne();
  if (areTooMany)
    ku::log::warning(category, "The processes do not keep up with their events: the oldest {} of {} jobs are dropped.",
                     mostAddedJobs / 2, mostAddedJobs);
}

std::vector<ProcessPtr> Scheduler::getCycle()
{
  const auto cycle = _currentCycle();
  std::vector<ProcessPtr> processes;
  processes.reserve(cycle->order.size());
  for (const std::uint32_t process : cycle->order)
    processes.push_back(cycle->processes[process]);
  return processes;
}

Job Scheduler::nextJob()
{
  {
    const std::lock_guard lock(queueMutex);
    Job job;
    if (_takeAdded(&job) || _takeFromCycle(&job))
      return job;
    // From here on a job that is added cuts the sleep below short. A stop that came before must still do so.
    if (running)
      wakeUp.rearm();
  }
  const auto cycle = _currentCycle();
  if (cycle->order.empty())
  {
    _sleep(longestSleep);
    return {};
  }
  const Duration untilDue = _sleepTime(*cycle, Time::now());
  bool allRunning = false;
  {
    const std::lock_guard lock(queueMutex);
    // Jobs may have come in the meantime, by an event or by the other worker's refill: they are not to be lost. A cycle
    // in which nothing is due is not begun at all.
    if (addedJobs.empty() && cycleJobs == 0 && untilDue == Duration(0))
    {
      runningCycle = cycle;
      cycleJobs = cycle->order.size();
    }
    allRunning = cycle->order.size() == runningProcesses.size();
  }
  _sleep(allRunning ? longestSleep : untilDue);
  return {};
}

bool Scheduler::_enter(const ProcessPtr& process)
{
  return runningProcesses.try_emplace(process, Running{ku::Clock::now()}).second;
}

// On a thread of its own, since the runs of all workers may be those that do not end. It ends with the last of them.
void Scheduler::_watch()
{
  nameThread("ModWrk_watch");
  std::unique_lock lock(workersMutex);
  while (!workerEnded.wait_for(lock, watchPace, [this] { return workers == 0; }))
  {
    lock.unlock();
    try
    {
      _tellLongRuns();
    }
    catch (const std::bad_alloc&)
    {
      // Told at a later look.
    }
    lock.lock();
  }
}

// Once for each run.
void Scheduler::_tellLongRuns()
{
  const auto now = ku::Clock::now();
  std::vector<ProcessPtr> late;
  {
    const std::lock_guard lock(queueMutex);
    for (auto& [process, run] : runningProcesses)
    {
      if (run.isTold || now - run.start < longRun)
        continue;
      late.push_back(process);
      run.isTold = true;
    }
  }
  for (const ProcessPtr& process : late)
    ku::log::warning(category, "The process \"{}\" has been running for more than {} s.", process->getName(),
                     longRun.count());
}

// The jobs that events have added, the last one first. True when the search is over: with a job, or with an empty one
// when there were some that had to be dropped.
bool Scheduler::_takeAdded(Job* job)
{
  bool dropped = false;
  while (!addedJobs.empty())
  {
    Job added = std::move(addedJobs.back());
    addedJobs.pop_back();
    if (_enter(added.process))
    {
      *job = std::move(added);
      return true;
    }
    dropped = true;
  }
  return dropped && cycleJobs == 0;
}

// The same for the cycle. What is passed over in one go is limited, since events wait meanwhile.
bool Scheduler::_takeFromCycle(Job* job)
{
  constexpr int mostAtOnce = 4096;
  const Time now = Time::now();
  bool dropped = false;
  for (int passed = 0; cycleJobs > 0; ++passed)
  {
    if (passed == mostAtOnce)
      return true;
    const ProcessPtr& process = runningCycle->processes[runningCycle->order[--cycleJobs]];
    if (process->passIfEarly(now))
      continue;
    if (_enter(process))
    {
      *job = {process, Time()};
      return true;
    }
    dropped = true;
  }
  return dropped;
}

void Scheduler::finishJob(const ProcessPtr& process)
{
  const std::lock_guard lock(queueMutex);
  runningProcesses.erase(process);
}

// Until the first process is due, so that a cycle that holds nothing to do does not turn for its own sake.
Duration Scheduler::_sleepTime(const Cycle& cycle, Time now)
{
  Duration shortest = longestSleep;
  for (const ProcessPtr& process : cycle.processes)
  {
    if (process->getPriority() == 0 || !process->isLive())
      continue;
    // Whose last run lies far in the future, by a clock that was set back, is due at once.
    const bool isAhead = process->getLastRun() > now && !process->isTooEarly(now);
    // Only who would be the first is asked whether it is running, which takes a lock.
    if (!isAhead && process->getDue() - now >= shortest)
      continue;
    const Duration left = isAhead ? Duration(0) : std::max(process->timeToNextRun(now), Duration(0));
    shortest = std::min(shortest, left);
  }
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
    std::exception_ptr failure;
    try
    {
      _work(&current);
      return;
    }
    catch (...)
    {
      failure = std::current_exception();
    }
    if (current)
      finishJob(current);
    nameThread("ModWrk_idle");
    try
    {
      _reportFailure(current ? current->getName() : std::string(), textOf(failure));
    }
    catch (const std::bad_alloc&)
    {
      ku::log::write(ku::log::Level::Fatal, category, "A process failed, and there is no memory to say which.");
    }
    // Nor is there any point in failing as fast as one can: memory comes back, if it does, from somebody else.
    if (!current)
      _sleep(longestSleep);
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
  addedJobs.clear();
  cycleJobs = 0;
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
