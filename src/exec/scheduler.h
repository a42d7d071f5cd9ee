#pragma once

#include "exec/job.h"
#include "filtrix/ku/clock.h"

#include <boost/container/flat_set.hpp>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix
{
class ProcessRegistry;

/// Owns the worker threads and decides what runs next.
///
/// There are no deadlines. Priority gives a process its share of a repeating list of jobs: one of weight w stands w
/// times in a cycle, spread evenly. When a job comes up, the process's frequency decides whether it really runs. Jobs
/// that events add go before the cycle. A job for a process that is running is dropped, not kept for later.
///
/// What a run throws is logged with the process's name (the same cause at most every ten seconds), the process is tried
/// again at its next turn with a clean graph, and the worker goes on.
///
/// Locks: the queue mutex before the next-jobs mutex and before the registry's mutex; none is held while a process
/// runs. Thread-safe.
class Scheduler final
{
public:
  /// `registry` outlives the scheduler. No thread is started yet.
  Scheduler(const ProcessRegistry& registry, std::uint32_t threadCount);
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;
  ~Scheduler();

  /// Starts the workers unless they run. True, but for a call from one of the workers themselves, which is refused with
  /// a log line.
  bool start();

  /// Stops the workers and waits for the runs in progress; jobs that wait are lost. Called on a worker, from a
  /// callback, it only lets the workers end. Always true.
  bool stop();

  [[nodiscard]] bool isRunning() const noexcept { return running; }

  /// Works out the list of jobs anew: to be called after a change in the set of processes, in which of them are live,
  /// or in their priorities.
  void rebuildJobs();

  /// Puts a job before all others that wait, and wakes a worker that sleeps.
  void addJob(const ProcessPtr& process, Time time);

  /// The processes of one cycle, in the order in which the list holds them.
  [[nodiscard]] std::vector<ProcessPtr> getCycle() const;

  /// The next job for a worker, empty when there is none at the moment: then it has slept, or refilled the queue. A
  /// worker's own affair; tests step through it.
  Job nextJob();

  /// To be told that the job's process has run.
  void finishJob(const ProcessPtr& process);

private:
  struct Weighted
  {
    ProcessPtr process;
    std::uint32_t weight;
  };

  struct Failure
  {
    std::string cause;
    ku::Clock::time_point logged;
    std::uint64_t unlogged = 0;
  };

  void _interleave(const std::vector<Weighted>& list);
  [[nodiscard]] Duration _sleepTime() const;
  void _sleep(Duration length);
  void _supervise();
  void _work(ProcessPtr* current);
  void _reportFailure(const std::string& processName, const std::string& cause);

  const ProcessRegistry& registry;
  const std::uint32_t threadCount;
  std::atomic<bool> running{false};  // cleared under the queue mutex

  std::mutex startMutex;  // held by start and stop for their whole length, the joining included
  std::vector<std::thread> threads;

  mutable std::mutex queueMutex;
  std::vector<Job> pendingJobs;  // taken from the back
  boost::container::flat_set<ProcessPtr> runningProcesses;

  mutable std::mutex nextJobsMutex;  // within the queue mutex
  std::vector<Job> nextJobs;         // the template of one cycle

  std::mutex failuresMutex;  // a leaf lock
  std::map<std::string, Failure> failures;

  ku::Alarm wakeUp;
};
}  // namespace ZR::Filtrix
