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

  // By the time that another pool has grown further at the same pace, this one would have too.
  {
    std::latch eightBegun(8);
    ThreadPool wider({.base = 1, .most = 8, .patience = 1ms});
    for (int i = 0; i < 8; ++i)
      wider.post([&] { eightBegun.arrive_and_wait(); });
  }
  EXPECT_EQ(pool.size(), 3u);
  go.count_down();
  allEnded.wait();
  EXPECT_LE(most, 3);
  EXPECT_TRUE(comesToHave(pool, 1));

  std::latch again(1);
  pool.post([&] { again.count_down(); });
  again.wait();
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

// What a job holds ends with it, and may be the last owner of something that needs the pool to end.
TEST(ThreadPool, MayBeUsedByTheEndOfAJob)
{
  std::latch ended(1);
  ThreadPool pool({.base = 1, .most = 1});
  std::shared_ptr<void> held(nullptr, [&](void*) { pool.post([&] { ended.count_down(); }); });
  pool.post([held = std::move(held)] {});
  ended.wait();
}

}  // namespace
}  // namespace ku
