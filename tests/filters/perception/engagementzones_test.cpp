#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <random>

namespace ZR::Filtrix::Test
{
namespace
{
namespace H = HumanProperty;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float angle = 45.0F;
constexpr float first = 1.5F;
constexpr float second = 2.5F;

HumanPtr standingAt(float x, float y)
{
  auto human = makeHuman(1);
  human->setProperty(H::GroundPositionInRobotFrame, makeData(x, y));
  return human;
}

std::shared_ptr<Type::Object3D> movementAt(float x, float y)
{
  auto movement = std::make_shared<Type::Object3D>();
  movement->setProperty(Object3DProperty::PositionInRobotFrame, makeData(x, y, 1.0F, 0.0F, 0.0F, 0.0F));
  return movement;
}

// In the middle of the column, of a 90 degree view of a camera that is turned to the left by `yaw`.
std::shared_ptr<Type::Object2D> imageMovementAt(float column, std::int32_t millimetres, float yaw = 0.0F)
{
  auto movement = std::make_shared<Type::Object2D>();
  movement->setProperty(Object2DProperty::Distance, makeData(millimetres));
  movement->setProperty(Object2DProperty::Region2D, makeData(Type::Region2({column - 5, 10}, {column + 5, 20})));
  movement->setProperty(Object2DProperty::SizeImage, makeData(321.0F, 240.0F));
  movement->setProperty(Object2DProperty::FieldOfView, makeData(1.5707964F, 1.0F));
  movement->setProperty(Object2DProperty::CameraPositionRobot, makeData(0.0F, 0.0F, 1.0F, 0.0F, 0.0F, yaw));
  return movement;
}

template <typename Element>
DataPtr arrayOf(const std::shared_ptr<Element>& element)
{
  return makeData(DataArray{makeData(element)});
}

DataList place(const DataPtr& array, float withinAngle = angle)
{
  return Filters::makeComputeEngagementZones()->run({array, makeData(withinAngle), makeData(first), makeData(second)});
}

template <typename Element>
std::int32_t zoneOf(const std::shared_ptr<Element>& element)
{
  place(arrayOf(element));
  const DataPtr zone = element->getProperty(H::EngagementZone);
  return zone ? zone->toInt() : -1;
}

TEST(ComputeEngagementZones, PutsALimitIntoTheNearerZone)
{
  struct Row
  {
    float x;
    float y;
    std::int32_t zone;
  };

  const float beyond = std::nextafter(first, 9.0F);
  const Row rows[] = {
      {0.1F, 0.0F, 1},  {first, 0.0F, 1}, {beyond, 0.0F, 2}, {second, 0.0F, 2}, {2.6F, 0.0F, 3},
      {1.0F, 1.0F, 1},  {1.0F, 1.1F, 2},  {1.0F, -1.1F, 2},  {1.5F, 1.6F, 3},   {0.0F, 1.0F, 2},
      {0.0F, -2.0F, 3}, {0.0F, 0.0F, 1},  {-1.0F, 0.5F, 1},  {-2.0F, 0.0F, 2},  {-9.0F, 0.0F, 3},
  };
  for (const auto& [x, y, zone] : rows)
  {
    EXPECT_EQ(zoneOf(standingAt(x, y)), zone) << x << " " << y;
    EXPECT_EQ(zoneOf(movementAt(x, y)), zone) << x << " " << y;
  }
}

TEST(ComputeEngagementZones, IsTheSameMirroredAndNeverNearerFartherOut)
{
  std::mt19937 random(1);
  std::uniform_real_distribution<float> coordinate(-3.0F, 3.0F);
  for (int i = 0; i < 500; ++i)
  {
    const float x = coordinate(random);
    const float y = coordinate(random);
    const std::int32_t zone = zoneOf(standingAt(x, y));
    EXPECT_EQ(zoneOf(standingAt(-x, y)), zone) << x << " " << y;
    EXPECT_EQ(zoneOf(standingAt(x, -y)), zone) << x << " " << y;
    EXPECT_GE(zoneOf(standingAt(1.3F * x, 1.3F * y)), zone) << x << " " << y;
  }
}

TEST(ComputeEngagementZones, PlacesWhatAnImageShowsByDistanceAndBearing)
{
  const ku::log::Capture log;
  EXPECT_EQ(zoneOf(imageMovementAt(160, 1500)), 1);
  EXPECT_EQ(zoneOf(imageMovementAt(160, 2500)), 2);
  EXPECT_EQ(zoneOf(imageMovementAt(160, 2501)), 3);
  EXPECT_EQ(zoneOf(imageMovementAt(10, 1000)), 1);         // 43 degrees to the left
  EXPECT_EQ(zoneOf(imageMovementAt(10, 1000, 0.1F)), 2);   // the camera is turned there
  EXPECT_EQ(zoneOf(imageMovementAt(310, 1000, 0.1F)), 1);  // and away from there
  EXPECT_EQ(zoneOf(imageMovementAt(nan, 1000)), -1);
  EXPECT_EQ(zoneOf(imageMovementAt(160, 0)), -1);
}

TEST(ComputeEngagementZones, KeepsTheZoneOfWhoIsNotSeen)
{
  const auto human = standingAt(1.0F, 0.0F);
  human->setProperty(H::IsVisible, makeData(false));
  EXPECT_EQ(zoneOf(human), 1);  // it has none yet
  human->setProperty(H::EngagementZone, makeData(3));
  EXPECT_EQ(zoneOf(human), 3);
  human->setProperty(H::IsVisible, makeData(true));
  EXPECT_EQ(zoneOf(human), 1);
}

TEST(ComputeEngagementZones, SaysWhatCannotBePlaced)
{
  struct Row
  {
    DataPtr array;
    bool isPutOut;
    std::vector<std::string> messages;
  };

  const std::string wrongType = "ComputeEngagementZones: wrong input type, not Humans nor Objects3D";
  const std::string nowhere = "ComputeEngagementZones: human does not have a 'GroundPositionInRobotFrame' property";
  const Row rows[] = {
      {population({}), true, {}},
      {makeData(DataArray{nullptr, makeData(standingAt(1, 0))}), false, {wrongType}},
      {makeData(DataArray{makeData(1)}), false, {wrongType}},
      {makeData(DataArray{makeData(standingAt(1, 0)), makeData(movementAt(1, 0))}), true, {wrongType}},
      {population({makeHuman(1), standingAt(nan, 0)}), true, {nowhere, nowhere}},
      {arrayOf(std::make_shared<Type::Object3D>()),
       true,
       {"ComputeEngagementZones: movement does not have a 'PositionInRobotFrame' property"}},
      {makeData(DataArray{makeData(movementAt(1, 0)), nullptr}), true, {wrongType}},
  };
  for (const auto& [array, isPutOut, messages] : rows)
  {
    const ku::log::Capture log;
    EXPECT_EQ(place(array).empty(), !isPutOut) << Type::toText(*array);
    EXPECT_EQ(log.texts(), messages);
  }
}

TEST(ComputeEngagementZones, TakesNoLimitThatIsNoNumber)
{
  const ku::log::Capture log;
  const auto human = standingAt(9, 0);
  EXPECT_TRUE(place(population({human}), nan).empty());
  EXPECT_FALSE(human->hasProperty(H::EngagementZone));
  EXPECT_EQ(log.texts().size(), 1U);
}

/// One person's run: its zone, 0 for nobody there, -1 for a person without a zone; and the flags expected.
struct Step
{
  std::int32_t zone;
  std::string flags;
  bool isSeen = true;
};

struct ChangesCase
{
  const char* name;
  std::vector<Step> steps;
};

void PrintTo(const ChangesCase& row, std::ostream* out)
{
  *out << row.name;
}

std::string flagsOf(const Type::Human& human)
{
  std::string flags;
  for (const PropertyDescription& property : humanProperties())
  {
    if (property.key >= H::ApproachedRobot && property.key <= H::EnteredZone3 && human.hasProperty(property.key))
      flags += (flags.empty() ? "" : " ") + std::string(property.name);
  }
  return flags;
}

class ChangesTest : public testing::TestWithParam<ChangesCase>
{
};

// `human` is the same person of the run before, or a new observation of it.
void step(UserFilter& filter, const HumanPtr& human, const Step& expected)
{
  if (expected.zone > 0)
    human->setProperty(H::EngagementZone, makeData(expected.zone));
  human->setProperty(H::IsVisible, makeData(expected.isSeen));
  const DataPtr people = expected.zone == 0 ? population({makeHuman(99)}) : population({makeHuman(99), human});
  const DataList outputs = filter.run({people});
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], people);
  EXPECT_EQ(flagsOf(*human), expected.flags);
}

