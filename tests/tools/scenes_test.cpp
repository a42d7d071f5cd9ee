// Each program of the perception library, in a scene in which it must see something.

#include "filters/perception/objects.h"
#include "filtrix/image.h"
#include "filtrix/properties.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/scenerun.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Tool;
using Filters::elementsOf;
using Filters::isTrue;
using Filters::propertyOf;
using People = std::vector<std::shared_ptr<Type::Human>>;
using Objects = std::vector<std::shared_ptr<Type::Object3D>>;

// People with an identity, before anything is said about what they do.
constexpr const char* followed = R"(
  filter Followed
  {
    Identity robot; PeopleCandidates3D candidates; PeopleAppearance appearance; HumanTracker tracker;
    robot -> candidates:cameraPositionRobot; robot -> tracker:cameraPosition;
    candidates:population -> appearance:population; appearance:population -> tracker:populationIn;
    candidates:depthImage <= depthImage; appearance:colorImage <= colorImage;
    candidates:cameraPositionTorso <= cameraPositionTorso; robot:in <= cameraPositionRobot;
    candidates:cameraPositionWorld <= cameraPositionWorld; candidates:heightOffset <= heightOffset;
    tracker:maxSpeed(8.0) <= maxSpeed; tracker:persistenceNonVisible(3.0) <= persistenceNonVisible;
    tracker:persistenceVisible(1.0) <= persistenceVisible; tracker:colorWeight(0.0) <= colorWeight;
    tracker:populationOut => population;
  }
)";

// A process on a filter, whose inputs of known names get what the robot sees.
std::string processOn(const FiltrixPrivate& registry, const std::string& filter, const std::string& output)
{
  static const std::map<std::string, std::string> sources{
      {"depthImage", "SceneDepth"},          {"colorImage", "SceneColor"},
      {"cameraPositionTorso", "SceneTorso"}, {"cameraPositionRobot", "SceneRobot"},
      {"cameraPositionWorld", "SceneWorld"}, {"heightOffset", "SceneHeightOffset"}};
  std::string bindings;
  for (const PortDescription& port : registry.getFilterInputs(filter))
  {
    if (const auto source = sources.find(port.name); source != sources.end())
      bindings += fmt::format("{} <= {}; ", port.name, source->second);
  }
  return fmt::format("process people({}, 8, 1000) {{ {}{} => population; }}", filter, bindings, output);
}

// A filter that is fed with people, or with movements, by another.
std::string fedBy(const std::string& feeder, const std::string& value, const std::string& filter)
{
  std::string text =
      fmt::format("filter Tested {{ {0} feeder; {1} tested; feeder:{2} -> tested:{2}; ", feeder, filter, value);
  for (const char* const input : {"depthImage", "colorImage", "cameraPositionTorso", "cameraPositionRobot",
                                  "cameraPositionWorld", "heightOffset"})
  {
    if (feeder != "MovementDetection3D" || std::string(input) != "colorImage")
      text += fmt::format("feeder:{0} <= {0}; ", input);
  }
  return text + fmt::format("tested:{0} => {0}; }}", value);
}

// What came in the last frame, and in how many frames something held.
class Seen final
{
public:
  Seen(const std::string& scene, double seconds, const std::string& filter, const std::string& output,
       const std::string& more = "")
  {
    SceneRunOptions options;
    options.rate = 10.0;
    const std::string text = "filtrix-scene 1\n" + scene;
    {
      const Session session;
      FiltrixPrivate& registry = session.registry();
      EXPECT_TRUE(registry.loadProgramFromFile("people.fxs"));
      EXPECT_TRUE(more.empty() || registry.loadProgram(more));
      options.program = more + processOn(registry, filter, output);
    }
    SceneRun run(Sim::parseScene(text, "test"), options);
    for (int i = 0; i < static_cast<int>(10.0 * seconds); ++i)
    {
      static_cast<void>(run.step());
      values.push_back(run.session().registry().getLastData("people:population"));
    }
  }

  [[nodiscard]] const DataPtr& last() const { return values.back(); }

  [[nodiscard]] std::ptrdiff_t countOf(const std::function<bool(const DataPtr&)>& holds) const
  {
    return std::ranges::count_if(values, holds);
  }

