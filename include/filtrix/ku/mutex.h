#pragma once

#include <atomic>
#include <cstdint>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace ku
{
/// A mutex of four bytes: taking a free one and giving it back are one inlined exchange each, where `std::mutex` takes
/// forty bytes and a call through the C library for either. Who finds it taken sleeps until it is given back. Not
/// recursive. For use with std::lock_guard. The thread sanitizer sees it as a mutex, order of locking included.
///
/// Source: Ulrich Drepper, "Futexes Are Tricky", 2011, the third of its mutexes.
class Mutex final
{
public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;
  ~Mutex() = default;

  void lock() noexcept
  {
    const Watched watched(*this, Watched::Step::Lock);
    std::uint32_t found = unlocked;
    if (!state.compare_exchange_strong(found, locked, std::memory_order_acquire, std::memory_order_relaxed))
      _wait();
  }

  void unlock() noexcept
  {
    const Watched watched(*this, Watched::Step::Unlock);
    if (state.exchange(unlocked, std::memory_order_release) == awaited)
      state.notify_one();
  }

private:
  static constexpr std::uint32_t unlocked = 0;
  static constexpr std::uint32_t locked = 1;
  static constexpr std::uint32_t awaited = 2;  // locked, and somebody may be asleep

  // Tells the thread sanitizer of a step, from before it until after it.
  class Watched
  {
  public:
    enum class Step
    {
      Lock,
      Unlock
    };

#if defined(__SANITIZE_THREAD__)
    Watched(Mutex& mutex_, Step step_) noexcept : mutex(mutex_), step(step_)
    {
      if (step == Step::Lock)
        __tsan_mutex_pre_lock(&mutex, 0);
      else
        __tsan_mutex_pre_unlock(&mutex, 0);
    }

    ~Watched()
    {
      if (step == Step::Lock)
        __tsan_mutex_post_lock(&mutex, 0, 0);
      else
        __tsan_mutex_post_unlock(&mutex, 0);
    }

    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

  private:
    Mutex& mutex;
    const Step step;
#else
    Watched(Mutex&, Step) noexcept {}
#endif
  };

  // Who has slept cannot know whether others still do, and so takes the mutex as an awaited one.
  [[gnu::noinline]] void _wait() noexcept
  {
    while (state.exchange(awaited, std::memory_order_acquire) != unlocked)
      state.wait(awaited, std::memory_order_relaxed);
  }

  std::atomic<std::uint32_t> state{unlocked};
};
}  // namespace ku