TEST_P(ChangesTest, FlagsNewObservations)
{
  const ku::log::Capture log;
  const auto filter = Filters::makeEngagementZonesChanges();
  for (const Step& expected : GetParam().steps)
    step(*filter, makeHuman(5), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Walks, ChangesTest,
    testing::Values(
        ChangesCase{"FirstSeen", {{2, "EnteredZone2"}, {2, ""}}},
        ChangesCase{"ComesNear",
                    {{3, "EnteredZone3"}, {2, "ApproachedRobot EnteredZone2"}, {1, "ApproachedRobot EnteredZone1"}}},
        ChangesCase{"GoesAway", {{1, "EnteredZone1"}, {3, "MovedAwayFromRobot EnteredZone3"}, {3, ""}}},
        ChangesCase{"ComesBackLater", {{1, "EnteredZone1"}, {0, ""}, {1, "EnteredZone1"}}},
        ChangesCase{"ChangesUnseen", {{1, "EnteredZone1"}, {2, "", false}, {3, "MovedAwayFromRobot EnteredZone3"}}},
        ChangesCase{"ZoneNotYetKnown", {{-1, ""}, {2, "EnteredZone2"}}},
        ChangesCase{"ZoneOfNoMeaning", {{7, ""}, {1, "ApproachedRobot EnteredZone1"}}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(EngagementZonesChanges, TakesTheFlagsOfTheLastRunFromWhoIsGivenAgain)
{
  const ku::log::Capture log;
  const auto filter = Filters::makeEngagementZonesChanges();
  const auto human = makeHuman(5);
  step(*filter, human, {3, "EnteredZone3"});
  step(*filter, human, {1, "ApproachedRobot EnteredZone1"});
  step(*filter, human, {1, ""});
  step(*filter, human, {2, "MovedAwayFromRobot EnteredZone2"});
  step(*filter, human, {1, "", false});
}

TEST(EngagementZonesChanges, SaysWhatIsMissing)
{
  const ku::log::Capture log;
  const auto filter = Filters::makeEngagementZonesChanges();
  EXPECT_TRUE(filter->run({makeData(DataArray{makeData(1), makeData(makeHuman(1))})}).empty());
  EXPECT_EQ(filter->run({population({makeHuman(1)})}).size(), 1U);
  const auto human = makeHuman(1);
  human->setProperty(H::EngagementZone, makeData(2));
  filter->run({population({human})});
  EXPECT_EQ(log.texts(), (std::vector<std::string>{
                             "EngagementZonesChanges: wrong input type, not Humans",
                             "EngagementZonesChanges: human are supposed to have an 'EngagementZone'property",
                             "EngagementZonesChanges:  prev human are supposed to have an 'EngagementZone'property"}));
  EXPECT_EQ(flagsOf(*human), "EnteredZone2");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
