#include "sources/vision/videosourceworker.h"

#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "filtrix/ku/path.h"
#include "graph/nodesource.h"
#include "platform/images.h"
#include "sources/calibrations.h"
#include "sources/scriptedcamera.h"
#include "sources/synchronizedsource.h"
#include "sources/vision/cameraaccess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
using Filtrix::Test::RobotBench;
using Filtrix::Test::ScriptedCamera;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using Worker = VideoSourceWorker<Type::ColorImage>;
using Frame = std::shared_ptr<const ZRImage>;

constexpr const char* sourceName = "VideoDevice_TopCamera<QVGA>";
constexpr CameraView topView{0, ColorSpace::rgb, 1};

Frame frameAt(std::int64_t time, int width = 320, int height = 240, int colorSpace = ColorSpace::rgb)
{
  auto frame = randomImage(width, height, colorSpace, static_cast<unsigned>(time));
  frame->setTimestamp(time);
  return frame;
}

std::shared_ptr<CameraAccess> addAndAccess(const std::shared_ptr<ScriptedCamera>& camera, const Host& host)
{
  host.broker()->add(camera);
  return std::make_shared<CameraAccess>(host.broker());
}

class VideoSourceWorkerTest : public testing::Test
{
protected:
  VideoSourceWorkerTest()
  {
    bench.registry->createSource(sourceName, source);
    addSynchronizedSource(bench.registry, *source);
    camera->nextImage = [this] { return frameAt(++time); };
  }

  // A worker that is subscribed.
  void begin()
  {
    if (!bench.registry->isProcess("p"))
      bench.read(sourceName);
    worker.step();
    camera->calls.take();
    bench.log.clear();
  }

  [[nodiscard]] DataPtr value() const { return bench.registry->getSourceData(sourceName); }

  [[nodiscard]] std::vector<std::string> log() const { return bench.log.texts("filtrix.videosourceworker"); }

  const std::shared_ptr<ScriptedCamera> camera = std::make_shared<ScriptedCamera>();
  RobotBench bench;
  const NodeSourcePtr source = std::make_shared<NodeSource>(sourceName);
  std::int64_t time = 1000;
  const std::shared_ptr<CameraAccess> access = addAndAccess(camera, bench.host);
  Worker worker{bench.registry, access, sourceName, topView};
};

TEST_F(VideoSourceWorkerTest, SubscribesWhileAProcessWantsTheSource)
{
  worker.step();
  EXPECT_THAT(camera->calls.take(), IsEmpty());

  bench.read(sourceName);
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("subscribe VideoDevice_TopCamera<QVGA> 0 1 11 15"));
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("get id", "release id", "rate id 15"));
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("get id", "release id")) << "the rate is as it should be";
  EXPECT_TRUE(value());

  bench.registry->disableProcess("p");
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("unsubscribe id"));
  EXPECT_FALSE(value());
  worker.step();
  EXPECT_THAT(camera->calls.take(), IsEmpty());

  bench.registry->enableProcess("p");
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("subscribe VideoDevice_TopCamera<QVGA> 0 1 11 15"));
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(VideoSourceWorkerTest, IsWantedThroughAnAliasAndThroughTheSynchronizedSource)
{
  bench.registry->createSourceAlias("Camera", sourceName);
  for (const std::string& other : {std::string("Camera"), SynchronizedSource::nameFor(sourceName)})
  {
    bench.read(other);
    worker.step();
    EXPECT_THAT(camera->calls.take(), ElementsAre(StartsWith("subscribe"))) << other;
    bench.registry->deleteProcess("p");
    worker.step();
    EXPECT_THAT(camera->calls.take(), ElementsAre("unsubscribe id")) << other;
  }
}

