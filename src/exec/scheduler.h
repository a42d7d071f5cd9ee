#pragma once

#include "exec/job.h"
#include "filtrix/ku/clock.h"

#include <boost/container/flat_map.hpp>

#include <atomic>
#include <condition_variable>
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
/// that events add go before the cycle. A job for a process that is running is dropped, not kept for later. So is one
/// of the cycle whose process is not due: running it would do nothing.
///
/// What a run throws is logged with the process's name (the same cause at most every ten seconds), the process is tried
/// again at its next turn with a clean graph, and the worker goes on. A run that lasts for a second is told of, though
/// it were that of every worker, and by `stop` when it has to wait for it.
///
/// Locks: the cycle mutex, and the queue mutex, before the registry's mutex, never one within the other; none is held
/// while a process runs. Thread-safe.
class Scheduler final
{
public:
  /// `registry` outlives the scheduler. No thread is started yet.
  Scheduler(const ProcessRegistry& registry, std::uint32_t threadCount);
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;
  ~Scheduler();

  /// Starts the workers unless they run. True, but for a call from one of the workers themselves, which is refused, and
  /// when the system gives no thread for each, so that none is left running; both with a log line.
  bool start();

  /// Stops the workers and waits for the runs in progress; jobs that wait are lost. Called on a worker, from a
  /// callback, it only lets the workers end. Always true.
  bool stop();

  [[nodiscard]] bool isRunning() const noexcept { return running; }

  /// Has the list of jobs worked out anew before it is next read: to be called after a change in the set of processes,
  /// in which of them are live, or in their priorities. Costs next to nothing, so that it may be called for each of ten
  /// thousand processes.
  void rebuildJobs() noexcept { isCycleStale = true; }

  /// Puts a job before all others that wait, and wakes a worker that sleeps. Until the start the newest job of each
  /// process is kept. Of more than 131,072 that wait the older half is dropped, with a log line.
  void addJob(const ProcessPtr& process, Time time);

  /// The processes of one cycle, in the order in which the list holds them.
  [[nodiscard]] std::vector<ProcessPtr> getCycle();

  /// The next job for a worker, empty when there is none at the moment: then it has slept, or refilled the queue. A
  /// worker's own affair; tests step through it.
  Job nextJob();

  /// To be told that the job's process has run.
  void finishJob(const ProcessPtr& process);

private:
  // The jobs of one cycle. Never changed once made: a worker goes through it while another is worked out.
  struct Cycle
  {
    std::vector<ProcessPtr> processes;
    std::vector<std::uint32_t> order;  // indices of the processes; taken from the back
  };

  struct Weighted
  {
    std::uint32_t process;
    std::uint32_t weight;
  };

  struct Running
  {
    ku::Clock::time_point start;
    bool isTold = false;  // that it takes long
  };

  struct Failure
  {
    std::string cause;
    ku::Clock::time_point logged;
    std::uint64_t unlogged = 0;
  };

  static void _interleave(const std::vector<Weighted>& list, std::vector<std::uint32_t>& order);
  [[nodiscard]] std::shared_ptr<const Cycle> _makeCycle() const;
  [[nodiscard]] std::shared_ptr<const Cycle> _currentCycle();
  [[nodiscard]] static Duration _sleepTime(const Cycle& cycle, Time now);
  [[nodiscard]] bool _enter(const ProcessPtr& process);
  void _tellLongRuns();
  bool _takeAdded(Job* job);
  bool _takeFromCycle(Job* job);
  void _sleep(Duration length);
  void _startWorker();
  void _watch();
  void _letEnd();
  void _join();
  void _supervise();
  void _work(ProcessPtr* current);
  void _reportFailure(const std::string& processName, const std::string& cause);

  const ProcessRegistry& registry;
  const std::uint32_t threadCount;
  std::atomic<bool> running{false};  // cleared under the queue mutex

  std::mutex startMutex;  // held by start and stop for their whole length, the joining included
  std::vector<std::thread> threads;

  std::mutex workersMutex;  // a leaf lock
  std::condition_variable workerEnded;
  std::size_t workers = 0;

  mutable std::mutex queueMutex;
  std::vector<Job> addedJobs;                 // by events; taken from the back, before the cycle's
  std::shared_ptr<const Cycle> runningCycle;  // what is gone through
  std::size_t cycleJobs = 0;                  // of its order, how many are left
  boost::container::flat_map<ProcessPtr, Running> runningProcesses;

  std::mutex cycleMutex;  // held while the list is worked out
  std::shared_ptr<const Cycle> nextCycle;
  std::atomic<bool> isCycleStale{true};

  std::mutex failuresMutex;  // a leaf lock
  std::map<std::string, Failure> failures;

  ku::Alarm wakeUp;
};
}  // namespace ZR::Filtrix