  [[nodiscard]] People people() const { return elementsOf<Type::Human>(last(), "test"); }

  [[nodiscard]] Objects objects() const { return elementsOf<Type::Object3D>(last(), "test"); }

private:
  std::vector<DataPtr> values;
};

constexpr const char* two = "person near height 1.6 shirt red\nat 0 place 1.8 0.3 face robot look robot\n"
                            "person far height 1.8 shirt green\nat 0 place 2.8 -0.8 face robot look away\n";
constexpr const char* waver = "person waver\nat 0 place 2 0 face robot look robot wave left\n";
constexpr const char* walker = "person walker\nat 0 place 2.5 -1 face robot\nat 0 walk 2.5 1.5 speed 1\n";

bool isEmptyArray(const DataPtr& value)
{
  return value && value->get<DataArray>() != nullptr && value->get<DataArray>()->empty();
}

bool hasElements(const DataPtr& value)
{
  return value && value->get<DataArray>() != nullptr && !value->get<DataArray>()->empty();
}

float distanceOf(const Type::Object3D& object)
{
  const auto millimetres = propertyOf<std::int32_t>(object, Object3DProperty::Distance);
  return millimetres ? 0.001F * static_cast<float>(*millimetres) : 0.0F;
}

float distanceOf(const Type::Human& human)
{
  const auto place = propertyOf<Type::Vector2>(human, HumanProperty::GroundPositionInRobotFrame);
  return place ? std::hypot(place->x, place->y) : 0.0F;
}

TEST(Scenes, SegmentationsCutBodiesApart)
{
  for (const char* const filter : {"Segmentation3D", "ImprovedSegmentation3D"})
  {
    const Seen seen(two, 0.3, filter, "objects");
    std::vector<float> distances;
    for (const auto& object : seen.objects())
    {
      if (propertyOf<Type::Vector2>(*object, Object3DProperty::RealVisibleSize)->y > 1.0F)
        distances.push_back(distanceOf(*object));
    }
    std::ranges::sort(distances);
    ASSERT_GE(distances.size(), 2U) << filter;
    EXPECT_NEAR(distances[0], 1.62F, 0.08F) << filter;
    EXPECT_NEAR(distances[1], 2.62F, 0.08F) << filter;
  }
}

TEST(Scenes, WhatIsCloseIsSeenAlsoWhereNothingIsMeasured)
{
  const Seen lensCap("box 0.35 0 0.5 0.1 2 2 gray\n", 0.3, "ComputeClosePixelsMask", "mask");
  EXPECT_GT(cv::countNonZero(Type::toCvMat(*lensCap.last())), 320 * 240 / 2);
  const Seen room(two, 0.3, "ComputeClosePixelsMask", "mask");
  EXPECT_LT(cv::countNonZero(Type::toCvMat(*room.last())), 320 * 240 / 20);
  const Seen near("box 1.2 0 0 0.3 0.5 1.3 red\n", 0.5, "CloseObjectDetection", "nearest");
  ASSERT_EQ(near.objects().size(), 1U);
  EXPECT_NEAR(distanceOf(*near.objects().front()), 0.99F, 0.05F);
  EXPECT_TRUE(isEmptyArray(Seen(two, 0.5, "CloseObjectDetection", "nearest").last()));
}

TEST(Scenes, TheNearestObjectAndItsTopAreFound)
{
  const Seen nearest(two, 0.5, "TopOfNearestBlob", "nearest");
  ASSERT_EQ(nearest.objects().size(), 1U);
  EXPECT_NEAR(distanceOf(*nearest.objects().front()), 1.62F, 0.08F);
  const Seen top(two, 0.5, "TopOfNearestBlob", "top");
  // 0.3 m to the left at 1.7 m, 0.46 m above the camera.
  EXPECT_NEAR(top.last()->get<Type::Vector2>()->x, 160.0F - 289.0F * 0.3F / 1.7F, 8.0F);
  EXPECT_NEAR(top.last()->get<Type::Vector2>()->y, 120.0F - 289.0F * 0.46F / 1.7F, 8.0F);
}

