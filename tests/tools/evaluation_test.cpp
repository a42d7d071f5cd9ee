// The measures of how well people are seen, on cases worked out by hand, and the sharing out behind them.

#include "tools/filtrix/assignment.h"
#include "tools/filtrix/evaluation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Tool;

TEST(Assignment, CostsNoMoreThanAnyOther)
{
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round)
  {
    const int rows = static_cast<int>(random() % 5) + 1;
    const int columns = static_cast<int>(random() % 5) + 1;
    cv::Mat1d costs(rows, columns);
    for (double& cost : costs)
      cost = static_cast<double>(random() % 100) - 20.0;
    const std::vector<int> assigned = assign(costs);
    double cost = 0.0;
    int count = 0;
    std::vector<bool> isTaken(static_cast<std::size_t>(columns), false);
    for (int row = 0; row < rows; ++row)
    {
      const int column = assigned[static_cast<std::size_t>(row)];
      if (column < 0)
        continue;
      EXPECT_FALSE(isTaken[static_cast<std::size_t>(column)]);
      isTaken[static_cast<std::size_t>(column)] = true;
      cost += costs(row, column);
      ++count;
    }
    ASSERT_EQ(count, std::min(rows, columns));
    // All orders of the longer side, of which the shorter takes the first.
    std::vector<int> order(static_cast<std::size_t>(std::max(rows, columns)));
    std::iota(order.begin(), order.end(), 0);
    double least = std::numeric_limits<double>::max();
    do
    {
      double sum = 0.0;
      for (int i = 0; i < std::min(rows, columns); ++i)
        sum += rows <= columns ? costs(i, order[static_cast<std::size_t>(i)])
                               : costs(order[static_cast<std::size_t>(i)], i);
      least = std::min(least, sum);
    } while (std::ranges::next_permutation(order).found);
    ASSERT_NEAR(cost, least, 1.0e-9) << "round " << round;
  }
}

Sim::PersonTruth there(int id, float x, float y)
{
  Sim::PersonTruth person;
  person.id = id;
  person.world = {x, y};
  person.distance = std::hypot(x, y);
  person.visible = 1.0F;
  person.headIsVisible = true;
  person.faceIsVisible = true;
  person.height = 1.7F;
  person.zone = 2;
  return person;
}

PersonView found(std::uint64_t id, float x, float y)
{
  PersonView view;
  view.id = id;
  view.distance = std::hypot(x, y);
  view.bearing = std::atan2(y, x) * 57.29578F;
  view.height = 1.75F;
  view.zone = 2;
  return view;
}

class JudgeTest : public ::testing::Test
{
protected:
  void frames(int count, const std::vector<Sim::PersonTruth>& people, const std::vector<PersonView>& views)
  {
    for (int i = 0; i < count; ++i)
      judge.add({{0.1 * frame++, people}, views, 5.0});
  }

  Judge judge;
  int frame = 0;
};

TEST_F(JudgeTest, CountsMissesFalseAndSwitches)
{
  const auto a = there(1, 2.0F, 0.0F);
  const auto b = there(2, 2.0F, 1.5F);
  frames(10, {a, b}, {found(7, 2.1F, 0.0F)});                                               // b is missed
  frames(10, {a, b}, {found(7, 2.1F, 0.0F), found(8, 2.0F, 1.5F)});                         // all is well
  frames(10, {a, b}, {found(9, 2.1F, 0.0F), found(8, 2.0F, 1.5F)});                         // a gets another identity
  frames(10, {a, b}, {found(9, 2.1F, 0.0F), found(8, 2.0F, 1.5F), found(5, 3.5F, -1.0F)});  // somebody false
  const Figures figures = judge.figures();
  EXPECT_EQ(figures.people, 80);
  EXPECT_EQ(figures.misses, 10);
  EXPECT_EQ(figures.falsePeople, 10);
  EXPECT_EQ(figures.falseTracks, 1);
  EXPECT_EQ(figures.switches, 1);
  EXPECT_NEAR(figures.mota(), 1.0 - 21.0 / 80.0, 1.0e-9);
  // a goes with 7 or with 9, for 20 frames each, and b with 8 for 30; 80 are found.
  EXPECT_NEAR(figures.idf1(), 2.0 * 50.0 / (80.0 + 80.0), 1.0e-9);
  EXPECT_NEAR(figures.timeToFind.value(), 0.5, 1.0e-6);
  EXPECT_NEAR(figures.position.value(), 0.1 * 40 / 70.0, 1.0e-5);
  EXPECT_NEAR(figures.height.value(), 0.05, 1.0e-5);
}