TEST_F(VideoSourceWorkerTest, RestsWhileNobodyWantsItAndWhenNothingIsNew)
{
  using std::chrono::milliseconds;
  EXPECT_GE(worker.step(), milliseconds(50)) << "unwanted";
  begin();
  EXPECT_LT(worker.step(), milliseconds(1)) << "the fetch gives the pace";
  camera->nextImage = [this] { return frameAt(time); };
  EXPECT_GE(worker.step(), milliseconds(1)) << "the same frame again";
  camera->nextImage = [] { return nullptr; };
  EXPECT_GE(worker.step(), milliseconds(10)) << "no frame";
}

TEST_F(VideoSourceWorkerTest, DeliversTheFrameWithItsTimeAndView)
{
  begin();
  Frame frame = frameAt(123'456'789);
  const std::vector<std::uint8_t> pixels = pixelsOf(*frame);
  camera->nextImage = [&] { return std::exchange(frame, nullptr); };
  worker.step();
  const DataPtr data = value();
  ASSERT_TRUE(data);
  EXPECT_EQ(data->timestamp(), Time(123'456'789));
  const auto* const image = data->get<Type::ColorImage>();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(std::vector<std::uint8_t>(image->data(), image->data() + 320 * 240 * 3), pixels) << "the record is gone";
  EXPECT_EQ(image->sourceName(), sourceName);
  EXPECT_EQ(image->timestamp(), Time(123'456'789));
  EXPECT_FLOAT_EQ(image->horizontalFov(), 1.0F);
  EXPECT_FLOAT_EQ(image->verticalFov(), 0.5F);
}

TEST_F(VideoSourceWorkerTest, DeliversEachFrameOnce)
{
  begin();
  std::vector<std::int64_t> delivered;
  for (const std::int64_t at : {500, 500, 700, 300, 300, 301})
  {
    camera->nextImage = [=] { return frameAt(at); };
    const std::uint64_t before = source->getVersion();
    worker.step();
    if (source->getVersion() != before)
      delivered.push_back(at);
  }
  EXPECT_THAT(delivered, ElementsAre(500, 700, 300, 301)) << "time may go back, but not stand still";
  const auto calls = camera->calls.take();
  EXPECT_EQ(std::ranges::count(calls, "get id"), 6);
  EXPECT_EQ(std::ranges::count(calls, "release id"), 6);
}

struct RateCase
{
  const char* frequency;
  int subscribed;
  int rate;
};

class FrameRateTest : public VideoSourceWorkerTest, public testing::WithParamInterface<RateCase>
{
};

TEST_P(FrameRateTest, FollowsTheFastestReader)
{
  bench.read(sourceName, "0.1", "slow");
  bench.read(sourceName, GetParam().frequency);
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre(testing::EndsWith(fmt::format("11 {}", GetParam().subscribed))));
  worker.step();
  EXPECT_THAT(camera->calls.take(), Contains(fmt::format("rate id {}", GetParam().rate)));
}

INSTANTIATE_TEST_SUITE_P(Frequencies, FrameRateTest,
                         testing::Values(RateCase{"0.4", 1, 1}, RateCase{"10.6", 10, 11}, RateCase{"29.9", 29, 30},
                                         RateCase{"45.0", 45, 30}, RateCase{"1000000000000.0", 1000, 30}));

TEST_F(VideoSourceWorkerTest, AsksForANewRateUntilItIsTaken)
{
  begin();
  worker.step();
  camera->calls.take();
  bench.registry->setProcessFrequency("p", 20.0F);
  camera->onRate = [] { throw std::runtime_error("not now"); };
  worker.step();
  EXPECT_THAT(camera->calls.take(), Contains("rate id 20"));
  EXPECT_THAT(log(), ElementsAre("Can't adapt the frame rate: not now"));
  camera->onRate = [] {};
  worker.step();
  EXPECT_THAT(camera->calls.take(), Contains("rate id 20"));
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre("get id", "release id"));
}

struct FaultCase
{
  const char* name;
  std::function<Frame()> nextImage;
  std::string log;  // what it begins with; empty: nothing is told
  int releases;
};

class VideoFaultTest : public VideoSourceWorkerTest, public testing::WithParamInterface<FaultCase>
{
};

