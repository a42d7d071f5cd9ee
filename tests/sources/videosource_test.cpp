#include "sources/vision/videosource.h"

#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "sources/scriptedcamera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <atomic>
#include <set>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
using Filtrix::Test::Gate;
using Filtrix::Test::RobotBench;
using Filtrix::Test::ScriptedCamera;
using testing::Contains;
using testing::HasSubstr;

TEST(VideoSourceName, SaysCameraAndResolution)
{
  const std::tuple<int, int, int, const char*> names[] = {
      {0, 11, 7, "VideoDevice_TopCamera<QQQVGA>"},   {1, 11, 0, "VideoDevice_BottomCamera<QQVGA>"},
      {2, 17, 1, "VideoDevice_DepthCamera<QVGA>"},   {2, 21, 2, "VideoDevice_DistanceCamera<VGA>"},
      {2, 20, 12, "VideoDevice_IRCamera<QQQQ720p>"}, {2, 19, 11, "VideoDevice_unknown<QQQ720p>"},
      {3, 11, 10, "VideoDevice_LeftCamera<QQ720p>"}, {4, 11, 9, "VideoDevice_unknown<Q720p>"},
      {0, 11, 5, "VideoDevice_TopCamera<720p>"},     {0, 11, 3, "VideoDevice_TopCamera<4VGA>"},
      {0, 11, 4, "VideoDevice_TopCamera<16VGA>"},    {0, 11, 13, "VideoDevice_TopCamera<unknown>"}};
  for (const auto& [camera, colorSpace, resolution, name] : names)
    EXPECT_EQ(VideoSource::sourceName(camera, colorSpace, resolution), name);
}

class VideoSourceTest : public testing::Test
{
protected:
  void begin()
  {
    if (!bench.host.broker()->find(CameraService::serviceName))
      bench.host.broker()->add(camera);
    source = std::make_unique<VideoSource>(bench.host.broker(), bench.registry);
  }

  const std::shared_ptr<ScriptedCamera> camera = std::make_shared<ScriptedCamera>();
  RobotBench bench;
  std::unique_ptr<VideoSource> source;
};

struct RobotCase
{
  const char* name;
  bool hasDepth;
  int model;
  std::set<std::string> families;  // of cameras: "DepthCamera VGA"
  const char* depthAlias;          // empty: none
  bool isDepthDummy;
};

class RobotModelTest : public VideoSourceTest, public testing::WithParamInterface<RobotCase>
{
};

std::set<std::string> expectedSources(const RobotCase& robot)
{
  std::set<std::string> names;
  const auto add = [&](const std::string& name) { names.insert({name, "Synchronized_" + name}); };
  for (const std::string& family : robot.families)
  {
    const std::string camera = "VideoDevice_" + family.substr(0, family.find(' '));
    names.insert(camera);  // the alias
    if (family.ends_with("VGA"))
      for (const char* const word : {"QQQVGA", "QQVGA", "QVGA", "VGA"})
        add(camera + "<" + word + ">");
    else
      for (const char* const word : {"QQQQ720p", "QQQ720p", "QQ720p", "Q720p", "720p"})
        add(camera + "<" + word + ">");
  }
  return names;
}

TEST_P(RobotModelTest, HasTheSourcesOfItsCameras)
{
  const RobotCase& robot = GetParam();
  camera->hasDepth = [&] { return robot.hasDepth; };
  camera->model = robot.model;
  begin();
  const std::vector<std::string> names = bench.registry->getSources();
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expectedSources(robot));
  if (std::string(robot.depthAlias).empty())
    return;
  const DataPtr blank = bench.registry->getSourceData("VideoDevice_DepthCamera");
  EXPECT_EQ(blank != nullptr, robot.isDepthDummy);
  const DataPtr mark = makeData(5);
  bench.registry->setData(robot.depthAlias, mark);
  EXPECT_EQ(bench.registry->getSourceData("VideoDevice_DepthCamera"), mark);
}

