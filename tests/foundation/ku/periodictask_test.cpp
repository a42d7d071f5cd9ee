#include "filtrix/ku/periodictask.h"

#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"

#include <fmt/core.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <list>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace ku
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using Times = std::vector<std::chrono::milliseconds>;

constexpr auto startTime = 1h;

std::chrono::milliseconds sinceStart()
{
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch() - startTime);
}

struct PaceCase
{
  const char* name;
  bool compensates;
  bool immediate;
  Times durations;  // of the calls, which move the clock themselves
  Times begins;     // when they are to begin, after the start
};

class PaceTest : public testing::TestWithParam<PaceCase>
{
};

TEST_P(PaceTest, BeginsCallsOnTime)
{
  const auto& [name, compensates, immediate, durations, begins] = GetParam();
  ManualClock clock(startTime);
  Times seen;
  PeriodicTask task;
  task.setCallback(
      [&, &callDurations = durations]
      {
        seen.push_back(sinceStart());
        clock.advance(callDurations[seen.size() - 1]);
        if (seen.size() == callDurations.size())
          task.stop();
      });
  task.setUsPeriod(10'000);
  task.compensateCallbackTime(compensates);
  task.start(immediate);
  for (std::uint64_t run = 0; run < begins.size(); ++run)
  {
    ASSERT_TRUE(task.waitForRuns(run)) << "call " << run << " never came";
    const auto step = begins[run] - sinceStart();
    if (step <= 0ms)
      continue;  // comes at once, or has come
    ASSERT_TRUE(ManualClock::waitForSleepers(1));
    clock.advance(step);
  }
  ASSERT_TRUE(task.waitForRuns(begins.size()));
  EXPECT_EQ(seen, begins);
  EXPECT_FALSE(task.isRunning());
}

INSTANTIATE_TEST_SUITE_P(
    Periods, PaceTest,
    testing::Values(PaceCase{"APauseBetweenCalls", false, true, {3ms, 0ms, 12ms, 3ms}, {0ms, 13ms, 23ms, 45ms}},
                    PaceCase{"APeriodFromBeginToBegin", true, true, {3ms, 0ms, 9ms, 3ms}, {0ms, 10ms, 20ms, 30ms}},
                    PaceCase{
                        "ATooLongCallIsFollowedAtOnce", true, true, {3ms, 12ms, 12ms, 3ms}, {0ms, 10ms, 22ms, 34ms}},
                    PaceCase{"APeriodBeforeTheFirst", false, false, {3ms, 0ms}, {10ms, 23ms}},
                    PaceCase{"AStepOverSeveralPeriodsIsOneCall", true, true, {0ms, 0ms, 0ms}, {0ms, 95ms, 105ms}},
                    PaceCase{"SmallDelaysDoNotAddUp", true, true, {0ms, 0ms, 0ms}, {0ms, 14ms, 20ms}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PeriodicTask, SaysWhatIsMissingOrWrong)
{
  PeriodicTask task;
  task.setName("camera");
  const auto textOf = [](const auto& what) -> std::string
  {
    try
    {
      what();
      return "nothing thrown";
    }
    catch (const std::logic_error& error)
    {
      return error.what();
    }
  };
  EXPECT_EQ(textOf([&] { task.start(); }), "periodic task \"camera\": start without a callback");
  task.setCallback([] {});
  EXPECT_EQ(textOf([&] { task.start(); }), "periodic task \"camera\": start without a period");
  EXPECT_EQ(textOf([&] { task.setUsPeriod(-1); }),
            "periodic task \"camera\": period is -1 us, expected 0 to 3153600000000000 us (100 years)");
  EXPECT_EQ(
      textOf([&] { task.setUsPeriod(INT64_MAX); }),
      "periodic task \"camera\": period is 9223372036854775807 us, expected 0 to 3153600000000000 us (100 years)");
  EXPECT_EQ(textOf([&] { task.setCallback({}); }), "a periodic task's callback is empty, expected something to call");
  EXPECT_FALSE(task.isRunning());
  task.stop();
}

TEST(PeriodicTask, StopWaitsForTheCallInProgress)
{
  std::latch begun(1);
  std::latch go(1);
  std::atomic<bool> hasEnded{false};
  PeriodicTask task;
  task.setUsPeriod(0);
  task.setCallback(
      [&]
      {
        begun.count_down();
        go.wait();
        hasEnded = true;
        task.asyncStop();
      });
  task.start();
  begun.wait();
  const std::jthread releaser([&] { go.count_down(); });
  task.stop();
  EXPECT_TRUE(hasEnded);
}

TEST(PeriodicTask, StopsFromWithinItsCallAndStartsAgain)
{
  const ManualClock clock;
  PeriodicTask task;
  task.setUsPeriod(10);
  task.setCallback(
      [&]
      {
        task.stop();
        EXPECT_FALSE(task.isRunning());
      });
  task.start();
  EXPECT_TRUE(task.waitForRuns(1));
  task.stop();
  task.start();
  EXPECT_TRUE(task.waitForRuns(2));
}

TEST(PeriodicTask, EndsWithinItsOwnCallAndLetsGoOfIt)
{
  std::latch isGone(1);
  // Counts down when the callback goes, which here is after the task that it was of.
  std::shared_ptr<void> held(nullptr, [&](void*) { isGone.count_down(); });
  auto task = std::make_unique<PeriodicTask>();
  task->setUsPeriod(0);
  task->setCallback([&task, held = std::move(held)] { task.reset(); });
  task->start();
  isGone.wait();
  EXPECT_FALSE(task);
}

// A restart must wait for the call that its predecessor still has in progress.
TEST(PeriodicTask, DoesNotOverlapItselfWhenRestartedDuringACall)
{
  const ManualClock clock;
  std::latch begun(1);
  std::latch go(1);
  std::atomic<int> atOnce{0};
  PeriodicTask task;
  task.setUsPeriod(1'000'000);
  task.setCallback(
      [&]
      {
        EXPECT_EQ(++atOnce, 1);
        if (task.runs() == 0)
        {
          begun.count_down();
          go.wait();
        }
        --atOnce;
      });
  task.start();
  begun.wait();
  task.asyncStop();
  task.start();
  EXPECT_TRUE(task.isRunning());
  EXPECT_EQ(task.runs(), 0u);
  go.count_down();
  EXPECT_TRUE(task.waitForRuns(2));
}

TEST(PeriodicTask, TellsFailuresAndGoesOn)
{
  ManualClock clock;
  const log::Capture capture;
  PeriodicTask task;
  task.setName("camera");
  task.setPeriod(100ms);
  std::string failure = "no frame";
  task.setCallback(
      [&]
      {
        if (failure.empty())
          throw 7;
        throw std::runtime_error(failure);
      });
  task.compensateCallbackTime(true);
  task.start();
  std::uint64_t run = 1;
  const auto let = [&](int calls)
  {
    for (int i = 0; i < calls; ++i)
    {
      ASSERT_TRUE(task.waitForRuns(run++));
      ASSERT_TRUE(ManualClock::waitForSleepers(1));
      clock.advance(100ms);
    }
    ASSERT_TRUE(task.waitForRuns(run));
  };
  const std::string head = "periodic task \"camera\": the callback failed: ";
  let(99);  // the last call is at 9.9 s
  EXPECT_THAT(capture.texts("ku.periodictask"), ElementsAre(head + "no frame"));
  let(1);
  EXPECT_THAT(capture.texts("ku.periodictask"),
              ElementsAre(head + "no frame", head + "no frame (and 99 failures before that were not logged)"));

  failure = "";
  let(9);
  EXPECT_EQ(capture.texts("ku.periodictask").size(), 2u);
  let(1);
  EXPECT_EQ(capture.texts("ku.periodictask").back(),
            head + "it threw what is no std::exception (and 9 failures before that were not logged)");
  EXPECT_TRUE(task.isRunning());
}

// Cameras are waited for: all of these block at once, far more than the pool begins with.
TEST(PeriodicTask, BlockedTasksLeaveTheOthersTheirPace)
{
  constexpr int count = 12;
  std::latch allBlocked(count);
  std::latch go(1);
  std::list<PeriodicTask> blocked(count);
  for (PeriodicTask& task : blocked)
  {
    task.setUsPeriod(0);
    task.setCallback(
        [&]
        {
          task.asyncStop();
          allBlocked.count_down();
          go.wait();
        });
    task.start();
  }
  allBlocked.wait();
  PeriodicTask other;
  other.setUsPeriod(10);
  other.setCallback([] {});
  other.start();
  EXPECT_TRUE(other.waitForRuns(50));
  go.count_down();
}

TEST(PeriodicTask, NeverRunsTwiceAtOnceNorAfterStopWhoeverStartsAndStops)
{
  std::atomic<int> atOnce{0};
  std::atomic<int> overlaps{0};
  PeriodicTask task;
  task.setUsPeriod(0);
  task.setCallback(
      [&]
      {
        overlaps += ++atOnce > 1;
        --atOnce;
      });
  const auto meddle = [&task](unsigned seed)
  {
    std::mt19937 random(seed);
    for (int i = 0; i < 500; ++i)
    {
      switch (random() % 5)
      {
      case 0:
        task.asyncStop();
        break;
      case 1:
        task.stop();
        break;
      case 2:
        task.setUsPeriod(static_cast<std::int64_t>(random() % 20));
        break;
      default:
        task.start(random() % 2 == 0);
      }
    }
  };
  {
    const std::jthread a(meddle, 1);
    const std::jthread b(meddle, 2);
    meddle(3);
  }
  task.stop();
  const std::uint64_t runs = task.runs();
  EXPECT_EQ(atOnce, 0);
  EXPECT_EQ(overlaps, 0);
  task.start();
  EXPECT_TRUE(task.waitForRuns(runs + 3));
}
}  // namespace
}  // namespace ku