TEST_P(VideoFaultTest, CostsARoundAndNoMore)
{
  begin();
  const auto sound = camera->nextImage;
  camera->nextImage = GetParam().nextImage;
  for (int i = 0; i < 50; ++i)
    worker.step();
  EXPECT_FALSE(value());
  if (GetParam().log.empty())
    EXPECT_THAT(log(), IsEmpty());
  else
    EXPECT_THAT(log(), ElementsAre(StartsWith(GetParam().log))) << "told once, not thirty times a second";
  EXPECT_EQ(std::ranges::count(camera->calls.take(), "release id"), 50 * GetParam().releases);

  camera->nextImage = sound;
  worker.step();
  EXPECT_TRUE(value());
}

Frame on(std::int64_t at, int width, int height, int colorSpace)
{
  return frameAt(at, width, height, colorSpace);
}

std::int64_t nextTime()
{
  static std::int64_t time = 1'000'000;
  return ++time;
}

INSTANTIATE_TEST_SUITE_P(
    Faults, VideoFaultTest,
    testing::Values(
        FaultCase{"Throws", []() -> Frame { throw std::runtime_error("broken"); },
                  "Error when calling ZRVideoDevice::getImageLocal: broken", 0},
        FaultCase{"ThrowsAnything", []() -> Frame { throw 7; }, "Error when calling ZRVideoDevice::getImageLocal: ", 0},
        FaultCase{"GivesNothing", [] { return nullptr; }, "", 0},
        FaultCase{"GivesNoTime", [] { return frameAt(0); }, "", 1},
        FaultCase{"NoPixels", [] { return on(nextTime(), 0, 0, ColorSpace::rgb); },
                  "Can't grab image ! : expected 320 x 240 in colour space 11, came 0 x 0 in 11", 1},
        FaultCase{"TooNarrow", [] { return on(nextTime(), 319, 240, ColorSpace::rgb); },
                  "Can't grab image ! : expected 320 x 240", 1},
        FaultCase{"TooLarge", [] { return on(nextTime(), 640, 480, ColorSpace::rgb); },
                  "Can't grab image ! : expected 320 x 240", 1},
        FaultCase{"OtherColours", [] { return on(nextTime(), 320, 240, ColorSpace::bgr); },
                  "Can't grab image ! : expected 320 x 240 in colour space 11, came 320 x 240 in 13", 1},
        FaultCase{"FewerBytes", [] { return on(nextTime(), 320, 240, ColorSpace::gray); }, "Can't grab image ! : ", 1},
        FaultCase{"FewerLayersThanItsColours",
                  []
                  {
                    ZRImageHeader header = frameAt(nextTime())->header();
                    header.nbLayers = 1;
                    header.colorSpace = 99;
                    return std::make_shared<const ZRImage>(header);
                  },
                  "Can't grab image ! : ", 1}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VideoSourceWorkerTest, AFrameThatCannotBeGivenBackIsDelivered)
{
  begin();
  camera->onRelease = [] { throw std::runtime_error("lost"); };
  worker.step();
  EXPECT_TRUE(value());
  EXPECT_THAT(log(), ElementsAre("Error when calling ZRVideoDevice::releaseImage: lost"));
}

TEST_F(VideoSourceWorkerTest, AFailedUnsubscribeIsOverAllTheSame)
{
  begin();
  worker.step();
  camera->onUnsubscribe = [] { throw std::runtime_error("lost"); };
  bench.registry->disableProcess("p");
  worker.step();
  EXPECT_FALSE(value());
  EXPECT_THAT(log(), ElementsAre("Error when calling ZRVideoDevice::unsubscribe: lost"));
  bench.registry->enableProcess("p");
  camera->calls.take();
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre(StartsWith("subscribe")));
}

struct SubscribeFault
{
  std::function<std::string()> subscribe;
  const char* log;
};

class SubscribeFaultTest : public VideoSourceWorkerTest, public testing::WithParamInterface<SubscribeFault>
{
};

