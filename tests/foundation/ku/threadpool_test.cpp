#include "foundation/ku/threadpool.h"

#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>

namespace ku
{
namespace
{
using namespace std::chrono_literals;

// In real time, since the pool's spans are; the bound is only reached by a pool that is broken.
bool comesToHave(const ThreadPool& pool, std::size_t size)
{
  const auto end = std::chrono::steady_clock::now() + 10s;
  while (pool.size() != size && std::chrono::steady_clock::now() < end)
    std::this_thread::yield();
  return pool.size() == size;
}

TEST(ThreadPool, RunsAllThatWasPostedBeforeItEnds)
{
  std::atomic<int> done{0};
  {
    ThreadPool pool;
    for (int i = 0; i < 100; ++i)
      pool.post([&] { ++done; });
  }
  EXPECT_EQ(done, 100);
}

TEST(ThreadPool, StartsNoThreadBeforeTheFirstJob)
{
  EXPECT_EQ(ThreadPool().size(), 0u);
}

TEST(ThreadPool, GrowsWhileAllThreadsAreBlockedAndShrinksAgain)
{
  ThreadPool pool({.base = 1, .most = 3, .patience = 1ms, .idle = 1ms});
  std::latch threeBegun(3);
  std::latch go(1);
  std::latch allEnded(5);
  std::atomic<int> atOnce{0};
  std::atomic<int> most{0};
  for (int i = 0; i < 5; ++i)
    pool.post(
        [&, i]
        {
          most = std::max<int>(most, ++atOnce);
          if (i < 3)
            threeBegun.count_down();
          go.wait();
          --atOnce;
          allEnded.count_down();
        });
  threeBegun.wait();
  EXPECT_EQ(pool.size(), 3u);
  go.count_down();
  allEnded.wait();
  EXPECT_LE(most, 3);
  EXPECT_TRUE(comesToHave(pool, 1));

  std::latch again(1);
  pool.post([&] { again.count_down(); });
  again.wait();
}

// Each thread would be given a job before it had been idle for long.
TEST(ThreadPool, ShrinksWhileQuickJobsKeepComing)
{
  ThreadPool pool({.base = 1, .most = 4, .patience = 1ms, .idle = 20ms});
  std::latch allBegun(4);
  std::latch go(1);
  for (int i = 0; i < 4; ++i)
    pool.post(
        [&]
        {
          allBegun.count_down();
          go.wait();
        });
  allBegun.wait();
  ASSERT_EQ(pool.size(), 4U);
  go.count_down();
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (pool.size() > 1 && std::chrono::steady_clock::now() < end)
  {
    pool.post([] {});
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_EQ(pool.size(), 1U);
}

TEST(ThreadPool, OutlivesWhatItsJobsThrow)
{
  const log::Capture capture;
  {
    ThreadPool pool({.base = 1, .most = 1});
    pool.post([] { throw std::runtime_error("broken lens"); });
    pool.post([] { throw 7; });
  }
  EXPECT_THAT(capture.texts("ku.threadpool"),
              testing::ElementsAre("a job failed: broken lens", "a job failed: it threw what is no std::exception"));
}

TEST(ThreadPool, LetsGoOfAJobBeforeTheNextOne)
{
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  ThreadPool pool({.base = 1, .most = 1});
  std::latch next(1);
  bool isGone = false;
  pool.post([held = std::move(held)] {});
  pool.post(
      [&]
      {
        isGone = watch.expired();
        next.count_down();
      });
  next.wait();
  EXPECT_TRUE(isGone);
}
}  // namespace
}  // namespace ku