INSTANTIATE_TEST_SUITE_P(
    Robots, RobotModelTest,
    testing::Values(
        RobotCase{"WithoutDepth",
                  false,
                  0,
                  {"TopCamera VGA", "BottomCamera VGA", "DepthCamera VGA", "DistanceCamera VGA", "IRCamera VGA"},
                  "VideoDevice_DepthCamera<QQVGA>",
                  true},
        RobotCase{"StructuredLight",
                  true,
                  4,
                  {"TopCamera VGA", "BottomCamera VGA", "DepthCamera VGA", "DistanceCamera VGA", "IRCamera VGA"},
                  "VideoDevice_DepthCamera<QQVGA>",
                  false},
        RobotCase{"StereoHead",
                  true,
                  7,
                  {"TopCamera VGA", "BottomCamera VGA", "LeftCamera 720p", "DepthCamera 720p", "DistanceCamera 720p",
                   "IRCamera 720p"},
                  "VideoDevice_DepthCamera<QQ720p>",
                  false},
        RobotCase{"OfAnotherModel", true, 5, {"TopCamera VGA", "BottomCamera VGA"}, "", false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VideoSourceTest, ADummyIsABlankDepthImageOfItsSize)
{
  camera->hasDepth = [] { return false; };
  begin();
  for (const auto& [name, width] :
       {std::pair("VideoDevice_DepthCamera<QVGA>", 320), {"VideoDevice_IRCamera<VGA>", 640}})
  {
    const DataPtr value = bench.registry->getSourceData(name);
    ASSERT_TRUE(value);
    const auto* const image = value->get<Type::DepthImage>();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width(), width);
    EXPECT_EQ(image->height(), width * 3 / 4);
    EXPECT_EQ(cv::countNonZero(image->cvMat()), 0);
    EXPECT_EQ(image->sourceName(), name);
  }
  EXPECT_THAT(bench.log.texts("filtrix.videosource"),
              Contains("Adding DUMMY worker for source VideoDevice_DepthCamera<QVGA> (colorSpace 17)"));
  EXPECT_THAT(bench.log.texts("filtrix.videosource"),
              Contains("Adding worker for source VideoDevice_TopCamera<QVGA> (colorSpace 11)"));
}

TEST_F(VideoSourceTest, WithoutAServiceProgramsLoadAllTheSame)
{
  source = std::make_unique<VideoSource>(bench.host.broker(), bench.registry);
  EXPECT_THAT(
      bench.log.texts("filtrix.videosource"),
      Contains(testing::MatchesRegex("Can't create proxy on ZRVideoDevice: .* Please verify the autoload.ini.")));
  bench.read("VideoDevice_TopCamera");
  bench.read("VideoDevice_DepthCamera", "15.0", "depth");
}

TEST_F(VideoSourceTest, AServiceThatCannotTellItsCamerasIsAnError)
{
  camera->hasDepth = []() -> bool { throw 7; };
  EXPECT_THROW(begin(), std::exception);
}

TEST_F(VideoSourceTest, BringsFramesToWhoReadsAnAliasAndOnlyThen)
{
  std::atomic<std::int64_t> time = 0;
  camera->nextImage = [&]
  {
    auto frame = std::make_shared<ZRImage>(160, 120, ColorSpace::depth);
    frame->setTimestamp(++time);
    return frame;
  };
  begin();
  bench.read("VideoDevice_DepthCamera");
  const DataPtr value = bench.nextValue("VideoDevice_DepthCamera<QQVGA>");
  ASSERT_TRUE(value);
  EXPECT_NE(value->get<Type::DepthImage>(), nullptr);
  source.reset();
  const auto calls = camera->calls.take();
  EXPECT_EQ(calls.front(), "subscribe VideoDevice_DepthCamera<QQVGA> 2 0 17 15");
  EXPECT_THAT(calls, Contains("unsubscribe id").Times(1));
  EXPECT_THAT(calls, Contains(testing::StartsWith("subscribe")).Times(1));
}

TEST_F(VideoSourceTest, EndsThoughTheServiceIsStuck)
{
  const auto gate = std::make_shared<Gate>();
  camera->nextImage = [gate]
  {
    gate->pass();
    auto frame = std::make_shared<ZRImage>(320, 240, ColorSpace::rgb);
    frame->setTimestamp(5);
    return frame;
  };
  begin();
  bench.read("VideoDevice_TopCamera<QVGA>");
  ASSERT_TRUE(gate->waitForOne());
  const auto before = std::chrono::steady_clock::now();
  source.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
  EXPECT_THAT(bench.log.texts("filtrix.sourceworkers"),
              Contains(HasSubstr("VideoSourceWorker.VideoDevice_TopCamera<QVGA>: its service has not come back")));
  gate->open();
  EXPECT_FALSE(bench.registry->getSourceData("VideoDevice_TopCamera<QVGA>"));
}

// The usual case: a fetch waits for the next frame, which its end of subscription lets go.
TEST_F(VideoSourceTest, EndsAFetchThatWaitsForAFrame)
{
  const auto gate = std::make_shared<Gate>();
  camera->nextImage = [gate]() -> std::shared_ptr<const ZRImage>
  {
    gate->pass();
    throw std::runtime_error("no subscription");
  };
  camera->onUnsubscribe = [gate] { gate->open(); };
  begin();
  bench.read("VideoDevice_TopCamera<QVGA>");
  ASSERT_TRUE(gate->waitForOne());
  bench.log.clear();
  source.reset();
  EXPECT_THAT(bench.log.texts(), testing::IsEmpty());
}
}  // namespace
}  // namespace ZR::Filtrix