TEST_P(SubscribeFaultTest, IsForGood)
{
  camera->subscribe = GetParam().subscribe;
  begin();
  bench.log.clear();
  camera->subscribe = [] { return "id"; };
  for (int i = 0; i < 3; ++i)
  {
    worker.step();
    worker.step();
    bench.registry->disableProcess("p");
    worker.step();
    bench.registry->enableProcess("p");
  }
  EXPECT_THAT(camera->calls.take(), IsEmpty());
  EXPECT_FALSE(value());
  EXPECT_EQ(worker.getFigures().state, SourceState::Failed);
  EXPECT_EQ(worker.getFigures().failures, 1U);
}

TEST_P(SubscribeFaultTest, IsTold)
{
  camera->subscribe = GetParam().subscribe;
  bench.read(sourceName);
  worker.step();
  EXPECT_THAT(log(), ElementsAre(GetParam().log));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SubscribeFaultTest,
    testing::Values(SubscribeFault{[] { return std::string(); }, "Error when calling ZRVideoDevice::subscribeCamera."},
                    SubscribeFault{[]() -> std::string { throw std::runtime_error("no camera 0"); },
                                   "Error when calling ZRVideoDevice::subscribeCamera: no camera 0"}));

TEST_F(VideoSourceWorkerTest, WaitsInSilenceForAServiceThatComesLater)
{
  bench.host.broker()->remove(CameraService::serviceName);
  const auto noAccess = std::make_shared<CameraAccess>(bench.host.broker());
  Worker late(bench.registry, noAccess, sourceName, topView);
  bench.log.clear();
  bench.read(sourceName);
  for (int i = 0; i < 3; ++i)
    EXPECT_GE(late.step(), std::chrono::milliseconds(50));
  EXPECT_EQ(late.getFigures().state, SourceState::Waiting);
  EXPECT_THAT(log(), IsEmpty());
  bench.host.broker()->add(camera);
  for (int i = 0; i < 3; ++i)
    late.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre(StartsWith("subscribe"), "get id", "release id", "rate id 15"));
  EXPECT_TRUE(value());
}

