#include "platform/replay/timeline.h"

#include <gtest/gtest.h>

#include <random>

namespace ZR::Replay
{
namespace
{
// The plain way: go through the items one by one.
std::optional<std::uint64_t> slowFirstFrom(const Timeline& track, Nanoseconds time)
{
  for (std::uint64_t item = 0; track.timeOf(item); ++item)
    if (*track.timeOf(item) >= time)
      return item;
  return std::nullopt;
}

TEST(Timeline, FindsWhatGoingThroughItFinds)
{
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round)
  {
    std::vector<Nanoseconds> times;
    for (std::int64_t at = random() % 4; times.size() < 1 + random() % 6; at += random() % 4)
      times.emplace_back(at);
    const bool loops = round % 2 == 0;
    const Timeline track(times, loops ? std::optional(times.back() + Nanoseconds(1 + random() % 4)) : std::nullopt);
    for (Nanoseconds time(-2); time < Nanoseconds(40); ++time)
    {
      const auto first = slowFirstFrom(track, time);
      const auto after = slowFirstFrom(track, time + Nanoseconds(1));
      const std::uint64_t until = after.value_or(track.count());
      EXPECT_EQ(track.firstFrom(time), first) << "round " << round << ", time " << time.count();
      EXPECT_EQ(track.lastUntil(time), until == 0 ? std::nullopt : std::optional(until - 1))
          << "round " << round << ", time " << time.count();
    }
  }
}

TEST(Timeline, TakesTheNearestAndOfTwoTheEarlier)
{
  const Timeline track({Nanoseconds(0), Nanoseconds(10), Nanoseconds(13)});
  EXPECT_EQ(track.nearest(Nanoseconds(-9)), 0U);
  EXPECT_EQ(track.nearest(Nanoseconds(5)), 0U);
  EXPECT_EQ(track.nearest(Nanoseconds(6)), 1U);
  EXPECT_EQ(track.nearest(Nanoseconds(99)), 2U);
  EXPECT_EQ(Timeline({}).nearest(Nanoseconds(0)), std::nullopt);
}

TEST(Timeline, GoesOnCountingInTheNextLap)
{
  const Timeline track({Nanoseconds(0), Nanoseconds(10)}, Nanoseconds(15));
  EXPECT_EQ(track.timeOf(5), Nanoseconds(40));
  EXPECT_EQ(track.recorded(5), 1U);
  EXPECT_EQ(track.shift(5), Nanoseconds(30));
}
}  // namespace
}  // namespace ZR::Replay
