#include "filtrix/ku/mutex.h"
#include "filtrix/ku/spinlock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace ku
{
namespace
{
using namespace std::chrono_literals;

template <typename Lock>
class LockTest : public testing::Test
{
protected:
  Lock mutex;
};

class LockNames
{
public:
  template <typename Lock>
  static std::string GetName(int)
  {
    return std::is_same_v<Lock, Mutex> ? "Mutex" : "SpinLock";
  }
};

using Locks = testing::Types<Mutex, SpinLock>;
TYPED_TEST_SUITE(LockTest, Locks, LockNames);

TYPED_TEST(LockTest, KeepsSectionsApart)
{
  // More threads than processors, so that holders lose theirs within the section.
  constexpr int threads = 8;
  constexpr int rounds = 20'000;
  int inside = 0;
  int together = 0;
  std::int64_t sum = 0;
  {
    std::vector<std::jthread> workers;
    for (int thread = 0; thread < threads; ++thread)
      workers.emplace_back(
          [&]
          {
            for (int round = 0; round < rounds; ++round)
            {
              const std::lock_guard lock(this->mutex);
              together += inside++;
              ++sum;
              if (round % 1024 == 0)
                std::this_thread::yield();
              --inside;
            }
          });
  }
  EXPECT_EQ(together, 0);
  EXPECT_EQ(sum, std::int64_t{threads} * rounds);
}

TYPED_TEST(LockTest, LetsEveryWaiterInWhenItIsGivenBack)
{
  std::atomic<int> waiting{0};
  int entered = 0;
  std::vector<std::jthread> workers;
  this->mutex.lock();
  for (int thread = 0; thread < 4; ++thread)
    workers.emplace_back(
        [&]
        {
          ++waiting;
          const std::lock_guard lock(this->mutex);
          ++entered;
        });
  while (waiting < 4)
    std::this_thread::yield();
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(entered, 0);
  this->mutex.unlock();
  workers.clear();
  EXPECT_EQ(entered, 4);
}

TEST(MutexTest, LetsItsWaiterSleep)
{
  Mutex mutex;
  std::chrono::nanoseconds busy{};
  mutex.lock();
  std::jthread waiter(
      [&]
      {
        const auto used = []
        {
          std::timespec time{};
          clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
          return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
        };
        const auto before = used();
        const std::lock_guard lock(mutex);
        busy = used() - before;
      });
  std::this_thread::sleep_for(300ms);
  mutex.unlock();
  waiter.join();
  EXPECT_LT(busy, 100ms);
}
}  // namespace
}  // namespace ku
