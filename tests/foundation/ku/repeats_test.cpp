#include "foundation/ku/repeats.h"

#include <gtest/gtest.h>

namespace ku::log
{
namespace
{
using namespace std::chrono_literals;

class RepeatsTest : public testing::Test
{
protected:
  Repeats repeats;
  Repeats::Clock::time_point now = Repeats::Clock::now();
};

TEST_F(RepeatsTest, WritesTenASecondAndThenTellsHowManyWereLeftOut)
{
  // Four weeks of a line per frame would be 72 million lines; three seconds at thirty will do.
  std::uint64_t written = 0;
  std::uint64_t told = 0;
  for (int frame = 0; frame < 90; ++frame)
  {
    if (const auto leftOut = repeats.pass(1, now + frame * 33'334us))
    {
      ++written;
      told += *leftOut;
    }
  }
  EXPECT_EQ(written, 30U);
  EXPECT_EQ(told, 40U) << "those of the last second are not told yet";
  EXPECT_EQ(repeats.pass(2, now + 3s), 0U) << "another line is not concerned";
  EXPECT_EQ(repeats.pass(1, now + 1h), 20U);
}

TEST_F(RepeatsTest, RemembersALimitedNumberOfLines)
{
  for (std::size_t line = 0; line < 100 * Repeats::remembered; ++line)
    ASSERT_EQ(repeats.pass(line, now), 0U);
  for (std::uint32_t i = 0; i < 2 * Repeats::mostInASecond; ++i)
    static_cast<void>(repeats.pass(7, now));
  EXPECT_EQ(repeats.pass(7, now), std::nullopt);
}
}  // namespace
}  // namespace ku::log