TEST(Scenes, MovementsAreFoundWhereSomethingMoves)
{
  for (const char* const filter :
       {"ExtractMovementsFromDepthImage", "MovementDetection3D", "MovementDetection", "MovementDetection2D"})
  {
    EXPECT_GE(Seen(walker, 2.0, filter, "movements").countOf(hasElements), 12) << filter;
    // They turn their heads at first.
    EXPECT_LE(Seen(two, 2.0, filter, "movements").countOf(hasElements), 7) << filter;
  }
}

TEST(Scenes, MovementsHaveZones)
{
  const Seen seen("person walker\nat 0 place 1.3 -0.5\nat 0 walk 1.3 0.6 speed 0.5\n", 2.0, "Tested", "movements",
                  fedBy("MovementDetection3D", "movements", "EngagementZonesMovements"));
  const auto isInFirstZone = [](const DataPtr& value)
  {
    const auto movements = elementsOf<Type::Object3D>(value, "test");
    return std::ranges::any_of(movements,
                               [](const auto& movement)
                               {
                                 const auto zone =
                                     propertyOf<std::int32_t>(*movement, Object3DProperty::EngagementZone);
                                 return zone && *zone == 1;
                               });
  };
  EXPECT_GE(seen.countOf(isInFirstZone), 10);
}

// What is said of people who are followed.
Seen said(const std::string& scene, double seconds, const std::string& filter)
{
  return Seen(scene, seconds, "Tested", "population", followed + fedBy("Followed", "population", filter));
}

TEST(Scenes, PeopleHaveZonesFacesAndGaze)
{
  const Seen zones = said(two, 1.0, "EngagementZonesPeople");
  ASSERT_EQ(zones.people().size(), 2U);
  for (const auto& human : zones.people())
    EXPECT_EQ(*propertyOf<std::int32_t>(*human, HumanProperty::EngagementZone), distanceOf(*human) < 2.5F ? 2 : 3);
  const Seen faces = said(two, 1.0, "SwitchFaceDetection");
  const Seen gaze = said(two, 1.0, "GazeAnalysis");
  ASSERT_EQ(faces.people().size(), 2U);
  ASSERT_EQ(gaze.people().size(), 2U);
  for (std::size_t i = 0; i < 2; ++i)
  {
    EXPECT_EQ(isTrue(*faces.people()[i], HumanProperty::FaceDetected), distanceOf(*faces.people()[i]) < 2.0F);
    EXPECT_EQ(isTrue(*gaze.people()[i], HumanProperty::IsLookingAtRobot), distanceOf(*gaze.people()[i]) < 2.0F);
  }
}

TEST(Scenes, PeopleSitStandAndWave)
{
  const Seen sitting = said("person a\nat 0 place 2 0 face robot\nat 1 sit\n", 4.0, "SittingPeopleDetection");
  ASSERT_EQ(sitting.people().size(), 1U);
  EXPECT_EQ(*propertyOf<std::int32_t>(*sitting.people().front(), HumanProperty::PostureState), 2);
  const Seen standing = said("person a\nat 0 place 2 0 face robot\n", 4.0, "SittingPeopleDetection");
  ASSERT_EQ(standing.people().size(), 1U);
  EXPECT_EQ(*propertyOf<std::int32_t>(*standing.people().front(), HumanProperty::PostureState), 1);

  const auto moves = [](const DataPtr& value)
  {
    const auto people = elementsOf<Type::Human>(value, "test");
    return !people.empty() && hasElements(people.front()->getProperty(HumanProperty::AssociatedMovements));
  };
  EXPECT_GE(said(waver, 3.0, "SwitchMovementDetection").countOf(moves), 10);
  const auto waves = [](const DataPtr& value)
  {
    const auto people = elementsOf<Type::Human>(value, "test");
    // His left hand is at the robot's right.
    return !people.empty() && isTrue(*people.front(), HumanProperty::IsWavingRight);
  };
  EXPECT_GE(said(waver, 4.0, "WavingDetection").countOf(waves), 10);
  EXPECT_EQ(said("person a\nat 0 place 2 0 face robot\n", 4.0, "WavingDetection").countOf(waves), 0);
}

