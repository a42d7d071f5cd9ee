#include "sources/synchronizedsource.h"

#include "filtrix/ku/clock.h"
#include "program/programkit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <random>

namespace ZR::Filtrix
{
namespace
{
DataPtr valueAt(std::int64_t microseconds, int number)
{
  DataPtr value = makeData(number);
  value->setTimestamp(Time(microseconds));
  return value;
}

bool always()
{
  return true;
}

TEST(SynchronizedSource, GivesTheNearestOfTheLastValuesWithinTheTolerance)
{
  std::mt19937 random(3);
  const auto upTo = [&](int most) { return std::uniform_int_distribution(1, most)(random); };
  SynchronizedSource source("s", always);
  std::deque<std::int64_t> kept;
  for (int i = 0; i < 2000; ++i)
  {
    const std::int64_t time = upTo(1000);
    source.setData(valueAt(time, static_cast<int>(time)));
    kept.push_back(time);
    if (kept.size() > SynchronizedSource::historyLength)
      kept.pop_front();

    const std::int64_t asked = upTo(1000);
    const std::int64_t tolerance = upTo(60) - 1;
    const auto distance = [&](std::int64_t t) { return std::abs(t - asked); };
    const std::int64_t least = distance(*std::ranges::min_element(kept, {}, distance));
    const DataPtr value = source.getData(Time(asked), Duration(tolerance));
    ASSERT_EQ(value != nullptr, least <= tolerance) << "step " << i;
    if (value)
    {
      ASSERT_EQ(distance(value->timestamp().microseconds()), least) << "step " << i;
    }
  }
}

TEST(SynchronizedSource, OfTwoThatAreEquallyNearGivesTheNewer)
{
  SynchronizedSource source("s", always);
  for (const auto& [time, number] : {std::pair(100, 1), {100, 2}, {300, 3}})
    source.setData(valueAt(time, number));
  EXPECT_EQ(source.getData(Time(100), Duration(0))->toInt(), 2);
  EXPECT_EQ(source.getData(Time(200), Duration(100))->toInt(), 3);
}

TEST(SynchronizedSource, AnUnstampedValueIsOfTheMomentWhenItCame)
{
  ku::ManualClock clock;
  SynchronizedSource source("s", always);
  source.setData(makeData(7));
  const Time then = Time::now();
  clock.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(source.getData(then, Duration(0)));
  EXPECT_FALSE(source.getData(Time::now(), Duration(999)));
}

TEST(SynchronizedSource, KeepsNothingThatNobodyReads)
{
  bool isRead = true;
  SynchronizedSource source("s", [&] { return isRead; });
  const auto held = valueAt(100, 1);
  const auto keep = [&] { source.setData(held); };
  keep();
  EXPECT_EQ(held.use_count(), 2);
  isRead = false;
  source.setData(valueAt(200, 2));
  EXPECT_EQ(held.use_count(), 1) << "what was kept goes with the last reader";
  isRead = true;
  keep();
  source.setData(nullptr);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(source.getData(Time(100), Duration(1000)));
}

// From a program: the run's time and the process's tolerance decide.
TEST(SynchronizedSource, FeedsAProcessByName)
{
  ku::ManualClock clock;
  const auto registry = std::make_shared<FiltrixPrivate>();
  Filtrix::Test::addLibrary(*registry);
  const auto camera = std::make_shared<NodeSource>("Camera<QVGA>");
  ASSERT_TRUE(registry->createSource("Camera<QVGA>", camera));
  ASSERT_TRUE(addSynchronizedSource(registry, *camera));
  EXPECT_FALSE(addSynchronizedSource(registry, *camera)) << "the name is taken";
  camera->setData(valueAt(Time::now().microseconds(), 1));
  ASSERT_TRUE(registry->loadProgram("process late(Dilation, 1, 1000.0, 20000) "
                                    "{ in <= Synchronized_Camera<QVGA>; out => out; }"));
  EXPECT_FALSE(registry->getData("late:out")) << "nobody read it when that value came";

  for (int number = 2; number < 5; ++number)
  {
    clock.advance(std::chrono::milliseconds(33));
    camera->setData(valueAt(Time::now().microseconds() - 40'000, number));
  }
  // The newest was captured 40 ms ago: only a greater tolerance makes up for that.
  EXPECT_FALSE(registry->getData("late:out"));
  registry->setProcessTolerance("late", Duration(50'000));
  clock.advance(std::chrono::milliseconds(2));
  const DataPtr value = registry->getData("late:out");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->toInt(), 4);
}
}  // namespace
}  // namespace ZR::Filtrix
