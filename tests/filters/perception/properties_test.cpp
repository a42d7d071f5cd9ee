// Filters talk by properties: each writes exactly those that are its own.

#include "filters/perception/bodykit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Filters;
using ::testing::ContainerEq;
namespace H = HumanProperty;
namespace O = Object3DProperty;

using Keys = std::set<std::int32_t>;

template <typename Holder>
Keys keysOf(const Holder& holder)
{
  Keys keys;
  for (const auto& [key, value] : holder.getProperties())
    keys.insert(key);
  return keys;
}

// What has been added between two moments.
Keys added(const Keys& before, const Keys& after)
{
  Keys keys;
  std::ranges::set_difference(after, before, std::inserter(keys, keys.end()));
  return keys;
}

// A person before a camera, with a colour image of a red shirt.
class Properties : public ::testing::Test
{
protected:
  // Applies a filter to the objects, or to the people, and tells what it has written on them.
  Keys written(const std::shared_ptr<UserFilter>& filter, DataList inputs)
  {
    const auto body = elementsOf<Type::Object3D>(objects, "t").front();
    const Keys before = keysOf(*body);
    inputs.insert(inputs.begin(), objects);
    objects = applyFilter(filter, inputs);
    return added(before, keysOf(*elementsOf<Type::Object3D>(objects, "t").front()));
  }

  struct Written
  {
    Keys human;
    Keys object;
  };

  Written writtenOnPeople(const std::shared_ptr<UserFilter>& filter, DataList inputs)
  {
    const auto human = elementsOf<Type::Human>(people, "t").front();
    const Keys human0 = keysOf(*human);
    const Keys object0 = keysOf(*bodyOf(*human));
    inputs.insert(inputs.begin(), people);
    people = applyFilter(filter, inputs);
    const auto after = elementsOf<Type::Human>(people, "t").front();
    return {added(human0, keysOf(*after)), added(object0, keysOf(*bodyOf(*after)))};
  }

  const Type::Vector6 camera = cameraAt(1.2F, 0.0F);
  const DataPtr depth = depthValue(renderDepth({Body{}}, camera));
  DataPtr objects;
  DataPtr people;
};

TEST_F(Properties, OfObjectsComeFromTheFiltersThatOwnThem)
{
  const DataPtr pose = makeData(camera);
  const DataPtr tables = applyFilter(makeComputeProjectionTables(), {depth});
  const DataPtr standing = applyFilter(makeCutFloor(), {depth, pose, makeData(0.0F), tables, makeData(0.06F)});
  const DataPtr labels = FilterBench(makeLabelize()).first({standing, makeData(std::int32_t{150})});
  objects = applyFilter(makeExtractObjects(), {labels, depth, pose, pose, pose, nullptr});
  const Keys extracted{O::PixelCount,
                       O::ReconstructedDepthImage,
                       O::Mask,
                       O::Distance,
                       O::SizeImage,
                       O::SizeImageOfCamera,
                       O::Region2D,
                       O::CenterOfMass,
                       O::RealVisibleSize,
                       O::TopBorderTouched,
                       O::BottomBorderTouched,
                       O::LeftBorderTouched,
                       O::RightBorderTouched,
                       O::HiddenByOtherBlob,
                       O::CameraPositionTorso,
                       O::CameraPositionRobot,
                       O::CameraPositionWorld,
                       O::TopIsVerticallyOffset};
  EXPECT_THAT(keysOf(*elementsOf<Type::Object3D>(objects, "t").front()), ContainerEq(extracted));
  EXPECT_THAT(written(makeComputeHorizontalHistogram(), {}), ContainerEq(Keys{O::HorizontalHistogram}));
  EXPECT_THAT(written(makeExtractTopOfBlobs(), {}), ContainerEq(Keys{O::TopOfBlob, O::TopOfBlobDist}));
  EXPECT_THAT(written(makeExtractBottomDistance(), {}), ContainerEq(Keys{O::BlobBottomDistance}));
  EXPECT_THAT(written(makeCheckLevitation(), {nullptr}), ContainerEq(Keys{O::IsLevitating}));
  EXPECT_THAT(written(makeCompute3DPositions(), {}),
              ContainerEq(Keys{O::PositionInTorsoFrame, O::PositionInRobotFrame, O::PositionInWorldFrame}));
  const DataPtr again = applyFilter(makeExtractObjects(), {labels, depth, pose, pose, pose, nullptr});
  EXPECT_THAT(written(makeMatchObjects3D(), {again}), ContainerEq(Keys{O::MatchedReference}));
}

