// A robot that lists sensors no robot has, and processes that come and go a thousand times.

#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "platform/images.h"
#include "platform/motionservice.h"
#include "sources/motionsource.h"
#include "sources/scriptedcamera.h"
#include "sources/vision/cameraaccess.h"
#include "sources/vision/videosourceworker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
namespace
{
using Filtrix::Test::RobotBench;
using Filtrix::Test::ScriptedCamera;
using testing::Contains;
using testing::SizeIs;

constexpr std::size_t framesEach = 3;
constexpr std::size_t cameras = 2;  // are always there

class ListedMotion final : public MotionService
{
public:
  std::vector<std::string> getSensorNames() override { return sensors; }

  std::vector<float> getPosition(const std::string&, MotionFrame, bool) override { return {1, 2, 3, 4, 5, 6}; }

  std::vector<std::string> sensors;
};

struct ListCase
{
  const char* name;
  std::vector<std::string> sensors;
  std::size_t different;
};

std::vector<std::string> many(int count)
{
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i)
    names.push_back("Joint" + std::to_string(i));
  return names;
}

class SensorListTest : public testing::TestWithParam<ListCase>
{
};

TEST_P(SensorListTest, GivesASourceForEachDifferentSensor)
{
  const ku::ManualClock clock;
  RobotBench bench;
  const auto motion = std::make_shared<ListedMotion>();
  motion->sensors = GetParam().sensors;
  bench.host.broker()->add(motion);
  MotionSource source(bench.host.broker(), bench.registry);
  EXPECT_THAT(bench.registry->getSources(), SizeIs(framesEach * (cameras + GetParam().different)));

  // Another robot, after a restart of its service: what is new is there, what has gone stays without values.
  source.stopWorker();
  motion->sensors = {"LFoot"};
  source.startWorker();
  EXPECT_THAT(bench.registry->getSources(), Contains("Motion_LFoot<TORSO>"));
  bench.log.clear();
  bench.read("Motion_CameraTop<ROBOT>");
  EXPECT_TRUE(bench.registry->isProcess("p"));
}

INSTANTIATE_TEST_SUITE_P(Lists, SensorListTest,
                         testing::Values(ListCase{"Empty", {"CameraTop"}, 0},
                                         ListCase{"Twice", {"LFoot", "LFoot", "CameraTop", "LFoot"}, 1},
                                         ListCase{"StrangeNames", {"<", "a<b>", "", "\xff", "a b"}, 5},
                                         ListCase{"Long", many(2000), 2000},
                                         ListCase{"EndlessButForItsLimit", many(10'000), 4096}),
                         [](const auto& row) { return std::string(row.param.name); });

// Programs that toggle a process must not use up the service's subscriptions.
TEST(Flapping, SubscribesAndUnsubscribesEquallyOften)
{
  constexpr const char* sourceName = "VideoDevice_TopCamera<QVGA>";
  constexpr int times = 1000;
  RobotBench bench;
  const auto camera = std::make_shared<ScriptedCamera>();
  std::int64_t time = 0;
  camera->nextImage = [&]
  {
    auto frame = randomImage(320, 240, ColorSpace::rgb);
    frame->setTimestamp(++time);
    return frame;
  };
  bench.host.broker()->add(camera);
  bench.registry->createSource(sourceName);
  bench.read(sourceName);
  VideoSourceWorker<Type::ColorImage> worker(bench.registry, std::make_shared<CameraAccess>(bench.host.broker()),
                                             sourceName, {0, ColorSpace::rgb, 1});
  for (int i = 0; i < times; ++i)
  {
    bench.registry->enableProcess("p");
    worker.step();
    if (i % 100 == 0)
    {
      worker.step();
      EXPECT_TRUE(bench.registry->getSourceData(sourceName)) << "frames are back each time";
    }
    bench.registry->disableProcess("p");
    worker.step();
  }
  const auto calls = camera->calls.take();
  const auto count = [&](const std::string& start)
  { return std::ranges::count_if(calls, [&](const std::string& call) { return call.starts_with(start); }); };
  EXPECT_EQ(count("subscribe"), times);
  EXPECT_EQ(count("unsubscribe"), times);
  EXPECT_EQ(count("get"), count("release"));
}
}  // namespace
}  // namespace ZR::Filtrix