// A service that is started anew knows nothing of the subscriptions of before.
TEST_F(VideoSourceWorkerTest, SubscribesAnewToAServiceThatHasComeBack)
{
  ku::ManualClock clock;
  const auto stepFor = [&](std::chrono::seconds length)
  {
    const auto end = ku::Clock::now() + length;
    while (ku::Clock::now() < end)
      clock.advance(std::max(worker.step(), std::chrono::microseconds(100'000)));
  };
  begin();
  worker.step();
  ASSERT_TRUE(value());
  for (int times = 0; times < 50; ++times)
  {
    bench.host.broker()->remove(CameraService::serviceName);
    stepFor(std::chrono::seconds(times % 5));
    const auto restarted = std::make_shared<ScriptedCamera>();
    restarted->subscribe = [times] { return "again" + std::to_string(times); };
    restarted->nextImage = [this] { return frameAt(++time); };
    restarted->refuseUnknown = true;
    bench.host.broker()->add(restarted);
    stepFor(std::chrono::seconds(5));
    ASSERT_TRUE(value()) << "time " << times;
    EXPECT_EQ(value()->timestamp(), Time(time));
    const auto calls = restarted->calls.take();
    EXPECT_EQ(std::ranges::count_if(calls, [](const auto& call) { return call.starts_with("subscribe "); }), 1);
  }
  EXPECT_THAT(log(), testing::SizeIs(testing::Le(4 * 50))) << "some lines each time, not one for each fetch";
}

TEST_F(VideoSourceWorkerTest, ShowsNothingWhileTheServiceIsGone)
{
  ku::ManualClock clock;
  begin();
  worker.step();
  ASSERT_TRUE(value());
  camera->nextImage = []() -> Frame { throw std::runtime_error("broken"); };
  camera->subscribe = []() -> std::string { throw std::runtime_error("no camera 0"); };
  camera->calls.take();
  worker.step();
  clock.advance(std::chrono::milliseconds(999));
  worker.step();
  EXPECT_TRUE(value()) << "it may still be a hitch";
  clock.advance(std::chrono::milliseconds(1));
  worker.step();
  EXPECT_FALSE(value());
  EXPECT_THAT(camera->calls.take(), ElementsAre("get id", "get id", "get id", "unsubscribe id"));
  for (int i = 0; i < 10; ++i)
    EXPECT_GE(worker.step(), std::chrono::milliseconds(500)) << "unlike a first subscription it is tried again";
  camera->subscribe = [] { return "other"; };
  camera->nextImage = [this] { return frameAt(++time); };
  worker.step();
  worker.step();
  EXPECT_TRUE(value());
  EXPECT_THAT(log(),
              ElementsAre("Error when calling ZRVideoDevice::getImageLocal: broken",
                          std::string(sourceName) + ": fetching frames has failed for 1 s; the subscription counts "
                                                    "as lost, and is made anew.",
                          "Error when calling ZRVideoDevice::subscribeCamera: no camera 0"));
}

TEST_F(VideoSourceWorkerTest, TellsHowItStandsWithItsService)
{
  ku::ManualClock clock;
  const auto expect = [&](SourceState state, std::uint64_t values, std::uint64_t failures, std::uint64_t refused)
  {
    const SourceFigures figures = worker.getFigures();
    EXPECT_EQ(figures.name, sourceName);
    EXPECT_EQ(figures.state, state);
    EXPECT_EQ(figures.values, values);
    EXPECT_EQ(figures.failures, failures);
    EXPECT_EQ(figures.refused, refused);
  };
  worker.step();
  expect(SourceState::Unwanted, 0, 0, 0);
  begin();
  expect(SourceState::Subscribed, 0, 0, 0);
  EXPECT_FALSE(worker.getFigures().age);
  worker.step();
  camera->nextImage = [] { return frameAt(5000, 160, 120); };
  worker.step();
  expect(SourceState::Subscribed, 1, 0, 1);
  for (int hour = 1; hour < 4; ++hour)
  {
    clock.advance(std::chrono::hours(1));  // the frame stays the same
    worker.step();
    EXPECT_EQ(worker.getFigures().age, std::chrono::hours(hour));
  }
  camera->nextImage = []() -> Frame { throw std::runtime_error("broken"); };
  worker.step();
  clock.advance(std::chrono::seconds(1));
  worker.step();
  expect(SourceState::Lost, 1, 2, 1);
  camera->subscribe = []() -> std::string { throw std::runtime_error("no camera 0"); };
  worker.step();
  expect(SourceState::Lost, 1, 3, 1);
  bench.registry->disableProcess("p");
  worker.step();
  expect(SourceState::Unwanted, 1, 3, 1);
}

TEST_F(VideoSourceWorkerTest, TellsOnceThatTimesGoBack)
{
  begin();
  for (const std::int64_t at : {5000, 6000, 4000, 7000, 3000})
  {
    camera->nextImage = [at] { return frameAt(at); };
    worker.step();
    ASSERT_TRUE(value());
    EXPECT_EQ(value()->timestamp(), Time(at));
  }
  EXPECT_THAT(log(), ElementsAre(std::string(sourceName) + ": the times of the frames go back, from 6000 to 4000 us"));
}

TEST_F(VideoSourceWorkerTest, NothingComesOutOnceItIsClosed)
{
  begin();
  camera->nextImage = [this]
  {
    worker.close();  // while the frame is on its way
    return frameAt(++time);
  };
  worker.step();
  EXPECT_FALSE(value());
  worker.close();
  EXPECT_THAT(camera->calls.take(), ElementsAre("get id", "unsubscribe id"));
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(VideoSourceWorkerTest, ASubscriptionThatComesAfterTheEndIsGivenBack)
{
  camera->subscribe = [this]
  {
    worker.close();
    return "late";
  };
  bench.read(sourceName);
  worker.step();
  EXPECT_THAT(camera->calls.take(), ElementsAre(StartsWith("subscribe"), "unsubscribe late"));
}

TEST_F(VideoSourceWorkerTest, DepthComesAsDepth)
{
  VideoSourceWorker<Type::DepthImage> depth(bench.registry, access, sourceName, {2, ColorSpace::distance, 1});
  camera->nextImage = [] { return frameAt(5, 320, 240, ColorSpace::distance); };
  bench.read(sourceName);
  depth.step();
  depth.step();
  ASSERT_TRUE(value());
  ASSERT_NE(value()->get<Type::DepthImage>(), nullptr);
  EXPECT_EQ(cv::Mat(value()->get<Type::DepthImage>()->cvMat()).size(), cv::Size(320, 240));
}

// Of a stereo head.
class StereoHeadTest : public VideoSourceWorkerTest
{
protected:
  static constexpr CameraView leftView{3, ColorSpace::rgb, 10};

  // The left half of the frame, and what the worker makes of it.
  std::pair<cv::Mat, cv::Mat> see()
  {
    Worker head(bench.registry, access, sourceName, leftView);
    auto pair = frameAt(9, 640, 180);
    const cv::Mat pixels(180, 640, CV_8UC3, const_cast<std::uint8_t*>(pair->data()));
    const cv::Mat left = pixels.colRange(0, 320).clone();
    camera->nextImage = [&] { return pair; };
    bench.read(sourceName);
    head.step();
    EXPECT_THAT(camera->calls.take(), ElementsAre("subscribe VideoDevice_TopCamera<QVGA> 3 15 11 15"));
    head.step();
    const DataPtr seen = value();
    return {left, seen ? seen->get<Type::ColorImage>()->cvMat() : cv::Mat()};
  }
};

TEST_F(StereoHeadTest, DeliversTheLeftHalfAsItIsWithoutCalibration)
{
  const auto [left, seen] = see();
  EXPECT_TRUE(vision::Test::equal(left, seen));
  EXPECT_THAT(log(),
              Contains("VideoDevice_TopCamera<QVGA>: Can't find robot left calibration file, fallback to default "
                       "one."));
  EXPECT_THAT(log(), Contains("VideoDevice_TopCamera<QVGA>: Can't find right calibration file: "
                              "calibration_liov4689_right.yml"));
}

TEST_F(StereoHeadTest, DeliversTheLeftHalfRectified)
{
  const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "filtrix_stereohead";
  std::filesystem::create_directories(folder / "zorqa/vision");
  const ku::path::ScopedDataPath data(folder);
  // A view that is turned so that all lies 4 pixels further to the left, at a quarter of the calibrated size.
  vision::Calibration camera_ = vision::Test::straightCamera(1280, 720, 1000);
  camera_.projectionMatrix.at<float>(0, 2) -= 16;
  for (const char* const side : {"left", "right"})
    camera_.save(folder / "zorqa/vision" / fmt::format("calibration_liov4689_{}.yml", side));
  const auto [left, seen] = see();
  std::filesystem::remove_all(folder);
  ASSERT_EQ(seen.size(), left.size());
  EXPECT_TRUE(vision::Test::equal(left.colRange(4, 320).clone(), seen.colRange(0, 316).clone()));
}

TEST_F(StereoHeadTest, TellsAResolutionThatNoPairHas)
{
  Worker head(bench.registry, access, sourceName, {3, ColorSpace::rgb, 1});
  bench.read(sourceName);
  head.step();
  EXPECT_THAT(log(), Contains("Invalid resolution 1 for camera 3 (source name: VideoDevice_TopCamera<QVGA>)"));
  EXPECT_THAT(camera->calls.take(), ElementsAre("subscribe VideoDevice_TopCamera<QVGA> 3 1 11 15"));
}
}  // namespace
}  // namespace ZR::Filtrix
