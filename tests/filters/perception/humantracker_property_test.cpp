#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace ZR::Filtrix::Test
{
namespace
{
namespace H = HumanProperty;

constexpr float maxSpeed = 2.0F;  // metres per second
constexpr std::size_t runs = 120;

/// Somebody who walks about a room and is seen now and then.
struct Walker
{
  float x;
  float y;
  std::uint64_t lastId = 0;
};

class World
{
public:
  explicit World(std::uint32_t seed) : random(seed)
  {
    const std::size_t count = 1 + random() % 20;
    for (std::size_t i = 0; i < count; ++i)
      walkers.push_back({uniform(-5, 5), uniform(-5, 5)});
  }

  float uniform(float from, float to) { return std::uniform_real_distribution<float>(from, to)(random); }

  bool happens(float probability) { return uniform(0, 1) < probability; }

  // At most 1.4 m/s.
  void walk(float seconds)
  {
    for (Walker& walker : walkers)
    {
      walker.x += uniform(-1, 1) * seconds;
      walker.y += uniform(-1, 1) * seconds;
    }
  }

  std::mt19937 random;
  std::vector<Walker> walkers;
};

HumanPtr observe(float x, float y, Time time)
{
  auto human = makeBelievableHuman();
  human->setProperty(H::Timestamp, makeData(time));
  human->setProperty(H::GroundPositionInWorldFrame, makeData(x, y));
  human->setProperty(H::GroundPositionInRobotFrame, makeData(x, y));
  human->setProperty(H::AngularPosition, makeData(0.0F, 0.0F));
  return human;
}

// What no camera should give, and some will.
void spoil(World& world, Type::Human& human)
{
  switch (world.random() % 6)
  {
  case 0:
    return human.setProperty(H::GroundPositionInWorldFrame, makeData(std::numeric_limits<float>::quiet_NaN(), 0.0F));
  case 1:
    return human.removeProperty(H::GroundPositionInWorldFrame);
  case 2:
    return human.removeProperty(H::Timestamp);
  case 3:
    return human.setProperty(H::Timestamp, makeData(Time::now() - Duration(world.random() % 3'000'000)));
  case 4:
    return human.setProperty(H::Timestamp, makeData("noon"));
  default:
    return human.setId(world.random() % 30);
  }
}

DataList inputsOf(const std::vector<HumanPtr>& people)
{
  return {population(people), makeData(maxSpeed), makeData(1.0F),
          makeData(0.5F),     makeData(0.5F),     makeData(0.0F, 0.0F, 1.1F, 0.0F, 0.0F, 0.0F)};
}

std::vector<std::uint64_t> idsOf(const DataPtr& array)
{
  std::vector<std::uint64_t> ids;
  for (const DataPtr& value : *array->get<DataArray>())
    ids.push_back(Filters::personIn(value)->getId());
  return ids;
}

std::size_t trackCount(UserFilter& tracker)
{
  return (*tracker.getMemory()->get<DataArray>())[0]->get<DataArray>()->size();
}

/// What holds of every run, whatever goes in.
class Laws
{
public:
  void check(const DataList& outputs)
  {
    ASSERT_EQ(outputs.size(), 2U);
    const auto people = idsOf(outputs[0]);
    const std::set<std::uint64_t> now(people.begin(), people.end());
    EXPECT_EQ(now.size(), people.size()) << "an identity was put out twice";
    for (const DataPtr& value : *outputs[0]->get<DataArray>())
      EXPECT_TRUE(Filters::personIn(value)->hasProperty(H::IsConfirmedTrack)) << "a candidate was put out";
    for (const std::uint64_t id : idsOf(outputs[1]))
    {
      EXPECT_TRUE(before.contains(id)) << id << " was removed and had not been put out";
      EXPECT_FALSE(now.contains(id)) << id << " was removed and put out at once";
      EXPECT_TRUE(removed.insert(id).second) << id << " was removed twice";
      before.erase(id);
    }
    for (const std::uint64_t id : before)
      EXPECT_TRUE(now.contains(id)) << id << " went without being removed";
    for (const std::uint64_t id : now)
      EXPECT_FALSE(removed.contains(id)) << id << " came back after it was removed";
    before = now;
  }

private:
  std::set<std::uint64_t> before;
  std::set<std::uint64_t> removed;
};

class HumanTrackerPropertyTest : public testing::TestWithParam<std::uint32_t>
{
};

TEST_P(HumanTrackerPropertyTest, KeepsItsLawsWhateverIsSeen)
{
  ku::ManualClock clock;
  const ku::log::Capture log;
  World world(GetParam());
  const auto tracker = Filters::makeHumanTracker();
  Laws laws;
  for (std::size_t run = 0; run < runs; ++run)
  {
    const auto milliseconds = 20 + world.random() % 200;
    clock.advance(std::chrono::milliseconds(milliseconds));
    world.walk(0.001F * static_cast<float>(milliseconds));
    std::vector<HumanPtr> people;
    for (const Walker& walker : world.walkers)
    {
      if (world.happens(0.2F))
        continue;
      people.push_back(observe(walker.x, walker.y, Time::now()));
      if (world.happens(0.02F))
        spoil(world, *people.back());
      if (world.happens(0.01F))
        people.push_back(people.back());
    }
    laws.check(tracker->run(inputsOf(people)));
    // Candidates that nobody continues live ten intervals at most.
    EXPECT_LE(trackCount(*tracker), 13 * world.walkers.size());
  }
}

TEST_P(HumanTrackerPropertyTest, KnowsPeopleAgainWhoKeepApart)
{
  ku::ManualClock clock;
  World world(GetParam());
  for (std::size_t i = 0; i < world.walkers.size(); ++i)
    world.walkers[i] = {static_cast<float>(3 * (i % 5)), static_cast<float>(3 * (i / 5))};
  const std::vector<Walker> homes = world.walkers;
  const auto tracker = Filters::makeHumanTracker();
  std::map<std::uint64_t, std::size_t> owners;
  for (std::size_t run = 0; run < runs; ++run)
  {
    clock.advance(std::chrono::milliseconds(100));
    world.walk(0.1F);
    std::vector<HumanPtr> people;
    std::map<const Type::Human*, std::size_t> walkerOf;
    for (std::size_t i = 0; i < world.walkers.size(); ++i)
    {
      Walker& walker = world.walkers[i];
      walker.x = std::clamp(walker.x, homes[i].x - 1, homes[i].x + 1);
      walker.y = std::clamp(walker.y, homes[i].y - 1, homes[i].y + 1);
      people.push_back(observe(walker.x, walker.y, Time::now()));
      walkerOf[people.back().get()] = i;
    }
    std::ranges::shuffle(people, world.random);
    const DataList outputs = tracker->run(inputsOf(people));
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_EQ(idsOf(outputs[0]).size(), run < 3 ? 0 : people.size());
    EXPECT_TRUE(idsOf(outputs[1]).empty());
    for (const HumanPtr& human : people)
      EXPECT_EQ(owners.try_emplace(human->getId(), walkerOf[human.get()]).first->second, walkerOf[human.get()]);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, HumanTrackerPropertyTest, testing::Range(1U, 9U));

// A camera whose clock is ahead gives times that never come of age: nobody who was seen there would ever go.
TEST(HumanTrackerBounds, ForgetsWhoWasSeenInTheFuture)
{
  ku::ManualClock clock;
  const ku::log::Capture log;
  const auto tracker = Filters::makeHumanTracker();
  std::size_t most = 0;
  for (int run = 0; run < 60; ++run)
  {
    clock.advance(std::chrono::milliseconds(100));
    std::vector<HumanPtr> people;
    for (int i = 0; i < 20; ++i)
      people.push_back(
          observe(static_cast<float>(100 * run), static_cast<float>(i), Time::now() + Duration(3'600'000'000)));
    tracker->run(inputsOf(people));
    most = std::max(most, trackCount(*tracker));
  }
  EXPECT_GT(most, 200U);
  EXPECT_LT(most, 300U);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
