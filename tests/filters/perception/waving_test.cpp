#include "filters/filterkit.h"
#include "filters/perception/handmovements.h"
#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <ostream>
#include <random>

namespace ZR::Filtrix::Test
{
namespace
{
using Filters::HandPath;
using Filters::isWaving;
using Type::Vector3;

constexpr const char* analysisCategory = "vision.filter.humanmovementanalysis";
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float pi = 3.14159265F;
constexpr float minSize = 0.06F;
constexpr float maxDistance = 3.5F;

std::vector<Vector3> zigzag(int steps, float length)
{
  std::vector<Vector3> positions;
  for (int i = 0; i <= steps; ++i)
    positions.emplace_back(i % 2 == 0 ? 0.0F : length, 1.5F, 2.0F);
  return positions;
}

struct WaveCase
{
  const char* name;
  std::vector<Vector3> positions;
  bool expected;
};

void PrintTo(const WaveCase& row, std::ostream* out)
{
  *out << row.name;
}

class WaveTest : public testing::TestWithParam<WaveCase>
{
};

TEST_P(WaveTest, IsDecidedByTurns)
{
  EXPECT_EQ(isWaving(GetParam().positions, 1.0F), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Turns, WaveTest,
    testing::Values(WaveCase{"Nothing", {}, false}, WaveCase{"TwoTurns", zigzag(3, 1.0F), false},
                    WaveCase{"ThreeTurns", zigzag(4, 1.0F), true}, WaveCase{"StepsTooShort", zigzag(40, 0.999F), false},
                    // Turns by 135 degrees and by a little more.
                    WaveCase{"OneHundredAndThirtyFive", {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}, {0, 4, 0}}, false},
                    WaveCase{"ALittleMore", {{0, 0, 0}, {2, 0, 0}, {0, 1.9F, 0}, {2, 1.9F, 0}, {0, 3.8F, 0}}, true},
                    WaveCase{"ThirdComponentOnly", {{0, 0, 0}, {0, 0, 9}, {0, 0, 0}, {0, 0, 9}, {0, 0, 0}}, false},
                    WaveCase{"NotANumber", {{0, 0, 0}, {nan, 0, 0}, {0, nan, 0}, {9, 0, 0}, {nan, nan, 0}}, false}),
    [](const auto& row) { return std::string(row.param.name); });

/// A hand that goes to and fro, as a camera sees it.
HandPath watch(float swing, float hertz, float framesPerSecond, float phase, float seconds = 2.0F)
{
  HandPath path;
  const int frames = static_cast<int>(seconds * framesPerSecond);
  for (int i = 0; i <= frames; ++i)
  {
    const float angle = 2.0F * pi * (hertz * static_cast<float>(i) / framesPerSecond + phase);
    path.add({0.5F * swing * std::sin(angle), 1.5F, 2.0F}, Time(1 + i), minSize);
  }
  return path;
}

// However fast the camera is and whenever it begins: a hand that turns makes steps too small to count at its turns.
TEST(HandPath, KeepsTheTurnsAtAnyPaceOfTheCamera)
{
  for (const float hertz : {1.0F, 1.5F, 2.0F})
  {
    for (const float framesPerSecond : {10.0F, 15.0F, 30.0F, 60.0F, 120.0F})
    {
      for (float phase = 0.0F; phase < 1.0F; phase += 0.05F)
      {
        const HandPath path = watch(0.30F, hertz, framesPerSecond, phase);
        EXPECT_TRUE(isWaving(path.positions, minSize))
            << hertz << " Hz, " << framesPerSecond << " frames a second, phase " << phase;
        EXPECT_EQ(path.positions.size(), path.times.size());
      }
    }
  }
}

TEST(HandPath, HasTheTurnsOfASmallWave)
{
  EXPECT_TRUE(isWaving(watch(1.6F * minSize, 1.5F, 30.0F, 0.25F).positions, minSize));
  EXPECT_TRUE(isWaving(watch(1.6F * minSize, 1.5F, 30.0F, 0.75F).positions, minSize));
}

TEST(HandPath, TakesTremorAndWayForNoWave)
{
  EXPECT_FALSE(isWaving(watch(0.05F, 2.0F, 30.0F, 0.0F).positions, minSize));
  EXPECT_FALSE(isWaving(watch(0.30F, 0.3F, 30.0F, 0.0F).positions, minSize));
  std::mt19937 random(1);
  std::uniform_real_distribution<float> noise(-0.02F, 0.02F);
  HandPath way;
  for (int i = 0; i < 60; ++i)
    way.add({0.03F * static_cast<float>(i) + noise(random), 1.5F + noise(random), 2.0F}, Time(1 + i), minSize);
  EXPECT_FALSE(isWaving(way.positions, minSize));
}

TEST(HandPath, IsBoundedAndFinite)
{
  HandPath path;
  for (int i = 0; i < 10'000; ++i)
    path.add({i % 2 == 0 ? 0.0F : 1.0F, 0, 0}, Time(1), minSize);
  EXPECT_LE(path.positions.size(), 256U);
  EXPECT_EQ(path.positions.size(), path.times.size());
  HandPath none;
  none.add({nan, 0, 0}, Time(1), minSize);
  none.add({0, 0, std::numeric_limits<float>::infinity()}, Time(1), minSize);
  EXPECT_TRUE(none.positions.empty());
}

TEST(FilterHandsPositionWithTime, KeepsPairsOfTheWindow)
{
  const Time now(10'000'000);
  const auto at = [](std::int64_t microseconds) { return makeData(Time(microseconds)); };
  const DataArray positions{
      makeData(1.0F, 0.0F, 0.0F), makeData(2.0F, 0.0F, 0.0F), makeData(3.0F, 0.0F, 0.0F), nullptr, makeData(5),
      makeData(6.0F, 0.0F, 0.0F), makeData(7.0F, 0.0F, 0.0F)};
  const DataArray times{at(7'999'999), at(8'000'000), at(10'000'000), at(9'000'000),
                        at(9'000'000), nullptr,       at(13'000'000)};
  const HandPath path = Filters::filterHandsPositionWithTime(positions, times, now, "test");
  EXPECT_EQ(path.positions, (std::vector<Vector3>{{2, 0, 0}, {3, 0, 0}}));
  EXPECT_EQ(path.times, (std::vector<Time>{Time(8'000'000), Time(10'000'000)}));

  const ku::log::Capture log;
  EXPECT_TRUE(Filters::filterHandsPositionWithTime(positions, {}, now, "test").positions.empty());
  EXPECT_EQ(log.texts("test"),
            std::vector<std::string>{"_filterHandsPositionWithTime: different sizes for input arrays."});
}

std::shared_ptr<Type::Object3D> makeMovement(const cv::Vec3f& place)
{
  auto movement = std::make_shared<Type::Object3D>();
  movement->setProperty(Object3DProperty::PositionInRobotFrame,
                        makeData(place[0], place[1], place[2], 0.0F, 0.0F, 0.0F));
  movement->setProperty(Object3DProperty::CenterOfMass, makeData(100.0F, 50.0F));
  movement->setProperty(Object3DProperty::SizeImage, makeData(160.0F, 120.0F));
  movement->setProperty(Object3DProperty::SizeImageOfCamera, makeData(320.0F, 240.0F));
  return movement;
}

/// Somebody of 1.75 m at a place on the ground, and what moves near.
HumanPtr makePerson(std::uint64_t id, const cv::Vec2f& ground, const std::vector<cv::Vec3f>& movements)
{
  auto human = makeBelievableHuman(id);
  const auto body = human->getObject3D(ObjectName::object3D);
  body->setProperty(Object3DProperty::CenterOfMass, makeData(160.0F, 120.0F));
  body->setProperty(Object3DProperty::SizeImageOfCamera, makeData(320.0F, 240.0F));
  human->setProperty(HumanProperty::Head3DPosition, makeData(ground[0], ground[1], 1.75F));
  std::vector<std::shared_ptr<Type::Object3D>> objects;
  for (const cv::Vec3f& place : movements)
    objects.push_back(makeMovement(place));
  human->setProperty(HumanProperty::AssociatedMovements, Filters::toArray(objects));
  return human;
}

class AnalysisBench
{
public:
  DataList operator()(const HumanPtr& human) { return operator()(population({human})); }

  DataList operator()(const DataPtr& people) { return bench({people, makeData(minSize), makeData(maxDistance)}); }

private:
  FilterBench bench{Filters::makeHumanMovementsAnalysis()};
};

/// The letters of the groups that a property of each says true of.
std::string groupsOf(const Type::Human& human, const std::array<std::int32_t, 3>& keys)
{
  std::string text;
  for (std::size_t i = 0; i < keys.size(); ++i)
    text += Filters::isTrue(human, keys[i]) ? std::string(1, "LRC"[i]) : "";
  return text;
}

std::string waving(const Type::Human& human)
{
  return groupsOf(human, {HumanProperty::IsWavingLeft, HumanProperty::IsWavingRight, HumanProperty::IsWavingCenter});
}

std::string waveStarts(const Type::Human& human)
{
  return groupsOf(
      human, {HumanProperty::StartedWavingLeft, HumanProperty::StartedWavingRight, HumanProperty::StartedWavingCenter});
}

/// A hand that swings by 0.3 m and 1.5 Hz about a place, for two seconds at ten frames a second.
struct HandCase
{
  const char* name;
  cv::Vec2f ground;
  cv::Vec3f hand;
  const char* expected;
};

void PrintTo(const HandCase& row, std::ostream* out)
{
  *out << row.name;
}

class HandTest : public testing::TestWithParam<HandCase>
{
};

TEST_P(HandTest, WavesInItsGroup)
{
  ku::ManualClock clock;
  AnalysisBench analyse;
  HumanPtr human;
  for (int i = 0; i <= 20; ++i)
  {
    const float swing = 0.15F * std::sin(2.0F * pi * 1.5F * 0.1F * static_cast<float>(i));
    human = makePerson(1, GetParam().ground, {GetParam().hand + cv::Vec3f(0.0F, 0.7F * swing, 0.7F * swing)});
    ASSERT_EQ(analyse(human).size(), 1U);
    clock.advance(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(waving(*human), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Places, HandTest,
    testing::Values(HandCase{"LeftOfTheRobot", {2.0F, 0.0F}, {1.8F, 0.5F, 1.5F}, "L"},
                    HandCase{"Right", {2.0F, 0.0F}, {1.8F, -0.5F, 1.5F}, "R"},
                    HandCase{"BeforeTheChest", {2.0F, 0.0F}, {1.6F, 0.0F, 1.4F}, "C"},
                    // At 45 degrees to the left: an arm stretched toward the robot is not beside the body.
                    HandCase{"TowardTheRobot", {1.5F, 1.5F}, {1.2F, 1.2F, 1.4F}, "C"},
                    HandCase{"BesideSomebodyOnTheLeft", {1.5F, 1.5F}, {1.1F, 1.9F, 1.5F}, "L"},
                    HandCase{"BelowTheElbows", {2.0F, 0.0F}, {1.8F, 0.5F, 0.8F}, ""},
                    HandCase{"TheHeadItself", {2.0F, 0.0F}, {1.95F, 0.0F, 1.63F}, ""}),
    [](const auto& row) { return std::string(row.param.name); });

// What a side's hand does between the two bounds is its own; what was never on the side is in the centre.
TEST(HumanMovementsAnalysis, KeepsAHandInItsGroupBetweenTheBounds)
{
  ku::ManualClock clock;
  AnalysisBench analyse;
  const auto moving = [&](float offset)
  {
    const HumanPtr human = makePerson(1, {2.0F, 0.0F}, {{2.0F, offset, 1.4F}});
    analyse(human);
    clock.advance(std::chrono::milliseconds(100));
    return groupsOf(*human, {HumanProperty::IsMovingLeft, HumanProperty::IsMovingRight, -1});
  };
  EXPECT_EQ(moving(0.23F), "");   // 0.46 of the shoulders' 0.5 m
  EXPECT_EQ(moving(0.26F), "L");  // 0.52
  EXPECT_EQ(moving(0.22F), "L");  // 0.44
  EXPECT_EQ(moving(0.19F), "");   // 0.38
  EXPECT_EQ(moving(-0.23F), "");  // the other side has no hand
}

struct SkipCase
{
  const char* name;
  void (*change)(Type::Human& human, Type::Object3D& body);
  const char* message;
  bool hasResults;
};

void PrintTo(const SkipCase& row, std::ostream* out)
{
  *out << row.name;
}

class SkipTest : public testing::TestWithParam<SkipCase>
{
};

// Somebody with a history that is a wave, of whom something is changed.
HumanPtr makeWaver(std::uint64_t id)
{
  auto human = makePerson(id, {2.0F, 0.0F}, {});
  DataArray positions;
  DataArray times;
  for (const Vector3& position : zigzag(4, 0.2F))
  {
    positions.push_back(makeData(position));
    times.push_back(makeData(Time::now()));
  }
  human->setProperty(HumanProperty::LeftHandPositions, makeData(positions));
  human->setProperty(HumanProperty::LeftHandTimes, makeData(times));
  return human;
}

TEST_P(SkipTest, TellsWhy)
{
  const ku::ManualClock clock;
  const HumanPtr human = makeWaver(1);
  GetParam().change(*human, *human->getObject3D(ObjectName::object3D));
  const ku::log::Capture log;
  ASSERT_EQ(AnalysisBench()(human).size(), 1U);
  EXPECT_EQ(waving(*human), "");
  EXPECT_EQ(human->hasProperty(HumanProperty::IsWavingRight), GetParam().hasResults);
  const auto texts = log.texts(analysisCategory);
  EXPECT_EQ(texts.empty() ? "" : texts.front(), GetParam().message);
  EXPECT_LE(texts.size(), 1U);
}

using Human = Type::Human;
using Body = Type::Object3D;

INSTANTIATE_TEST_SUITE_P(
    Reasons, SkipTest,
    testing::Values(
        SkipCase{"NoBody", [](Human& human, Body&) { human.removeObject3D(ObjectName::object3D); },
                 "human has no Object3D", false},
        SkipCase{"NoCentre", [](Human&, Body& body) { body.removeProperty(Object3DProperty::CenterOfMass); },
                 "object3D of Human does not have all the needed properties", false},
        SkipCase{"NoFrame", [](Human&, Body& body) { body.removeProperty(Object3DProperty::SizeImageOfCamera); },
                 "object3D of Human does not have all the needed properties", false},
        SkipCase{"AtTheMaximum",
                 [](Human&, Body& body) { body.setProperty(Object3DProperty::Distance, makeData(3500)); }, "", true},
        SkipCase{"UnequalHistories",
                 [](Human& human, Body&) { human.setProperty(HumanProperty::LeftHandTimes, makeData(DataArray())); },
                 "_filterHandsPositionWithTime: different sizes for input arrays.", true},
        SkipCase{"MovementWithoutPlace",
                 [](Human& human, Body&)
                 {
                   human.removeProperty(HumanProperty::LeftHandPositions);
                   human.removeProperty(HumanProperty::LeftHandTimes);
                   human.setProperty(HumanProperty::AssociatedMovements,
                                     makeData(DataArray{makeData(std::make_shared<Body>())}));
                 },
                 "a movement of human 1 does not say where it is", true},
        SkipCase{"NotANumber",
                 [](Human& human, Body&)
                 {
                   human.removeProperty(HumanProperty::LeftHandPositions);
                   human.removeProperty(HumanProperty::LeftHandTimes);
                   human.setProperty(HumanProperty::AssociatedMovements,
                                     makeData(DataArray{makeData(makeMovement({nan, nan, nan}))}));
                 },
                 "a movement of human 1 does not say where it is", true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HumanMovementsAnalysis, GoesByTheHistoryThatAPersonBrings)
{
  ku::ManualClock clock;
  const HumanPtr human = makeWaver(1);
  AnalysisBench analyse;
  analyse(human);
  EXPECT_EQ(waving(*human), "L");
  const HumanPtr again = makePerson(1, {2.0F, 0.0F}, {});
  analyse(again);
  EXPECT_EQ(waving(*again), "L") << "the history goes with the identity";
  clock.advance(-std::chrono::seconds(60));
  const HumanPtr earlier = makePerson(1, {2.0F, 0.0F}, {});
  analyse(earlier);
  EXPECT_EQ(waving(*earlier), "") << "a history from the future";
}

TEST(HumanMovementsAnalysis, LeavesTheHiddenAlone)
{
  const ku::ManualClock clock;
  const HumanPtr human = makeWaver(1);
  human->setProperty(HumanProperty::IsVisible, makeData(false));
  AnalysisBench()(human);
  EXPECT_EQ(waving(*human), "L") << "without results it is analysed";
  human->setProperty(HumanProperty::IsWavingLeft, makeData(false));
  AnalysisBench()(human);
  EXPECT_EQ(waving(*human), "");
}

TEST(HumanMovementsAnalysis, RefusesOtherInputs)
{
  const HumanPtr human = makeHuman(1);
  const DataList wrong[] = {{},
                            {population({human}), makeData(minSize), nullptr},
                            {population({human}), makeData(nan), makeData(maxDistance)},
                            {population({human}), makeData(minSize), makeData(nan)},
                            {makeData(1), makeData(minSize), makeData(maxDistance)},
                            {populationWithRubbish({human}), makeData(minSize), makeData(maxDistance)}};
  for (const DataList& inputs : wrong)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(Filters::makeHumanMovementsAnalysis()->run(inputs).empty());
    EXPECT_EQ(log.texts(analysisCategory), std::vector<std::string>{"invalid inputs"});
  }
}

HumanPtr makeWavingHuman(bool left, bool right, bool center)
{
  auto human = makeHuman(3);
  human->setProperty(HumanProperty::IsWavingLeft, makeData(left));
  human->setProperty(HumanProperty::IsWavingRight, makeData(right));
  human->setProperty(HumanProperty::IsWavingCenter, makeData(center));
  return human;
}

TEST(ForWavingEvents, TellsAWaveEveryTwoSeconds)
{
  ku::ManualClock clock;
  FilterBench bench(Filters::makeForWavingEvents());
  std::string told;
  for (int i = 0; i <= 50; ++i)  // five seconds; the right hand joins after one
  {
    const HumanPtr human = makeWavingHuman(true, i >= 10, false);
    bench({population({human})});
    const std::string starts = waveStarts(*human);
    told += starts.empty() ? "" : std::to_string(i) + starts + " ";
    clock.advance(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(told, "0L 10R 21L 31R 42L ");
}

TEST(ForWavingEvents, CarriesTheStampsThroughGaps)
{
  ku::ManualClock clock;
  FilterBench bench(Filters::makeForWavingEvents());
  const auto run = [&](const HumanPtr& human)
  {
    bench({population({human})});
    clock.advance(std::chrono::milliseconds(100));
    return waveStarts(*human);
  };
  const HumanPtr human = makeWavingHuman(false, false, true);
  EXPECT_EQ(run(human), "C");
  human->setProperty(HumanProperty::IsVisible, makeData(false));
  EXPECT_EQ(run(human), "") << "the flag is taken back out of sight too";
  const ku::log::Capture log;
  EXPECT_EQ(run(makeHuman(3)), "");
  EXPECT_EQ(run(makeWavingHuman(false, false, true)), "");
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{"ForWavingEvents: human 3 does not have 'IsWavingLeft', 'IsWavingRight' or "
                                      "'IsWavingCenter' properties",
                                      "ForWavingEvents: human 3 did not have 'IsWavingLeft', 'IsWavingRight' or "
                                      "'IsWavingCenter' properties before"}));
  clock.advance(-std::chrono::minutes(10));
  EXPECT_EQ(run(makeWavingHuman(false, false, true)), "C") << "a stamp from the future bars nothing";
}

TEST(ForWavingEvents, RefusesWhatIsNoPopulation)
{
  for (const DataPtr& input : {DataPtr(), makeData(1), populationWithRubbish({})})
  {
    const ku::log::Capture log;
    EXPECT_TRUE(Filters::makeForWavingEvents()->run({input}).empty());
    EXPECT_EQ(log.texts(), std::vector<std::string>{"ForWavingEvents: wrong input type, not Humans"});
  }
}

DataPtr makeFlatMovement(float x, float y)
{
  auto object = std::make_shared<Type::Object2D>();
  object->setProperty(Object2DProperty::CenterOfMass, makeData(x, y));
  object->setProperty(Object2DProperty::SizeImage, makeData(320.0F, 240.0F));
  return makeData(std::move(object));
}

// The least step is 0.03 of 320 pixels, which is 9.6.
TEST(WavingDetection2D, FollowsMovementsFromMomentToMoment)
{
  const auto detect = [](const DataArray& moments) {
    return Filters::makeWavingDetection2D()->run({makeData(moments), makeData(0.03F)}).at(0)->toBool();
  };
  DataArray hand;
  DataArray walkers;
  DataArray flat;
  for (int i = 0; i <= 20; ++i)
  {
    const auto step = static_cast<float>(i);
    const DataPtr waved = makeFlatMovement(80.0F + 20.0F * std::sin(2.0F * pi * 0.15F * step), 60.0F);
    const DataPtr passing = makeFlatMovement(150.0F + 8.0F * step, 200.0F);
    // The order within a moment changes, and one moment is lost.
    hand.push_back(makeData(i == 7 ? DataArray() : i % 2 == 0 ? DataArray{waved, passing} : DataArray{passing, waved}));
    walkers.push_back(makeData(DataArray{passing, makeFlatMovement(300.0F - 8.0F * step, 100.0F)}));
    flat.push_back(waved);
  }
  EXPECT_TRUE(detect(hand));
  EXPECT_FALSE(detect(walkers));
  EXPECT_FALSE(detect(flat)) << "an array of objects is one moment";
  EXPECT_FALSE(detect({}));
}

TEST(WavingDetection2D, BearsAnyInput)
{
  const auto filter = Filters::makeWavingDetection2D();
  const ku::log::Capture log;
  const DataPtr rubbish =
      makeData(DataArray{nullptr, makeData(1), makeFlatMovement(nan, 0.0F),
                         makeData(std::make_shared<Type::Object2D>()), makeData(makeMovement({0, 0, 0}))});
  EXPECT_FALSE(filter->run({makeData(DataArray{nullptr, rubbish, rubbish}), makeData(0.03F)}).at(0)->toBool());
  EXPECT_EQ(log.texts("filter.wavingdetection2d").size(), 8U);
  for (const float threshold : {0.0F, -1.0F, nan})
    EXPECT_TRUE(filter->run({makeData(DataArray()), makeData(threshold)}).empty());
  EXPECT_TRUE(filter->run({makeData(1), makeData(0.03F)}).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