TEST_F(Properties, OfPeopleComeFromTheFiltersThatOwnThem)
{
  people = applyFilter(makeCreateHuman(), {findObjects(depth, camera)});
  const auto human = elementsOf<Type::Human>(people, "t").front();
  EXPECT_THAT(keysOf(*human), ContainerEq(Keys{H::Timestamp}));
  EXPECT_EQ(human->getScore(ScoreName::notHiddenByOtherBlob), 1.0F);
  EXPECT_EQ(human->getScore(ScoreName::notLevitating), 1.0F);

  EXPECT_THAT(writtenOnPeople(makeAnalyseBodySize(), {}).human, ContainerEq(Keys{H::BodyWidth, H::ShoulderRoi}));
  const Written heads = writtenOnPeople(makeFindHeads(), {});
  EXPECT_THAT(heads.human, ContainerEq(Keys{H::HeadCount}));
  EXPECT_THAT(heads.object, ContainerEq(Keys{O::PossibleHeads}));
  EXPECT_THAT(writtenOnPeople(makeBodyLimits(), {}).human, ContainerEq(Keys{H::BodyLimit}));
  EXPECT_THAT(writtenOnPeople(makeComputeTopPosition(), {makeData(0.0F)}).human,
              ContainerEq(Keys{H::Head3DPosition, H::GroundPositionInWorldFrame, H::GroundPositionInRobotFrame,
                               H::Height, H::MaxHeight, H::AngularPosition}));

  const cv::Mat shirt(frameHeight, frameWidth, CV_8UC3, cv::Scalar(200, 20, 30));
  const auto image =
      std::make_shared<Type::ColorImage>(shirt, "test", Type::Time(1'000'000), horizontalView, verticalView);
  EXPECT_THAT(writtenOnPeople(makeExtractBodyImage(), {makeData(image)}).human, ContainerEq(Keys{}));
  EXPECT_TRUE(human->hasObject2D(ObjectName::bodyImage));
  EXPECT_THAT(writtenOnPeople(makeExtractTorsoMask(), {}).human,
              ContainerEq(Keys{H::TorsoMask, H::TorsoMaskRoi, H::TorsoMaskRoiInDepthImage}));
  EXPECT_THAT(writtenOnPeople(makeColorDescriptor(), {}).human,
              ContainerEq(Keys{H::ColorDescriptor, H::ColorDescriptorData}));
  EXPECT_THAT(writtenOnPeople(makeSetShirtColorName(), {}).human,
              ContainerEq(Keys{H::ShirtColorName, H::ShirtColorNameHistory, H::ShirtColorHistogram, H::ShirtColor}));
  EXPECT_EQ(*propertyOf<std::string>(*human, H::ShirtColorName), "Red");

  const DataPtr tables = applyFilter(makeComputeProjectionTables(), {depth});
  const DataPtr images = applyFilter(makeComputeProjectionImages(), {tables});
  EXPECT_THAT(writtenOnPeople(makeCompute3DClouds(), {images, makeData(std::int32_t{2})}).object,
              ContainerEq(Keys{O::Cloud3D}));
  EXPECT_THAT(writtenOnPeople(makeExtractMainPlane(), {makeData(std::int32_t{1}), makeData(0.05F)}).object,
              ContainerEq(Keys{O::MainPlaneEquation}));
  EXPECT_THAT(writtenOnPeople(makePostureAnalysis(), {makeData(0.84F)}).human, ContainerEq(Keys{H::PostureState}));
}

// The plane through an upright board is upright, and its points lie on it.
TEST_F(Properties, TellTheMainPlane)
{
  people = applyFilter(makeCreateHuman(),
                       {findObjects(depthValue(renderDepth({{2.0F, 0.0F, 1.6F, 0.3F, 0.0F}}, camera)), camera)});
  const DataPtr images =
      applyFilter(makeComputeProjectionImages(), {applyFilter(makeComputeProjectionTables(), {depth})});
  applyFilter(makeCompute3DClouds(), {people, images, makeData(std::int32_t{1})});
  applyFilter(makeExtractMainPlane(), {people, makeData(std::int32_t{1}), makeData(0.06F)});
  const auto body = bodyOf(*elementsOf<Type::Human>(people, "t").front());
  const auto plane = propertyOf<Type::Vector4>(*body, O::MainPlaneEquation);
  ASSERT_TRUE(plane);
  EXPECT_NEAR(plane->x * plane->x + plane->y * plane->y + plane->z * plane->z, 1.0F, 0.001F);
  EXPECT_NEAR(plane->z, 0.0F, 0.1F);
  EXPECT_LT(plane->x, -0.9F);
  EXPECT_NEAR(plane->w, 1.75F, 0.1F);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
