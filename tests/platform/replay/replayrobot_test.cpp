#include "platform/replay/replayrobot.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/periodictask.h"
#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/images.h"
#include "platform/inprocessbroker.h"
#include "platform/motionservice.h"
#include "platform/replay/recorder.h"
#include "platform/replay/recordingerror.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <thread>

namespace ZR::Replay
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int qqvga = 0;
constexpr int qqqvga = 7;
constexpr auto frameGap = std::chrono::milliseconds(40);
constexpr int frameCount = 12;
constexpr std::int64_t firstTime = 5'000'000;  // microseconds

std::unique_ptr<ZRImage> frameAt(int number, int colorSpace)
{
  auto frame = randomImage(160, 120, colorSpace, static_cast<unsigned>(number));
  frame->setTimestamp(firstTime + std::int64_t{number} * 40'000);
  return frame;
}

// Colour and depth at every moment, the position and the sound at every other.
void record(const std::filesystem::path& file)
{
  ku::ManualClock clock;
  Recorder recorder(file, {.file = {100'000, std::chrono::seconds(1), true}, .start = std::chrono::seconds(1)});
  for (int i = 0; i < frameCount; ++i)
  {
    recorder.write(0, *frameAt(i, ColorSpace::rgb));
    recorder.write(2, *frameAt(i, ColorSpace::depth));
    if (i % 2 == 0)
    {
      const auto number = static_cast<float>(i);
      recorder.write(PositionKey{"CameraTop", MotionFrame::World, true}, std::vector<float>{number, 0, 0, 0, 0, 0.1F});
      recorder.write(AudioBlock{firstTime + i, 16'000, {"Front"}, {static_cast<std::int16_t>(i)}});
    }
    clock.advance(frameGap);
  }
}

class ReplayRobotTest : public testing::Test
{
protected:
  ReplayRobotTest() { record(file); }

  const TempFolder folder;
  const std::filesystem::path file = folder / "a.mcap";
};

/// Fetches frames back to back, like a live source does, and notes them.
class Watcher final
{
public:
  Watcher(const Host& host, ReplayRobot& robot_, int camera, int colorSpace, int framesPerSecond = 30)
      : robot(robot_), service(host.broker()),
        id(service->subscribeCamera("watcher", camera, qqvga, colorSpace, framesPerSecond))
  {
    task.setUsPeriod(10);
    task.compensateCallbackTime(true);
    task.setCallback([this] { _fetch(); });
    task.start();
  }

  // The robot first: the watcher may wait for a frame that no clock will bring any more.
  ~Watcher()
  {
    robot.stop();
    task.stop();
  }

  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  [[nodiscard]] std::vector<std::vector<std::uint8_t>> seen() const
  {
    const std::lock_guard lock(mutex);
    return frames;
  }

private:
  void _fetch()
  {
    const auto frame = service->getImageLocal(id);
    if (!frame)
      return;
    const std::lock_guard lock(mutex);
    frames.push_back(pixelsOf(*frame));
  }

  ReplayRobot& robot;
  const CameraProxy service;
  const std::string id;
  mutable std::mutex mutex;  // guards the frames
  std::vector<std::vector<std::uint8_t>> frames;
  ku::PeriodicTask task;
};

TEST_F(ReplayRobotTest, StepsWithItsConsumersAndLosesNothing)
{
  for (int run = 0; run < 3; ++run)
  {
    ku::ManualClock clock;
    const Host host("robot");
    ReplayRobot robot(file, {.start = Start::WhenTold});
    robot.attach(*host.broker());
    const Watcher color(host, robot, 0, ColorSpace::rgb);
    const Watcher depth(host, robot, 2, ColorSpace::depth);
    for (std::size_t i = 0; i < frameCount; ++i)
    {
      ASSERT_TRUE(robot.step(clock)) << "moment " << i;
      while (robot.nextTime() && *robot.nextTime() < (i + 1) * frameGap)
        ASSERT_TRUE(robot.step(clock));
      ASSERT_EQ(color.seen().size(), i + 1);
      ASSERT_EQ(depth.seen().size(), i + 1);
      EXPECT_EQ(color.seen().back(), pixelsOf(*frameAt(static_cast<int>(i), ColorSpace::rgb)));
      EXPECT_EQ(depth.seen().back(), pixelsOf(*frameAt(static_cast<int>(i), ColorSpace::depth)));
    }
    EXPECT_FALSE(robot.step(clock));
  }
}

TEST_F(ReplayRobotTest, NamesTheConsumerThatDoesNotComeBack)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file, {.start = Start::WhenTold});
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  static_cast<void>(camera->subscribeCamera("sleeper", 0, qqvga, ColorSpace::rgb, 30));
  EXPECT_EQ(errorOf([&] { robot.step(clock, std::chrono::milliseconds(1)); }),
            "replay: not back for the next moment within 1 ms: sleeper");
}

// What a slow consumer misses is gone, as with a camera.
TEST_F(ReplayRobotTest, GivesTheNewestFrameByTheClock)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file);
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  const std::string id = camera->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30);
  EXPECT_EQ(camera->getImageLocal(id)->timestamp(), firstTime);
  clock.advance(3 * frameGap + frameGap / 2);
  EXPECT_EQ(camera->getImageLocal(id)->timestamp(), firstTime + 3 * 40'000);

  auto next = std::async(std::launch::async, [&] { return camera->getImageLocal(id)->timestamp(); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  clock.advance(frameGap / 2);
  EXPECT_EQ(next.get(), firstTime + 4 * 40'000);
}

TEST_F(ReplayRobotTest, KeepsToTheRateThatIsAskedFor)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file, {.start = Start::WhenTold});
  robot.attach(*host.broker());
  const Watcher slow(host, robot, 0, ColorSpace::rgb, 8);
  while (robot.step(clock))
  {
  }
  EXPECT_EQ(slow.seen().size(), 4U);  // of 12 frames at 25 Hz every third
}

TEST_F(ReplayRobotTest, MakesWhatWasNotRecordedOfWhatWas)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file);
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  const auto gray = camera->getImageLocal(camera->subscribeCamera("me", 0, qqqvga, ColorSpace::gray, 30));
  EXPECT_EQ(gray->width(), 80);
  EXPECT_EQ(gray->nbLayers(), 1);
  EXPECT_EQ(gray->timestamp(), firstTime);
  EXPECT_EQ(camera->getImageLocal(camera->subscribeCamera("me", 2, qqvga, ColorSpace::distance, 30))->colorSpace(),
            ColorSpace::distance);
  EXPECT_THAT(errorOf([&] { static_cast<void>(camera->subscribeCamera("me", 2, qqvga, ColorSpace::infrared, 30)); }),
              HasSubstr("camera 2 was not recorded in color space 20; recorded are: /camera/0/RGB/160x120"));
}

TEST_F(ReplayRobotTest, GoesOnCountingWhenItLoops)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file, {.loop = true});
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  const std::string id = camera->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30);
  clock.advance(std::chrono::hours(1));
  std::int64_t last = 0;
  for (int i = 0; i < 30; ++i)
  {
    const auto frame = camera->getImageLocal(id);
    EXPECT_GT(frame->timestamp(), last);
    EXPECT_TRUE(last == 0 || frame->timestamp() - last <= 80'000);
    last = frame->timestamp();
    clock.advance(frameGap);
  }
  EXPECT_GT(last, firstTime + 3'600'000'000 - 1'000'000);
}

TEST_F(ReplayRobotTest, ReplaysPositionsAndSound)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file);
  robot.attach(*host.broker());
  const MotionProxy motion(host.broker());
  const AudioProxy audio(host.broker());
  EXPECT_THAT(motion->getSensorNames(), ElementsAre("CameraTop"));
  const std::string id = audio->subscribeAudio("me", 16'000);
  clock.advance(5 * frameGap);
  EXPECT_THAT(motion->getPosition("CameraTop", MotionFrame::World, true), ElementsAre(4, 0, 0, 0, 0, 0.1F));
  for (const int sample : {0, 2, 4})
    EXPECT_THAT(audio->getBlock(id)->samples, ElementsAre(sample));
  EXPECT_EQ(errorOf([&] { static_cast<void>(motion->getPosition("CameraTop", MotionFrame::Robot, true)); }),
            "replay: no position was recorded as /motion/CameraTop/robot/measured");
}

