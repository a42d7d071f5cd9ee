#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ku
{
/// Threads that run jobs in the order of their posting.
///
/// Jobs may block: a camera is waited for that way. When work waits and no job has been taken up for `patience`, all
/// threads are taken to be blocked, and one more is started, up to `most`; it ends when it has been idle for `idle`,
/// and so does one in each such span in which the others had nothing to do either.
/// So a few threads serve quick jobs, and a slow one costs the others at most that patience. These spans are of real
/// time, whatever clock is in force, since they are about the machine's threads. Thread-safe.
class ThreadPool
{
public:
  struct Limits
  {
    std::size_t base = 2;
    std::size_t most = 32;
    std::chrono::milliseconds patience{10};
    std::chrono::milliseconds idle{5000};
  };

  using Job = std::function<void()>;

  ThreadPool() : ThreadPool(Limits{}) {}

  explicit ThreadPool(const Limits& limits_);

  /// Runs what has been posted, then ends.
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  /// A job that throws is logged and forgotten. Throws std::system_error when the first thread cannot be started.
  void post(Job job);

  /// How many threads there are at the moment.
  [[nodiscard]] std::size_t size() const;

  /// The pool of periodic tasks and asynchronous calls. It lives until the program ends.
  [[nodiscard]] static ThreadPool& shared();

private:
  using Lock = std::unique_lock<std::mutex>;
  using Clock = std::chrono::steady_clock;

  void _work();
  void _supervise();
  bool _start();
  [[nodiscard]] bool _isStarved() const;
  [[nodiscard]] bool _isTooMany();

  const Limits limits;

  mutable std::mutex mutex;           // guards the rest; a leaf lock
  std::condition_variable jobCame;    // for the workers
  std::condition_variable lookedFor;  // for the supervisor
  std::deque<Job> jobs;               // not yet taken up
  std::uint64_t taken = 0;            // jobs taken up so far
  std::size_t idling = 0;             // threads that wait for a job, those about to wake included
  std::vector<std::thread> workers;   // at work or idle
  std::vector<std::thread> leaving;   // about to end, to be joined by the supervisor
  Clock::time_point changed;          // when a thread more or less was last found to be needed
  bool isEnding = false;
  bool isShort = false;    // the system refused a thread; told once until it gives one again
  std::thread supervisor;  // started with the first worker
};
}  // namespace ku
