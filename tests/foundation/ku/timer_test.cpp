#include "foundation/ku/timer.h"

#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <vector>

namespace ku
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(Timer, KeepsTheOrderOfTimesAndOfPlanning)
{
  ManualClock clock;
  Timer timer;
  std::vector<int> order;
  std::latch begun(1);
  std::latch go(1);
  std::latch last(1);
  const auto note = [&order](int what) { return [&order, what] { order.push_back(what); }; };
  const auto now = Clock::now();

  // Keeps the timer busy until all is planned and due.
  timer.plan(now,
             [&]
             {
               begun.count_down();
               go.wait();
             });
  begun.wait();
  timer.plan(now + 30ms, [&] { last.count_down(); });
  timer.plan(now + 20ms, note(3));
  timer.plan(now + 10ms, note(1));
  timer.plan(now + 10ms, note(2));
  const auto cancelled = timer.plan(now + 15ms, note(99));
  timer.plan(now - 10ms, note(0));
  timer.plan(now + 30ms + 1ns, note(99));
  timer.cancel(cancelled);
  clock.advance(30ms);
  go.count_down();
  last.wait();
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(Timer, WakesForWhatComesBeforeTheNext)
{
  const ManualClock clock;
  Timer timer;
  std::latch done(1);
  timer.plan(Clock::now() + 1h, [] { ADD_FAILURE() << "an hour has not passed"; });
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  timer.plan(Clock::now(), [&] { done.count_down(); });
  done.wait();
}

// What is planned while the timer is at work was once measured by the clock of the work, which had ended meanwhile.
TEST(Timer, DoesNotHurryWhatIsPlannedOnAnEarlierClock)
{
  Timer timer;
  std::latch begun(1);
  std::latch go(1);
  std::latch done(1);
  {
    const ManualClock later(2h);
    timer.plan(Clock::now(),
               [&]
               {
                 begun.count_down();
                 go.wait();
               });
    begun.wait();
  }
  ManualClock clock(1h);
  timer.plan(Clock::now() + 1min,
             [&]
             {
               EXPECT_EQ(Clock::now().time_since_epoch(), 1h + 1min);
               done.count_down();
             });
  go.count_down();
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  clock.advance(1min);
  done.wait();
}

TEST(Timer, DoesAtOnceWhatAnEndedClockWasToReach)
{
  Timer timer;
  std::latch done(1);
  {
    const ManualClock clock(Clock::now().time_since_epoch() + 24h);
    timer.plan(Clock::now() + 1h, [&] { done.count_down(); });
    EXPECT_TRUE(ManualClock::waitForSleepers(1));
  }
  done.wait();
}

TEST(Timer, OutlivesWhatAnActionThrows)
{
  const log::Capture capture;
  Timer timer;
  std::latch done(1);
  timer.plan(Clock::now(), [] { throw std::runtime_error("no thread"); });
  timer.plan(Clock::now(), [&] { done.count_down(); });
  done.wait();
  EXPECT_THAT(capture.texts("ku.timer"), ElementsAre("what was due could not be done: no thread"));
}
}  // namespace
}  // namespace ku
