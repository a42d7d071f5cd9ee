// From a depth image to people: where they stand, how tall and wide they are, how many heads they have.

#include "filters/perception/bodykit.h"

#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"

#include <opencv2/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Filters;

float floatOf(const Type::Human& human, std::int32_t key)
{
  const auto value = propertyOf<float>(human, key);
  return value ? *value : -1.0F;
}

struct Standing
{
  float x;
  float y;
  float height;
  float pitch;
};

class APerson : public ::testing::TestWithParam<Standing>
{
};

// Without noise within 5 cm on the ground and 4 cm of height, whatever the pitch of the head.
TEST_P(APerson, IsFoundWhereItStandsAndAsTallAsItIs)
{
  const auto& [x, y, height, pitch] = GetParam();
  const Type::Vector6 camera = cameraAt(1.2F, pitch);
  const auto people = findPeople(depthValue(renderDepth({Body{x, y, height}}, camera)), camera);
  ASSERT_EQ(people.size(), 1U);
  const Type::Human& human = *people[0];
  const auto ground = propertyOf<Type::Vector2>(human, HumanProperty::GroundPositionInRobotFrame);
  ASSERT_TRUE(ground);
  EXPECT_LT(std::hypot(ground->x - x, ground->y - y), 0.05F) << ground->x << " " << ground->y;
  EXPECT_NEAR(floatOf(human, HumanProperty::Height), height, 0.04F);
  EXPECT_NEAR(floatOf(human, HumanProperty::BodyWidth), 0.40F, 0.05F);
  EXPECT_EQ(*propertyOf<std::int32_t>(human, HumanProperty::HeadCount), 1);
  EXPECT_FALSE(isTrue(*bodyOf(human), Object3DProperty::HiddenByOtherBlob));
}

INSTANTIATE_TEST_SUITE_P(AtAllDistances, APerson,
                         ::testing::Values(Standing{1.5F, 0.0F, 1.60F, 0.0F}, Standing{2.5F, 0.6F, 1.75F, 0.0F},
                                           Standing{3.5F, -0.8F, 1.90F, 0.0F}, Standing{3.0F, 0.3F, 1.40F, 0.30F},
                                           Standing{2.0F, -0.3F, 1.75F, -0.349F}, Standing{3.5F, 0.5F, 1.55F, 0.17F}));

TEST(People, WhoStandTogetherAreToldApartByTheirHeads)
{
  const Type::Vector6 camera = cameraAt(1.2F, 0.0F);
  const std::vector<Body> bodies{{2.5F, -0.2F, 1.75F}, {2.5F, 0.2F, 1.65F}};
  const auto people = findPeople(depthValue(renderDepth(bodies, camera)), camera);
  ASSERT_EQ(people.size(), 2U);
  for (const auto& human : people)
  {
    const auto ground = propertyOf<Type::Vector2>(*human, HumanProperty::GroundPositionInRobotFrame);
    ASSERT_TRUE(ground);
    EXPECT_NEAR(std::abs(ground->y), 0.2F, 0.06F);
    EXPECT_EQ(*propertyOf<std::int32_t>(*human, HumanProperty::HeadCount), 1);
  }
}

// Black hair or a belt returns nothing: the rows without depth tear a body in two.
TEST(People, WhoAreTornApartAreOneAgain)
{
  const Type::Vector6 camera = cameraAt(1.2F, 0.0F);
  cv::Mat depth = renderDepth({Body{}}, camera);
  depth.rowRange(130, 142).setTo(0);
  const DataPtr pieces = findObjects(depthValue(depth), camera);
  ASSERT_EQ(pieces->get<DataArray>()->size(), 2U);
  const DataPtr whole = applyFilter(makeReconstructBlobs(), {pieces, makeData(0.25F), makeData(0.3F)});
  ASSERT_EQ(whole->get<DataArray>()->size(), 1U);
  // Two bodies a metre apart stay two.
  const DataPtr apart = findObjects(depthValue(renderDepth({{2.5F, -0.5F}, {2.5F, 0.5F}}, camera)), camera);
  EXPECT_EQ(applyFilter(makeReconstructBlobs(), {apart, makeData(0.25F), makeData(0.3F)})->get<DataArray>()->size(),
            2U);
}

TEST(People, WhoStandBehindOthersCountAsHiddenOnceTooLittleIsSeen)
{
  const Type::Vector6 camera = cameraAt(1.2F, 0.0F);
  const auto hiddenOf = [&](const std::vector<Body>& bodies)
  {
    const auto objects = elementsOf<Type::Object3D>(findObjects(depthValue(renderDepth(bodies, camera)), camera), "t");
    return isTrue(*objects.back(), Object3DProperty::HiddenByOtherBlob);
  };
  EXPECT_FALSE(hiddenOf({{3.0F, 0.0F}}));
  EXPECT_TRUE(hiddenOf({{3.0F, 0.0F}, {1.8F, 0.12F}}));
  EXPECT_FALSE(hiddenOf({{3.0F, 0.0F}, {1.8F, 0.6F}}));
}

TEST(Objects, ThatHangInTheAirLevitateUnlessSomethingHidesWhatIsBelow)
{
  const Type::Vector6 camera = cameraAt(1.2F, 0.0F);
  const auto levitates = [&](const std::vector<Body>& bodies)
  {
    const DataPtr objects = findObjects(depthValue(renderDepth(bodies, camera)), camera);
    applyFilter(makeCheckLevitation(), {objects, makeData(true)});
    return isTrue(*elementsOf<Type::Object3D>(objects, "t").back(), Object3DProperty::IsLevitating);
  };
  const Body lamp{3.0F, 0.0F, 1.6F, 0.25F, 0.0F, 1.0F};
  EXPECT_TRUE(levitates({lamp}));
  EXPECT_FALSE(levitates({Body{3.0F, 0.0F, 1.7F}}));
  EXPECT_FALSE(levitates({lamp, Body{2.2F, 0.0F, 1.05F, 0.5F, 0.0F}}));  // behind a counter
}