TEST_F(JudgeTest, AsksForNobodyWhoIsFarHiddenOrOutOfView)
{
  auto far = there(1, 4.5F, 0.0F);
  auto hidden = there(2, 2.0F, 0.0F);
  hidden.visible = 0.3F;
  auto headless = there(3, 1.0F, 0.5F);
  headless.headIsVisible = false;
  frames(10, {far, hidden, headless}, {});
  frames(10, {far, hidden, headless}, {found(1, 4.5F, 0.0F), found(2, 2.0F, 0.0F), found(3, 1.0F, 0.5F)});
  EXPECT_EQ(judge.figures().people, 0);
  EXPECT_EQ(judge.figures().falsePeople, 0);
}

TEST_F(JudgeTest, ForgivesWhoIsRememberedUnseen)
{
  auto remembered = found(4, 2.0F, 0.0F);
  remembered.visible = false;
  frames(5, {}, {remembered});
  EXPECT_EQ(judge.figures().falsePeople, 0);
}

TEST_F(JudgeTest, KeepsWhoBelongsTogetherEvenIfAnotherIsNearer)
{
  frames(5, {there(1, 2.0F, 0.0F)}, {found(1, 2.0F, 0.2F)});
  frames(5, {there(1, 2.0F, 0.0F)}, {found(2, 2.0F, 0.0F), found(1, 2.0F, 0.3F)});
  EXPECT_EQ(judge.figures().switches, 0);
  EXPECT_EQ(judge.figures().falsePeople, 5);
}

TEST_F(JudgeTest, JudgesAStateOnceItHasLasted)
{
  auto person = there(1, 2.0F, 0.0F);
  auto view = found(1, 2.0F, 0.0F);
  frames(20, {person}, {view});
  person.isLooking = true;
  frames(10, {person}, {view});  // within a second nobody is asked
  EXPECT_EQ(judge.figures().looking.falseNegatives, 0);
  frames(10, {person}, {view});
  view.looking = true;
  frames(10, {person}, {view});
  const Answers looking = judge.figures().looking;
  EXPECT_EQ(looking.falseNegatives, 10);
  EXPECT_EQ(looking.truePositives, 10);
  EXPECT_NEAR(looking.f1(), 2.0 / 3.0, 1.0e-9);
}

TEST_F(JudgeTest, MatchesEventsByPersonKindAndTime)
{
  auto person = there(1, 2.0F, 0.0F);
  auto view = found(1, 2.0F, 0.0F);
  frames(40, {person}, {view});
  person.zone = 1;
  frames(5, {person}, {view});
  view.events = {"approached"};
  frames(1, {person}, {view});  // half a second late: right
  view.events = {};
  frames(60, {person}, {view});
  view.events = {"sat down"};
  frames(1, {person}, {view});  // he did not
  view.events = {};
  person.isSitting = true;
  frames(60, {person}, {view});
  const Figures figures = judge.figures();
  EXPECT_EQ(figures.events.at("approached").f1(), 1.0);
  EXPECT_EQ(figures.events.at("sat down").truePositives, 1) << "told a tenth of a second too early";
  EXPECT_EQ(figures.events.at("sat down").falsePositives, 0);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
