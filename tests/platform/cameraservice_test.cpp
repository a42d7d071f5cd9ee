#include "platform/cameraservice.h"

#include "platform/images.h"
#include "platform/inprocessbroker.h"
#include "platform/robot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZR
{
namespace
{
class ServicesTest : public testing::Test
{
protected:
  ServicesTest()
  {
    host.broker()->add(camera);
    host.broker()->add(std::make_shared<TestMotion>());
  }

  const std::shared_ptr<TestCamera> camera = std::make_shared<TestCamera>();
  const Host host{"robot"};
};

TEST_F(ServicesTest, ReachTheSameOperationsByTypeAndByName)
{
  const CameraProxy typed(host.broker());
  const ZRProxy named(host.broker(), "ZRVideoDevice");
  EXPECT_TRUE(typed->hasDepthCamera());
  EXPECT_EQ(named.call("hasDepthCamera"), ZRValue(true));
  EXPECT_EQ(named.call("getCameraModel", {2}), ZRValue(typed->getCameraModel(2)));
  EXPECT_EQ(named.call("subscribeCamera", {"me", 2, 1, 17, 30}), ZRValue(typed->subscribeCamera("me", 2, 1, 17, 30)));
  named.call("setFrameRate", {"me", 15});
  EXPECT_EQ(camera->frameRate, 15);
  named.call("releaseImage", {"me"});
  EXPECT_EQ(camera->released, 1);
  EXPECT_EQ(errorOf([&] { named.call("unsubscribe", {"me"}); }), "no subscription \"me\"");
}

TEST_F(ServicesTest, HandAFrameOverAsItIsOrAsAValue)
{
  std::shared_ptr<const ZRImage> frame = randomImage(3, 2, ColorSpace::depth);
  const CameraProxy typed(host.broker());
  EXPECT_EQ(typed->getImageLocal("me"), nullptr);
  EXPECT_TRUE(typed.call("getImageLocal", {"me"}).isNull());
  camera->nextImage = [&] { return frame; };
  EXPECT_EQ(typed->getImageLocal("me"), frame);
  const auto copy = ZRImage::fromZRValue(typed.call("getImageLocal", {"me"}));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->header(), frame->header());
  EXPECT_EQ(pixelsOf(*copy), pixelsOf(*frame));
}

TEST_F(ServicesTest, TakeTheFrameOfAPositionByItsNumber)
{
  const MotionProxy motion(host.broker());
  EXPECT_EQ(motion.call("getPosition", {"CameraTop", 2, true}), ZRValue::array(2.0F, 1.0F, 0.0F, 0.0F, 0.0F, 0.0F));
  EXPECT_EQ(motion.call("getSensorNames"), ZRValue::array("CameraTop", "CameraDepth"));
  EXPECT_EQ(errorOf(
                [&] {
                  motion.call("getPosition", {"CameraTop", 3, true});
                }),
            "frame 3, expected 0 (torso), 1 (world) or 2 (robot)");
}

TEST_F(ServicesTest, RefuseToBeWhatTheyAreNot)
{
  EXPECT_EQ(errorOf([&] { CameraProxy(host.broker(), "ZRMotion"); }), "\"ZRMotion\" is not a camera service");
}
}  // namespace
}  // namespace ZR
