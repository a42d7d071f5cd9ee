#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace ku
{
/// A mutex for sections of a few instructions: taking a free one is a single exchange, giving it back a plain store.
/// Who finds it taken turns for a moment, then sleeps. Not recursive. For use with std::lock_guard.
///
/// Only for leaf sections that call nothing that may wait: a holder that loses its processor keeps the others turning.
class SpinLock final
{
public:
  SpinLock() = default;
  SpinLock(const SpinLock&) = delete;
  SpinLock& operator=(const SpinLock&) = delete;
  ~SpinLock() = default;

  void lock() noexcept
  {
    if (taken.exchange(true, std::memory_order_acquire))
      _wait();
  }

  void unlock() noexcept { taken.store(false, std::memory_order_release); }

private:
  void _wait() noexcept
  {
    // Waiters read, so that they do not pull the line away from the holder. Sleeping, and not only yielding, lets a
    // holder of lower priority go on.
    constexpr int turns = 200;
    constexpr std::chrono::microseconds pause{20};
    do
    {
      for (int turn = 0; taken.load(std::memory_order_relaxed); ++turn)
      {
        if (turn >= turns)
          std::this_thread::sleep_for(pause);
      }
    } while (taken.exchange(true, std::memory_order_acquire));
  }

  std::atomic<bool> taken{false};
};
}  // namespace ku
