// What comes from cameras and joints is not always what a robot should see. Nobody is found who is not there, nothing
// breaks, and who is there is found again within a second of good input.

#include "filtrix/ku/log.h"
#include "spoiltpeople.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace ZR::Filtrix::Test
{
namespace
{
class BadInputTest : public ::testing::TestWithParam<BadInput>
{
protected:
  const ku::log::Capture silence{ku::log::Level::Error};
  SpoiltPeople people;
};

TEST_P(BadInputTest, FindsNobodyWhoIsNotThereAndRecovers)
{
  for (int i = 0; i < 15; ++i)
    people.step(nullptr);
  ASSERT_EQ(people.step(nullptr), 1U);
  std::size_t most = 0;
  for (int i = 0; i < 30; ++i)
    most = std::max(most, people.step(GetParam().spoil));
  EXPECT_LE(most, 1U);
  std::size_t seen = 0;
  for (int i = 0; i < 15; ++i)
    seen = people.step(nullptr);
  EXPECT_EQ(seen, 1U);
}

INSTANTIATE_TEST_SUITE_P(People, BadInputTest, ::testing::ValuesIn(badInputs().begin(), badInputs().end()),
                         [](const auto& test) { return std::string(test.param.name); });
}  // namespace
}  // namespace ZR::Filtrix::Test
