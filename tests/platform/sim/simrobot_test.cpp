#include "filtrix/cameraformats.h"
#include "filtrix/ku/clock.h"
#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/inprocessbroker.h"
#include "platform/motionservice.h"
#include "platform/sim/simrobot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <string>
#include <thread>

namespace ZR::Sim
{
namespace
{
using namespace std::chrono_literals;

class SimRobot : public testing::Test
{
protected:
  SimRobot() { robot.attach(*host.broker()); }

  template <typename Service>
  std::shared_ptr<Service> service() const
  {
    return std::dynamic_pointer_cast<Service>(host.broker()->find(Service::serviceName));
  }

  ku::ManualClock clock;
  const Robot robot{parseScene("filtrix-scene 1\nhead 0 0 0\nhead 4 40 -20\nperson a\nat 0 place 2 0\n", "test"),
                    {.start = 1'000'000us}};
  Host host;
};

TEST_F(SimRobot, GivesFramesAtTheirRateWithTheClocksTime)
{
  const auto camera = service<CameraService>();
  ASSERT_TRUE(camera->hasDepthCamera());
  EXPECT_EQ(camera->getCameraModel(2), 4);
  const std::string id = camera->subscribeCamera("test", 2, 0, ColorSpace::depth, 10);
  EXPECT_EQ(camera->getImageLocal(id)->timestamp(), 1'000'000);
  camera->releaseImage(id);
  auto next = std::async(std::launch::async, [&] { return camera->getImageLocal(id); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  clock.advance(99ms);
  clock.advance(1ms);
  const auto frame = next.get();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->timestamp(), 1'100'000);
  EXPECT_EQ(frame->width(), 160);
  // Who comes late gets the newest frame.
  clock.advance(930ms);
  EXPECT_EQ(camera->getImageLocal(id)->timestamp(), 2'000'000);
}

TEST_F(SimRobot, WakesWhoWaitsWhenTheSubscriptionEnds)
{
  const auto camera = service<CameraService>();
  const std::string id = camera->subscribeCamera("test", 0, 0, ColorSpace::yuv422, 1);
  ASSERT_TRUE(camera->getImageLocal(id));
  auto next = std::async(std::launch::async, [&] { return camera->getImageLocal(id); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  camera->unsubscribe(id);
  EXPECT_EQ(next.get(), nullptr);
  EXPECT_THROW(static_cast<void>(camera->getImageLocal(id)), std::invalid_argument);
}

TEST_F(SimRobot, RefusesWhatItHasNot)
{
  const auto camera = service<CameraService>();
  EXPECT_THROW(static_cast<void>(camera->subscribeCamera("test", 5, 0, ColorSpace::rgb, 10)), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(camera->subscribeCamera("test", 2, 0, ColorSpace::rgb, 10)), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(camera->subscribeCamera("test", 0, 999, ColorSpace::rgb, 10)), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(service<MotionService>()->getPosition("CameraLeft", MotionFrame::World, true)),
               std::invalid_argument);
  EXPECT_THROW(static_cast<void>(service<AudioService>()->subscribeAudio("test", 100)), std::invalid_argument);
}

TEST_F(SimRobot, TurnsItsHeadWithTime)
{
  const auto motion = service<MotionService>();
  const auto level = motion->getPosition("CameraDepth", MotionFrame::Robot, true);
  EXPECT_NEAR(level[2], 1.14F, 1.0e-4F);
  EXPECT_NEAR(motion->getPosition("CameraDepth", MotionFrame::Torso, true)[2], 0.29F, 1.0e-4F);
  clock.advance(2s);
  const auto turned = motion->getPosition("CameraDepth", MotionFrame::World, true);
  EXPECT_NEAR(turned[5], 20.0F / 57.29578F, 1.0e-4F) << "to the left is positive";
  EXPECT_NEAR(turned[4], -10.0F / 57.29578F, 1.0e-4F) << "up is negative";
}

TEST_F(SimRobot, IsHeard)
{
  const auto audio = service<AudioService>();
  const std::string id = audio->subscribeAudio("test", 16000);
  const auto loudest = [&](std::chrono::seconds until)
  {
    int most = 0;
    for (auto time = 0ms; time < until; time += 20ms)
    {
      clock.advance(20ms);
      const auto block = audio->getBlock(id);
      EXPECT_EQ(block->samples.size(), 320U * block->channels.size());
      most = std::max<int>(most, *std::ranges::max_element(block->samples));
    }
    return most;
  };
  EXPECT_GT(loudest(2s), 6000) << "somebody speaks";
  EXPECT_NEAR(loudest(3s), 0.05 * 32767, 20) << "the tone alone";
}
}  // namespace
}  // namespace ZR::Sim
