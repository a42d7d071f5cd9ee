#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/trackassociation.h"
#include "filters/perception/trackupdate.h"
#include "filters/perception/trackvisibility.h"
#include "filtrix/histogram.h"
#include "filtrix/ku/clock.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <chrono>
#include <limits>
#include <ostream>

namespace ZR::Filtrix::Test
{
namespace
{
namespace H = HumanProperty;

constexpr float endless = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
const char* const category = "vision.filter.humantracker";

/// Where a person is seen, in metres, and with which score for a new track; NaN is none.
struct Spot
{
  float x;
  float y;
  float score = nan;
};

/// A run: so long after the one before, these people are seen. Expected are the people put out, with a "?" behind
/// those who are not seen, and those removed; "-" stands for no output.
struct Frame
{
  int milliseconds;
  std::vector<Spot> spots;
  const char* people;
  const char* removed = "";
  int lateMilliseconds = 0;  ///< how old the frame is when it comes
};

struct Limits
{
  float maxSpeed = 2.0F;  // metres per second
  float persistenceNonVisible = 0.0F;
  float persistenceVisible = 0.0F;
  float colorWeight = 0.0F;
};

struct Scenario
{
  const char* name;
  std::vector<Frame> frames;
  Limits limits = {};
  float bearing = 1.0F;  ///< of all, radians: 0 is the middle of the view, which reaches a third of one to each side
};

void PrintTo(const Scenario& scenario, std::ostream* out)
{
  *out << scenario.name;
}

HumanPtr observe(const Spot& spot, Time time, float bearing = 1.0F)
{
  auto human = makeHuman();
  auto body = std::make_shared<Type::Object3D>();
  const cv::Mat mask(10, 10, CV_8UC1, cv::Scalar(1));
  body->setProperty(Object3DProperty::Mask,
                    makeData(std::make_shared<Type::BinaryImage>(mask, "test", Time(1), 0.1F, 0.1F)));
  body->setProperty(Object3DProperty::SizeImage, makeData(100.0F, 100.0F));
  human->setObject3D(ObjectName::object3D, body);
  human->setProperty(H::Timestamp, makeData(time));
  human->setProperty(H::GroundPositionInWorldFrame, makeData(spot.x, spot.y));
  human->setProperty(H::GroundPositionInRobotFrame, makeData(2.0F, 0.0F));
  human->setProperty(H::Height, makeData(1.0F));
  human->setProperty(H::AngularPosition, makeData(bearing, 0.0F));
  if (spot.score == spot.score)
    human->setScore(ScoreName::forNewTrack, spot.score);
  return human;
}

DataList inputsOf(const DataPtr& people, const Limits& limits)
{
  return {people,
          makeData(limits.maxSpeed),
          makeData(limits.persistenceNonVisible),
          makeData(limits.persistenceVisible),
          makeData(limits.colorWeight),
          makeData(0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F)};
}

std::string peopleIn(const DataPtr& output)
{
  std::string text;
  for (const DataPtr& value : *output->get<DataArray>())
  {
    const Type::Human& human = *Filters::personIn(value);
    text += fmt::format("{}{}{}", text.empty() ? "" : " ", human.getId(),
                        human.getProperty(H::IsVisible)->toBool() ? "" : "?");
  }
  return text;
}

class HumanTrackerTest : public testing::TestWithParam<Scenario>
{
};

TEST_P(HumanTrackerTest, FollowsPeople)
{
  const Scenario& scenario = GetParam();
  ku::ManualClock clock;
  const ku::log::Capture log;
  const auto tracker = Filters::makeHumanTracker();
  for (std::size_t i = 0; i < scenario.frames.size(); ++i)
  {
    const Frame& frame = scenario.frames[i];
    clock.advance(std::chrono::milliseconds(frame.milliseconds));
    std::vector<HumanPtr> people;
    for (const Spot& spot : frame.spots)
      people.push_back(observe(spot, Time::now() - Duration(1000 * frame.lateMilliseconds), scenario.bearing));
    const DataList outputs = tracker->run(inputsOf(population(people), scenario.limits));
    EXPECT_EQ(outputs.size() == 2 ? peopleIn(outputs[0]) : "-", frame.people) << "frame " << i;
    EXPECT_EQ(outputs.size() == 2 ? idsIn(outputs[1]) : "", frame.removed) << "frame " << i;
  }
}

// Frames one after another, ten a second.
std::vector<Frame> frames(std::size_t count, const std::vector<Spot>& spots, const char* people)
{
  return std::vector<Frame>(count, Frame{100, spots, people});
}

std::vector<Frame> operator+(std::vector<Frame> some, const std::vector<Frame>& more)
{
  some.insert(some.end(), more.begin(), more.end());
  return some;
}

// Three frames of candidates and a fourth that makes people of them.
std::vector<Frame> confirmed(const std::vector<Spot>& spots, const char* people)
{
  return frames(3, spots, "") + frames(1, spots, people);
}

const std::vector<Frame> gone{{100, {}, "", "1"}};
const std::vector<Spot> one{{0, 0}};
const std::vector<Spot> two{{0, 0}, {1, 0}};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Life, HumanTrackerTest, testing::Values(
    Scenario{"ConfirmedByTheFourthDetection", frames(3, one, "") + frames(2, one, "1")},
    Scenario{"AMissMakesACandidateBeginAnew", frames(3, one, "") + frames(1, {}, "") + confirmed(one, "1")},
    Scenario{"AMissDoesNotUnmakeAPerson", confirmed(one, "1") + frames(1, {}, "1?") + frames(2, one, "1")},
    Scenario{"OutOfViewLivesForTenIntervals", confirmed(one, "1") + frames(9, {}, "1?") + gone + frames(1, {}, "")},
    Scenario{"OutOfViewLivesForItsPersistence", confirmed(one, "1") + frames(11, {}, "1?") + gone, {2.0F, 1.2F, 0.0F}},
    Scenario{"InViewLivesForThreeIntervals", confirmed(one, "1") + frames(2, {}, "1?") + gone, {}, 0.0F},
    Scenario{"InViewLivesForItsPersistence", confirmed(one, "1") + frames(5, {}, "1?") + gone, {2.0F, 9.0F, 0.6F}, 0.0F},
    Scenario{"WhoComesBackTooLateIsNew", confirmed(one, "1") + frames(9, {}, "1?") + gone + confirmed(one, "2")},
    Scenario{"AScoreOfOneHalfIsTooLow", frames(6, {{0, 0, 0.5F}}, "")},
    Scenario{"AScoreAboveOneHalfWillDo", confirmed({{0, 0, 0.51F}}, "1")},
    Scenario{"ThePersistenceIsNoNumber", confirmed(one, "1") + frames(9, {}, "1?") + gone, {2.0F, nan, nan}},
    Scenario{"ThePersistenceIsEndless", confirmed(one, "1") + frames(40, {}, "1?"), {2.0F, endless, 0.0F}}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(Association, HumanTrackerTest, testing::Values(
    Scenario{"TheLatestSeenStandInFront",
             confirmed(two, "1 2") + frames(1, {{1, 0}, {0, 0}}, "1 2") + frames(1, {{1, 0}}, "2 1?")},
    Scenario{"AtTheGreatestSpeedNobodyIsFollowed",
             {{100, {{0, 0}}, ""}, {1000, {{2, 0}}, ""}, {1000, {{4, 0}}, ""}, {1000, {{6, 0}}, ""}}},
    Scenario{"BelowItEverybodyIs",
             {{100, {{0, 0}}, ""}, {1000, {{1.99F, 0}}, ""}, {1000, {{3.98F, 0}}, ""}, {1000, {{5.97F, 0}}, "1"}}},
    Scenario{"TheNearerTrackTakesTheOnlyOne", confirmed(two, "1 2") + frames(1, {{0.9F, 0}}, "2 1?"), {20.0F}},
    Scenario{"WhoIsLeftTakesWhatIsLeft", confirmed(two, "1 2") + frames(1, {{0.9F, 0}, {1.5F, 0}}, "2 1"), {20.0F}},
    Scenario{"AnOldFrameContinuesNothing", confirmed(one, "1") + std::vector<Frame>{{100, {{0, 0}}, "1?", "", 150}}},
    Scenario{"ARepeatedFrameIsNoFrame",
             confirmed(one, "1") + std::vector<Frame>{{50, {{5, 5}}, "-", "", 50}} + frames(1, one, "1")},
    Scenario{"APlaceThatIsNoNumberContinuesNothing",
             confirmed(one, "1") + frames(1, {{nan, 0}}, "1?") + frames(1, {{nan, 0}, {0, 0}}, "1")},
    Scenario{"TwoRunsAtOnceFollowNobody", confirmed(one, "1") + std::vector<Frame>{{0, {{0, 0}}, "", "1", -1}}},
    Scenario{"TheSpeedIsNoNumber", frames(8, one, ""), {nan}}),
    [](const auto& row) { return std::string(row.param.name); });

// clang-format on

TEST(HumanTracker, RefusesInputsAndKeepsItsTracks)
{
  ku::ManualClock clock;
  const auto tracker = Filters::makeHumanTracker();
  tracker->run(inputsOf(population({observe({0, 0}, Time::now())}), {}));
  const std::string before = Type::toText(*tracker->getMemory());
  clock.advance(std::chrono::milliseconds(100));
  const HumanPtr human = observe({0, 0}, Time::now());

  DataList tooFew = inputsOf(population({human}), {});
  tooFew.pop_back();
  DataList wrongType = inputsOf(population({human}), {});
  wrongType[4] = makeData(1);
  DataList null = inputsOf(population({human}), {});
  null[0] = nullptr;
  const std::pair<DataList, const char*> rows[] = {
      {tooFew, "Invalid inputs."},
      {wrongType, "Invalid inputs."},
      {null, "Invalid inputs."},
      {{}, "Invalid inputs."},
      {inputsOf(makeData(DataArray{makeData(human), nullptr}), {}), "Invalid human in input"},
      {inputsOf(makeData(DataArray{makeData(human), makeData(1)}), {}), "Invalid human in input"}};
  for (const auto& [inputs, message] : rows)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(tracker->run(inputs).empty());
    EXPECT_EQ(log.texts(category), std::vector<std::string>{message});
    EXPECT_EQ(Type::toText(*tracker->getMemory()), before);
  }
}

TEST(HumanTracker, TellsOfTimesInTheWrongOrder)
{
  ku::ManualClock clock;
  const auto tracker = Filters::makeHumanTracker();
  tracker->run(inputsOf(population({observe({0, 0}, Time(2000))}), {}));
  clock.advance(std::chrono::milliseconds(100));
  const ku::log::Capture log;
  tracker->run(inputsOf(population({observe({0, 0}, Time(1000))}), {}));
  EXPECT_EQ(log.texts(category),
            (std::vector<std::string>{"Timestamp error: older=2000 newer=1000",
                                      "Timestamp error: older=2000 newer=1000"}));  // once in each pass
}

TEST(FindClosest, TakesATrackOfTheSameMomentButNoObservation)
{
  const ku::log::Capture log;
  const Filters::Sighting query(makeData(observe({0, 0}, Time(1000))));
  const Filters::Sightings candidates{Filters::Sighting(makeData(observe({0, 0}, Time(1000))))};
  const Filters::Walk walk{1.0F, 1.0F};
  EXPECT_FALSE(findClosest(query, candidates, Filters::Seek::Newer, walk, category));
  EXPECT_EQ(findClosest(query, candidates, Filters::Seek::Older, walk, category), 0U);
}

TEST(HumanTracker, SaysWhatAnObservationLacksAndGoesOn)
{
  ku::ManualClock clock;
  const auto tracker = Filters::makeHumanTracker();
  const ku::log::Capture log;
  EXPECT_EQ(tracker->run(inputsOf(population({makeHuman()}), {})).size(), 2U);
  EXPECT_EQ(log.texts(category), std::vector<std::string>{"Missing attribute Timestamp"});
  clock.advance(std::chrono::milliseconds(100));
  EXPECT_EQ(tracker->run(inputsOf(population({}), {})).size(), 2U);
  const std::vector<std::string> lines = log.texts(category);
  EXPECT_EQ(lines[1], "Human has no GroundPositionInWorldFrame");
  EXPECT_EQ(lines.back(), "Human does not have an Object2D or an Object3D");
}

TEST(HumanTracker, CountsAPersonWhoIsThereTwiceOnce)
{
  ku::ManualClock clock;
  const ku::log::Capture log;
  const auto tracker = Filters::makeHumanTracker();
  HumanPtr last;
  for (int i = 0; i < 4; ++i)
  {
    clock.advance(std::chrono::milliseconds(100));
    const HumanPtr human = observe({0, 0}, Time::now());
    const DataList outputs =
        tracker->run(inputsOf(population(last ? std::vector{human, human, last} : std::vector{human, human}), {}));
    EXPECT_EQ(peopleIn(outputs[0]), i < 3 ? "" : "1");
    last = human;
  }
}

// More people than any room holds, who walk: each keeps its identity, and the runs come to an end.
TEST(HumanTracker, FollowsAMultitude)
{
  constexpr std::size_t count = 2'000;
  constexpr auto longest = std::chrono::seconds(60);
  ku::ManualClock clock;
  const auto tracker = Filters::makeHumanTracker();
  const auto start = std::chrono::steady_clock::now();
  for (int frame = 0; frame < 4; ++frame)
  {
    clock.advance(std::chrono::milliseconds(100));
    std::vector<HumanPtr> people;
    for (std::size_t i = 0; i < count; ++i)
      people.push_back(observe(
          {static_cast<float>(i % 50) + 0.1F * static_cast<float>(frame), static_cast<float>(i / 50)}, Time::now()));
    const DataList outputs = tracker->run(inputsOf(population(people), {}));
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_EQ(outputs[0]->toArray().size(), frame < 3 ? 0U : count);
    EXPECT_TRUE(outputs[1]->toArray().empty());
    for (std::size_t i = 0; i < count; ++i)
      ASSERT_EQ(people[i]->getId(), i + 1) << "frame " << frame;
  }
  clock.advance(std::chrono::milliseconds(100));
  const DataList outputs = tracker->run(inputsOf(population({}), {}));
  ASSERT_EQ(outputs.size(), 2U);
  EXPECT_TRUE(outputs[0]->toArray().empty()) << "so many are not waited for";
  EXPECT_EQ(outputs[1]->toArray().size(), count);
  EXPECT_LT(std::chrono::steady_clock::now() - start, longest);
}

TEST(HumanTracker, KeepsAFreeIdentityThatAnObservationBringsAlong)
{
  ku::ManualClock clock;
  const auto tracker = Filters::makeHumanTracker();
  std::vector<HumanPtr> people;
  for (const std::uint64_t id : {7U, 0U, 7U, 1U})
  {
    people.push_back(observe({static_cast<float>(people.size()), 0}, Time::now()));
    people.back()->setId(id);
  }
  tracker->run(inputsOf(population(people), {}));
  EXPECT_EQ(idsIn(population(people)), "7 8 9 1");
}

/// A property of a track, one of the observation that continues it, and what the observation has afterwards.
struct CarryCase
{
  const char* name;
  std::int32_t key;
  DataPtr old;
  DataPtr fresh;
  const char* expected;  ///< as text; empty for none
};

void PrintTo(const CarryCase& row, std::ostream* out)
{
  *out << row.name;
}

class CarryTest : public testing::TestWithParam<CarryCase>
{
};

TEST_P(CarryTest, TakesOverFromTheTrack)
{
  const CarryCase& row = GetParam();
  const auto track = makeHuman(3);
  const auto observation = makeHuman();
  if (row.old)
    track->setProperty(row.key, row.old);
  if (row.fresh)
    observation->setProperty(row.key, row.fresh);
  const ku::log::Capture log;
  Filters::continueTrack(*observation, *track, category);
  EXPECT_EQ(observation->getId(), 3U);
  const DataPtr result = observation->getProperty(row.key);
  EXPECT_EQ(result ? Type::toText(*result) : "", row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, CarryTest,
    testing::Values(CarryCase{"GreaterHeightBefore", H::MaxHeight, makeData(1.75F), makeData(1.5F), "1.75f"},
                    CarryCase{"GreaterHeightNow", H::MaxHeight, makeData(1.5F), makeData(1.75F), "1.75f"},
                    CarryCase{"NoHeightNow", H::MaxHeight, makeData(1.5F), nullptr, "1.5f"},
                    CarryCase{"HeightIsNoNumber", H::MaxHeight, makeData(1.5F), makeData(nan), "1.5f"},
                    CarryCase{"NoHeightBefore", H::MaxHeight, nullptr, nullptr, ""},
                    CarryCase{"Count", H::DetectionCount, makeData(1), nullptr, "2"},
                    CarryCase{"CountMissing", H::DetectionCount, nullptr, nullptr, "1"},
                    CarryCase{"CountAtItsEnd", H::DetectionCount, makeData(2147483647), nullptr, "2147483647"},
                    CarryCase{"ThirdDetection", H::IsConfirmedTrack, nullptr, nullptr, ""},
                    CarryCase{"Confirmed", H::IsConfirmedTrack, makeData(true), nullptr, "True"},
                    CarryCase{"FirstTime", H::FirstDetectionTime, makeData(Time(5000000)), makeData(Time(9000000)),
                              "{Time second=5}"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ContinueTrack, FreezesTheCountOfAPersonAndTellsOfItsConfirmationOnce)
{
  const ku::log::Capture log;
  const auto candidate = makeHuman(1);
  candidate->setProperty(H::DetectionCount, makeData(3));
  const auto fourth = makeHuman();
  Filters::continueTrack(*fourth, *candidate, category);
  EXPECT_EQ(fourth->getProperty(H::DetectionCount)->toInt(), 4);
  EXPECT_TRUE(fourth->getProperty(H::IsJustConfirmed)->toBool());
  const auto fifth = makeHuman();
  Filters::continueTrack(*fifth, *fourth, category);
  EXPECT_TRUE(fifth->hasProperty(H::IsConfirmedTrack));
  EXPECT_FALSE(fifth->hasProperty(H::DetectionCount));
  EXPECT_FALSE(fifth->hasProperty(H::IsJustConfirmed));
}

TEST(ContinueTrack, TakesTheHeightWhereThereIsNoGreatestHeight)
{
  const ku::log::Capture log;
  const auto track = makeHuman(1);
  track->setProperty(H::MaxHeight, makeData(1.5F));
  const auto observation = makeHuman();
  observation->setProperty(H::Height, makeData(1.75F));
  Filters::continueTrack(*observation, *track, category);
  EXPECT_EQ(observation->getProperty(H::MaxHeight)->toFloat(), 1.75F);
}

TEST(ContinueTrack, KeepsColoursOnlyWhereNoneAreSeen)
{
  const ku::log::Capture log;
  const auto track = makeHuman(1);
  track->setProperty(H::ColorDescriptor, makeData("old"));
  track->setProperty(H::ColorDescriptorData, makeData("old data"));
  const auto blind = makeHuman();
  Filters::continueTrack(*blind, *track, category);
  EXPECT_EQ(blind->getProperty(H::ColorDescriptor)->toString(), "old");
  EXPECT_EQ(blind->getProperty(H::ColorDescriptorData)->toString(), "old data");
  const auto seeing = makeHuman();
  seeing->setProperty(H::ColorDescriptor, makeData("new"));
  Filters::continueTrack(*seeing, *track, category);
  EXPECT_EQ(seeing->getProperty(H::ColorDescriptor)->toString(), "new");
  EXPECT_FALSE(seeing->hasProperty(H::ColorDescriptorData));
}

TEST(ContinueTrack, PutsTheShirtColourToTheVote)
{
  struct Row
  {
    const char* seen;
    std::vector<std::pair<std::uint32_t, float>> votes;  // before
    const char* expected;
  };

  const Row rows[] = {
      {"Red", {{3, 5.0F}}, "Red"},               // agreed
      {"Red", {{8, 5.0F}}, "old"},               // outvoted by blue
      {"Red", {{8, 5.0F}, {3, 5.0F}}, "Red"},    // the casting vote
      {"Red", {{8, 5.0F}, {3, 4.0F}}, "Red"},    // a tie goes to the lower index, which is red's
      {"Pink", {{8, 5.0F}, {10, 4.0F}}, "old"},  // and here blue's
      {"Red", {{11, 9.0F}}, "Red"},              // other colours outvote none
      {"Brown", {{11, 9.0F}}, "old"},            // and are no name to take
  };
  for (const auto& [seen, votes, expected] : rows)
  {
    const ku::log::Capture log;
    Type::Histogram history(12);
    for (const auto& [color, count] : votes)
      history.values()[color] = count;
    const auto track = makeHuman(1);
    track->setProperty(H::ShirtColorName, makeData("old"));
    track->setProperty(H::ShirtColorNameHistory, makeData(history));
    const auto observation = makeHuman();
    observation->setProperty(H::ShirtColorName, makeData(seen));
    Filters::continueTrack(*observation, *track, category);
    EXPECT_EQ(observation->getProperty(H::ShirtColorName)->toString(), expected) << seen;
    const auto* const counted = observation->getProperty(H::ShirtColorNameHistory)->get<Type::Histogram>();
    float added = 0.0F;
    for (std::uint32_t i = 0; i < 12; ++i)
      added += counted->values()[i] - history.values()[i];
    EXPECT_EQ(added, 1.0F) << seen;
  }
}

TEST(ContinueTrack, LeavesAVoteThatCannotBeCounted)
{
  const ku::log::Capture log;
  const auto track = makeHuman(1);
  track->setProperty(H::DetectionCount, makeData(1));
  track->setProperty(H::FirstDetectionTime, makeData(Time(1)));
  track->setProperty(H::ShirtColorNameHistory, makeData(Type::Histogram(3)));
  const auto observation = makeHuman();
  observation->setProperty(H::ShirtColorName, makeData("Red"));
  Filters::continueTrack(*observation, *track, category);
  EXPECT_EQ(observation->getProperty(H::ShirtColorName)->toString(), "Red");
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Missing property ShirtColorNameHistory"});
}

TEST(ContinueTrack, SmoothsTheColoursOfTheShirtWhereTheyCanBeCompared)
{
  const ku::log::Capture log;
  const float oldBins[] = {1.0F, 0.0F};
  const float newBins[] = {0.0F, 1.0F};
  const auto track = makeHuman(1);
  track->setProperty(H::ShirtColorHistogram, makeData(Type::Histogram(oldBins, 2, 1)));
  const auto observation = makeHuman();
  const DataPtr fresh = makeData(Type::Histogram(newBins, 2, 1));
  observation->setProperty(H::ShirtColorHistogram, fresh);
  Filters::continueTrack(*observation, *track, category);
  const DataPtr smooth = observation->getProperty(H::ShirtColorHistogram);
  EXPECT_FLOAT_EQ(smooth->get<Type::Histogram>()->values()[0], 0.95F);
  EXPECT_FLOAT_EQ(smooth->get<Type::Histogram>()->values()[1], 0.05F);
  EXPECT_EQ(fresh->get<Type::Histogram>()->values()[0], 0.0F);  // others may hold it

  const auto longer = makeHuman();
  longer->setProperty(H::ShirtColorHistogram, makeData(Type::Histogram(3)));
  Filters::continueTrack(*longer, *track, category);
  EXPECT_EQ(longer->getProperty(H::ShirtColorHistogram)->get<Type::Histogram>()->values()[0], 0.0F);
}

TEST(SupposedToBeVisible, IsWhoStandsInTheMiddleOfTheView)
{
  struct Row
  {
    float bearing;
    float height;
    Type::Vector6 camera;
    bool isExpected;
  };

  const Row rows[] = {
      {0.0F, 1.0F, {0, 0, 1, 0, 0, 0}, true},     {0.33F, 1.0F, {0, 0, 1, 0, 0, 0}, true},
      {0.34F, 1.0F, {0, 0, 1, 0, 0, 0}, false},   {-0.34F, 1.0F, {0, 0, 1, 0, 0, 0}, false},
      {0.9F, 1.0F, {0, 0, 1, 0, 0, 0.8F}, true},   // the camera is turned there
      {0.0F, 1.6F, {0, 0, 1, 0, 0, 0}, true},      // 0.29 rad above it, at 2 m
      {0.0F, 1.8F, {0, 0, 1, 0, 0, 0}, false},     // 0.38 rad
      {0.0F, 1.8F, {0, 0, 1, 0, -0.3F, 0}, true},  // and the camera looks up
      {nan, 1.0F, {0, 0, 1, 0, 0, 0}, false},
  };
  for (const auto& [bearing, height, camera, isExpected] : rows)
  {
    const auto human = observe({0, 0}, Time(1), bearing);
    human->setProperty(H::Height, makeData(height));
    EXPECT_EQ(Filters::isSupposedToBeVisible(*human, camera, category), isExpected) << bearing << " " << height;
    EXPECT_EQ(human->getProperty(H::IsSupposedToBeVisible)->toBool(), isExpected);
  }
}

TEST(SupposedToBeVisible, WritesNothingForWhomItCannotJudge)
{
  const auto withoutHeight = observe({0, 0}, Time(1), 0.0F);
  withoutHeight->removeProperty(H::Height);
  const auto withoutImage = observe({0, 0}, Time(1), 0.0F);
  withoutImage->setObject3D("3D", std::make_shared<Type::Object3D>());
  const ku::log::Capture log;
  for (const HumanPtr& human : {makeHuman(), withoutHeight, withoutImage})
  {
    EXPECT_FALSE(Filters::isSupposedToBeVisible(*human, {}, category));
    EXPECT_FALSE(human->hasProperty(H::IsSupposedToBeVisible));
  }
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{"Human does not have an Object2D or an Object3D", "Human has no Height",
                                      "the human's object does not have an image and a SizeImage"}));
}

TEST(SupposedToBeVisible, TakesTheViewOfTheBodyImageWhereThereIsNoBody)
{
  const auto human = observe({0, 0}, Time(1), 0.0F);
  human->removeObject3D("3D");
  auto body = std::make_shared<Type::Object2D>();
  const cv::Mat pixels(10, 10, CV_8UC1, cv::Scalar(1));
  body->setProperty(Object2DProperty::GrayscaleImage,
                    makeData(std::make_shared<Type::GrayscaleImage>(pixels, "test", Time(1), 0.1F, 0.1F)));
  body->setProperty(Object2DProperty::SizeImage, makeData(100.0F, 100.0F));
  human->setObject2D(ObjectName::bodyImage, body);
  EXPECT_TRUE(Filters::isSupposedToBeVisible(*human, {0, 0, 1, 0, 0, 0}, category));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
