#include "filtrix/ku/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace ku
{
namespace
{
using namespace std::chrono_literals;

TEST(Clock, NeverGoesBack)
{
  Clock::time_point last = Clock::now();
  for (int i = 0; i < 1000; ++i)
  {
    const Clock::time_point now = Clock::now();
    ASSERT_LE(last, now);
    last = now;
  }
}

TEST(ManualClock, StandsStillUntilToldToMove)
{
  ManualClock clock(5s);
  EXPECT_EQ(Clock::now().time_since_epoch(), 5s);
  EXPECT_EQ(Clock::now().time_since_epoch(), 5s);
  clock.advance(1500us);
  EXPECT_EQ(Clock::now().time_since_epoch(), 5001500us);
  clock.advance(-2ms);
  EXPECT_EQ(Clock::now().time_since_epoch(), 4999500us);
}

TEST(ManualClock, NestsAndGivesBackTheOuterTime)
{
  const Clock::time_point real = Clock::now();
  {
    ManualClock outer(10s);
    outer.advance(1s);
    {
      ManualClock inner(99s);
      inner.advance(1s);
      EXPECT_EQ(Clock::now().time_since_epoch(), 100s);
    }
    EXPECT_EQ(Clock::now().time_since_epoch(), 11s);
  }
  EXPECT_GE(Clock::now(), real);
}

TEST(Alarm, SleepsUntilTheManualClockReachesItsTime)
{
  ManualClock clock;
  Alarm alarm;
  std::atomic<bool> awake{false};
  std::thread sleeper(
      [&]
      {
        EXPECT_TRUE(alarm.sleepFor(10ms));
        EXPECT_EQ(Clock::now().time_since_epoch(), 1h + 10ms);
        awake = true;
      });
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  clock.advance(10ms - 1ns);
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  EXPECT_FALSE(awake);
  clock.advance(1ns);
  sleeper.join();
}

TEST(Alarm, IsCutShortUntilRearmed)
{
  ManualClock clock;
  Alarm alarm;
  std::thread sleeper([&] { EXPECT_FALSE(alarm.sleepFor(1h)); });
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  alarm.interrupt();
  sleeper.join();

  EXPECT_FALSE(alarm.sleepFor(1h));
  EXPECT_FALSE(alarm.sleepFor(0s));
  alarm.rearm();
  EXPECT_TRUE(alarm.sleepFor(0s));
  EXPECT_TRUE(alarm.sleepFor(-1s));
}

// A sleeper that outlived its clock would wait for a time that nobody sets any more.
TEST(Alarm, WakesWhenAnotherClockComesIntoForce)
{
  Alarm alarm;
  std::thread sleeper;
  {
    const ManualClock clock;
    sleeper = std::thread([&] { EXPECT_TRUE(alarm.sleepFor(1h)); });
    EXPECT_TRUE(ManualClock::waitForSleepers(1));
  }
  sleeper.join();

  sleeper = std::thread([&] { EXPECT_TRUE(alarm.sleepFor(1h)); });
  EXPECT_TRUE(ManualClock::waitForSleepers(1));
  const ManualClock clock;
  sleeper.join();
}

TEST(Alarm, SleepsOnTheRealClock)
{
  Alarm alarm;
  const Clock::time_point start = Clock::now();
  EXPECT_TRUE(alarm.sleepFor(1ms));
  EXPECT_GE(Clock::now() - start, 1ms);
}
}  // namespace
}  // namespace ku