TEST(Scenes, TheNearestPersonIsFollowed)
{
  for (const char* const filter :
       {"FastPersonTracking3D", "FastPersonTracking", "FindPersonHead3D", "FastPersonTracking2D"})
  {
    const Seen seen(two, 1.0, filter, "person");
    ASSERT_EQ(seen.people().size(), 1U) << filter;
    const bool isFlat = std::string(filter).ends_with("2D");
    EXPECT_NEAR(distanceOf(*seen.people().front()), 1.825F, isFlat ? 0.3F : 0.06F) << filter;
    const auto head = propertyOf<Type::Vector3>(*seen.people().front(), HumanProperty::Head3DPosition);
    ASSERT_TRUE(head) << filter;
    EXPECT_NEAR(head->z, 1.6F, isFlat ? 0.25F : 0.04F) << filter;
  }
}

TEST(Scenes, FacesAreFoundInColorAlone)
{
  const Seen people(two, 0.5, "PeopleDetection2D", "population");
  ASSERT_EQ(people.people().size(), 1U);
  EXPECT_NEAR(distanceOf(*people.people().front()), 1.825F, 0.35F);
  const Seen heads(two, 0.5, "FindPersonHead2D", "heads");
  const auto images = elementsOf<Type::Object2D>(heads.last(), "test");
  ASSERT_EQ(images.size(), 1U);
  const auto box = propertyOf<Type::Region2>(*images.front(), Object2DProperty::Region2D);
  ASSERT_TRUE(box);
  EXPECT_NEAR(0.5F * (box->start.x + box->end.x), 160.0F - 361.0F * 0.3F / 1.7F, 10.0F);
  // With depth the head is a person's.
  const Seen head(two, 0.5, "FindPersonHead", "head");
  ASSERT_EQ(head.people().size(), 1U);
  EXPECT_NEAR(distanceOf(*head.people().front()), 1.825F, 0.06F);
}

TEST(Scenes, NobodyIsFoundInFurniture)
{
  for (const char* const furniture : {"box 1.6 -0.6 0 0.05 0.35 1.6 gray turn 20\n", "pillar 2 0.3 0.1 1.5 brown\n",
                                      "box 2.2 0 0 0.5 0.5 1.7 wood\n", "chair 1.5 0 black turn 30\n"})
  {
    SceneRun run(Sim::parseScene(std::string("filtrix-scene 1\n") + furniture, "test"), {});
    for (int i = 0; i < 15; ++i)
      EXPECT_TRUE(run.step().found.empty()) << furniture;
  }
}

// Places and heights against the truth, for a head that looks up and down and a body that is near and far.
TEST(Scenes, PlacesAndHeightsAreRightWhereverTheHeadLooks)
{
  int compared = 0;
  for (const bool isPerfect : {true, false})
  {
    for (const int tilt : {-20, -10, 0, 10, 20})
    {
      for (const float distance : {1.2F, 2.0F, 2.8F, 3.5F})
      {
        SceneRunOptions options;
        options.isPerfect = isPerfect;
        SceneRun run(Sim::parseScene(fmt::format("filtrix-scene 1\nhead 0 10 {}\nperson a height 1.72\n"
                                                 "at 0 place {} {} face robot look robot\n",
                                                 tilt, distance, 0.15F * distance),
                                     "test"),
                     options);
        JudgedFrame frame;
        for (int i = 0; i < 6; ++i)
          frame = run.step();
        const Sim::PersonTruth& person = frame.truth.people.front();
        // A head that touches the image's upper border has no known height, and begins no track.
        const float up = std::atan2(person.height - 1.14F, person.distance) * 57.29578F + static_cast<float>(tilt);
        if (!person.headIsVisible || up > 21.0F)
          continue;
        SCOPED_TRACE(fmt::format("tilt {}, {} m, {}", tilt, distance, isPerfect ? "perfect" : "noisy"));
        ASSERT_EQ(frame.found.size(), 1U);
        const PersonView& view = frame.found.front();
        EXPECT_NEAR(*view.distance, person.distance, isPerfect ? 0.05F : 0.10F);
        EXPECT_NEAR(*view.bearing / 57.29578F * person.distance, person.bearing * person.distance,
                    isPerfect ? 0.05F : 0.10F);
        EXPECT_NEAR(*view.height, person.height, isPerfect ? 0.04F : 0.06F);
        ++compared;
      }
    }
  }
  EXPECT_GE(compared, 24);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
