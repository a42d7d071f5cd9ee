#include "platform/fault/faultservices.h"

#include "platform/images.h"
#include "platform/robot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <future>

namespace ZR::Fault
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class FaultTest : public testing::Test
{
protected:
  FaultTest()
  {
    inner->nextImage = [this]
    {
      std::shared_ptr<ZRImage> frame = randomImage(6, 4, ColorSpace::rgb);
      frame->setTimestamp(1000 * ++shown);
      return frame;
    };
  }

  [[nodiscard]] std::int64_t nextTime() { return camera.getImageLocal("me")->timestamp(); }

  const std::shared_ptr<TestCamera> inner = std::make_shared<TestCamera>();
  const std::shared_ptr<Faults> faults = std::make_shared<Faults>();
  FaultCamera camera{inner, faults};
  FaultMotion motion{std::make_shared<TestMotion>(), faults};
  std::atomic<std::int64_t> shown = 0;
};

TEST_F(FaultTest, PassesEverythingOnWhileNothingIsWrong)
{
  EXPECT_TRUE(camera.hasDepthCamera());
  EXPECT_EQ(camera.getCameraModel(2), 4);
  EXPECT_EQ(nextTime(), 1000);
  EXPECT_EQ(motion.getPosition("CameraTop", MotionFrame::World, true).size(), 6U);
  EXPECT_EQ(faults->calls(Operation::GetImage), 1U);
}

TEST_F(FaultTest, ThrowsInEveryOperation)
{
  const std::pair<Operation, std::function<void()>> operations[] = {
      {Operation::HasDepthCamera, [&] { static_cast<void>(camera.hasDepthCamera()); }},
      {Operation::GetCameraModel, [&] { static_cast<void>(camera.getCameraModel(2)); }},
      {Operation::SubscribeCamera, [&] { static_cast<void>(camera.subscribeCamera("me", 0, 0, 11, 30)); }},
      {Operation::UnsubscribeCamera, [&] { camera.unsubscribe("me"); }},
      {Operation::GetImage, [&] { static_cast<void>(camera.getImageLocal("me")); }},
      {Operation::ReleaseImage, [&] { camera.releaseImage("me"); }},
      {Operation::SetFrameRate, [&] { camera.setFrameRate("me", 5); }},
      {Operation::GetSensorNames, [&] { static_cast<void>(motion.getSensorNames()); }},
      {Operation::GetPosition, [&] { static_cast<void>(motion.getPosition("a", MotionFrame::World, true)); }}};
  EXPECT_EQ(std::size(operations), operationCount);
  for (const auto& [operation, call] : operations)
  {
    faults->set(operation, Mode::ThrowStd);
    EXPECT_EQ(errorOf(call), "fault: " + std::string(nameOf(operation)) + " throws");
    faults->set(operation, Mode::ThrowOther);
    EXPECT_THROW(call(), int);
    faults->set(operation, Mode::None);
  }
}

TEST_F(FaultTest, GivesNothing)
{
  faults->setAll(Mode::Null);
  EXPECT_EQ(camera.getImageLocal("me"), nullptr);
  EXPECT_EQ(camera.subscribeCamera("me", 0, 0, 11, 30), "");
  EXPECT_FALSE(camera.hasDepthCamera());
  EXPECT_THAT(motion.getSensorNames(), IsEmpty());
  EXPECT_THAT(motion.getPosition("CameraTop", MotionFrame::World, true), IsEmpty());
}

TEST_F(FaultTest, FailsEverySecondTime)
{
  faults->set(Operation::GetImage, Mode::Intermittent);
  for (int i = 0; i < 3; ++i)
  {
    EXPECT_EQ(errorOf([&] { static_cast<void>(nextTime()); }), "no error");
    EXPECT_EQ(errorOf([&] { static_cast<void>(nextTime()); }), "fault: getImageLocal throws now and then");
  }
}

TEST_F(FaultTest, StallsUntilItIsReleased)
{
  faults->set(Operation::GetImage, Mode::Stall);
  auto first = std::async(std::launch::async, [&] { return camera.getImageLocal("me"); });
  auto second = std::async(std::launch::async, [&] { return camera.getImageLocal("me"); });
  ASSERT_TRUE(faults->waitForStalls(2));
  EXPECT_EQ(shown, 0);
  faults->set(Operation::GetPosition, Mode::Null);
  EXPECT_EQ(first.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  faults->set(Operation::GetImage, Mode::None);
  EXPECT_TRUE(first.get());
  EXPECT_TRUE(second.get());
}

TEST_F(FaultTest, IsSlowByTheClock)
{
  ku::ManualClock clock;
  faults->setDelay(std::chrono::seconds(3));
  faults->set(Operation::GetImage, Mode::Slow);
  auto late = std::async(std::launch::async, [&] { return nextTime(); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  clock.advance(std::chrono::seconds(3));
  EXPECT_EQ(late.get(), 1000);
}

TEST_F(FaultTest, SpoilsTheTimeOfFrames)
{
  EXPECT_EQ(nextTime(), 1000);
  faults->set(Operation::GetImage, Mode::RepeatedTime);
  EXPECT_EQ(nextTime(), 2000);
  EXPECT_EQ(nextTime(), 2000);
  faults->set(Operation::GetImage, Mode::TimeBackward);
  const std::int64_t before = nextTime();
  EXPECT_LT(before, 2000);
  EXPECT_LT(nextTime(), before);
  faults->set(Operation::GetImage, Mode::TimeAhead);
  EXPECT_GT(nextTime(), std::int64_t{9} * 365 * 24 * 3600 * 1'000'000);
}

TEST_F(FaultTest, SpoilsWhatItGives)
{
  faults->setAll(Mode::WrongSize);
  for (int i = 0; i < 4; ++i)
  {
    EXPECT_NE(camera.getImageLocal("me")->width(), 6);
    EXPECT_NE(motion.getPosition("CameraTop", MotionFrame::World, true).size(), 6U);
  }
  faults->setAll(Mode::Garbage);
  const auto frame = camera.getImageLocal("me");
  EXPECT_EQ(findCameraColorSpace(frame->colorSpace()), nullptr);
  EXPECT_TRUE(std::isnan(frame->angles().left));
  EXPECT_TRUE(std::isnan(motion.getPosition("CameraTop", MotionFrame::World, true)[0]));
  EXPECT_NE(camera.getCameraModel(2), 4);
}
}  // namespace
}  // namespace ZR::Fault