TEST_F(ReplayRobotTest, EndsItsConsumersWaits)
{
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file, {.start = Start::WhenTold});
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  const std::string first = camera->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30);
  const std::string second = camera->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30);
  auto closed = std::async(std::launch::async, [&] { return camera->getImageLocal(first); });
  auto stopped = std::async(std::launch::async, [&] { return camera->getImageLocal(second); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
  camera->unsubscribe(first);
  EXPECT_EQ(closed.get(), nullptr);
  robot.stop();
  EXPECT_EQ(stopped.get(), nullptr);
}

// A damaged chunk costs its own frames, and the consumer goes on.
TEST_F(ReplayRobotTest, PassesOverWhatIsDamaged)
{
  auto bytes = readBytes(file);
  bytes[bytes.size() / 3] = static_cast<char>(bytes[bytes.size() / 3] + 1);
  writeBytes(file, bytes);
  const ku::log::Capture log;
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(file, {.start = Start::WhenTold});
  robot.attach(*host.broker());
  {
    const Watcher depth(host, robot, 2, ColorSpace::depth);
    while (robot.step(clock))
    {
    }
    EXPECT_GE(depth.seen().size(), 8U);
    EXPECT_LT(depth.seen().size(), 12U);
  }
  EXPECT_FALSE(log.texts("replay").empty());
}

TEST(ReplayRobot, RefusesAnEmptyRecording)
{
  const TempFolder folder;
  Recorder(folder / "a.mcap").close();
  EXPECT_THAT(errorOf([&] { ReplayRobot(folder / "a.mcap"); }),
              HasSubstr("expected images, sound or positions, came none"));
}
}  // namespace
}  // namespace ZR::Replay