TEST(Objects, ThatAreTooHighAreLeftOut)
{
  const Type::Vector6 camera = cameraAt(1.2F, -0.2F);
  const DataPtr objects =
      findObjects(depthValue(renderDepth({{3.0F, -0.7F, 2.6F, 0.3F, 0.0F}, {3.0F, 0.7F, 1.8F}}, camera)), camera);
  ASSERT_EQ(objects->get<DataArray>()->size(), 2U);
  const DataPtr kept = applyFilter(makeRemoveTooHighObjects(), {objects, makeData(0.0F), makeData(2.3F)});
  EXPECT_EQ(kept->get<DataArray>()->size(), 1U);
}

TEST(Floor, IsCutWhateverTheCameraDoesAndAlsoWhenItsPoseIsALittleWrong)
{
  for (const float pitch : {0.1F, 0.3F, 0.5F})
  {
    const DataPtr depth = depthValue(renderDepth({}, cameraAt(1.2F, pitch)));
    const DataPtr tables = applyFilter(makeComputeProjectionTables(), {depth});
    const DataPtr pose = makeData(cameraAt(1.2F, pitch + 0.017F));
    const DataPtr kept = applyFilter(makeCutFloor(), {depth, pose, makeData(0.0F), tables, makeData(0.06F)});
    cv::Mat near = Type::toCvMat(*depth) < 4000;
    const int floor = cv::countNonZero(near & (Type::toCvMat(*depth) > 0));
    const int left = cv::countNonZero(near & (Type::toCvMat(*kept) > 0));
    EXPECT_LT(left, floor / 100) << "pitch " << pitch;
  }
}

// What comes from elsewhere may lack everything: no crash, and a word in the log.
TEST(BodyFilters, SurviveObjectsAndPeopleThatKnowNothing)
{
  const ku::log::Capture log;
  const FilterShelf shelf;
  const auto empty = std::make_shared<Type::Object3D>();
  const auto person = std::make_shared<Type::Human>(1, "x");
  const auto bodiless = std::make_shared<Type::Human>(2, "y");
  person->setObject3D(ObjectName::object3D, empty);
  const DataPtr objects = makeData(DataArray{makeData(empty), nullptr, makeData(1.0F)});
  const DataPtr people = makeData(DataArray{makeData(person), makeData(bodiless), nullptr, makeData(1.0F)});
  const DataPtr one = makeData(1.0F);
  for (const auto make : {&makeComputeHorizontalHistogram, &makeExtractTopOfBlobs, &makeExtractBottomDistance,
                          &makeCreateHuman, &makeCompute3DPositions})
    FilterBench(make()).first({objects});
  for (const auto make :
       {&makeAnalyseBodySize, &makeFindHeads, &makeBodyLimits, &makeExtractTorsoMask, &makeColorDescriptor,
        &makeSetShirtColorName, &makeDisplayHuman, &makeDisplayHumanHistograms, &makeDisplayAssociatedMovements})
    FilterBench(make()).first({people});
  FilterBench(makeSplitHumans(shelf)).first({people});
  FilterBench(makeComputeTopPosition()).first({people, one});
  FilterBench(makePostureAnalysis()).first({people, one});
  FilterBench(makeReconstructBlobs()).first({objects, one, one});
  FilterBench(makeRemoveTooHighObjects()).first({objects, one, one});
  FilterBench(makeApplyVerticalOffset()).first({objects, one});
  FilterBench(makeMatchObjects3D()).first({objects, objects});
  FilterBench(makeNearestObject()).first({objects, nullptr, nullptr});
  FilterBench(makeCheckLevitation()).first({objects, nullptr});
  FilterBench(makeDisplayObjects()).first({objects});
  EXPECT_FALSE(FilterBench(makeFindHeads()).first({one}));  // no array at all
  EXPECT_THAT(log.texts("vision.filter.findheads"), ::testing::Not(::testing::IsEmpty()));
}

// A person sits when its height falls below the share of its greatest height for long enough.
TEST(Posture, ChangesOnceItHasLasted)
{
  ku::ManualClock clock;
  FilterBench posture(makePostureAnalysis());
  const auto human = std::make_shared<Type::Human>(7, "");
  human->setProperty(HumanProperty::MaxHeight, makeData(1.8F));
  const DataPtr people = makeData(DataArray{makeData(human)});
  const auto stateAt = [&](float height)
  {
    human->setProperty(HumanProperty::Height, makeData(height));
    posture({people, makeData(0.84F)});
    clock.advance(std::chrono::milliseconds(400));
    return *propertyOf<std::int32_t>(*human, HumanProperty::PostureState);
  };
  EXPECT_EQ(stateAt(1.78F), 1);
  EXPECT_EQ(stateAt(1.35F), 1);
  EXPECT_EQ(stateAt(1.35F), 1);
  EXPECT_FALSE(human->hasProperty(HumanProperty::JustSatDown));
  EXPECT_EQ(stateAt(1.35F), 2);
  EXPECT_TRUE(isTrue(*human, HumanProperty::JustSatDown));
  EXPECT_EQ(stateAt(1.60F), 2);  // between the two bounds nothing changes
  EXPECT_FALSE(human->hasProperty(HumanProperty::JustSatDown));
  EXPECT_EQ(stateAt(1.75F), 2);
  EXPECT_EQ(stateAt(1.75F), 2);
  EXPECT_EQ(stateAt(1.75F), 1);
  EXPECT_TRUE(isTrue(*human, HumanProperty::JustStoodUp));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
