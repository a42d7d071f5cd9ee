#include "platform/capture/capturerobot.h"

#include "filtrix/ku/clock.h"
#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/images.h"
#include "platform/inprocessbroker.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>
#include <sndfile.h>

#include <cmath>
#include <filesystem>
#include <future>
#include <memory>
#include <numbers>

namespace ZR::Capture
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int qqvga = 0;
constexpr int qvga = 1;
constexpr const char* street = "/usr/share/doc/opencv-doc/examples/data/vtest.avi";
constexpr std::int64_t start = 1'000'000'000;  // microseconds

// Ten frames a second; frame i is a gray of 20 * i.
std::filesystem::path writeFilm(const TempFolder& folder, int frames)
{
  const auto path = folder / "film.avi";
  cv::VideoWriter writer(path.string(), cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10, {64, 48});
  for (int i = 0; i < frames; ++i)
    writer.write(cv::Mat(48, 64, CV_8UC3, cv::Scalar::all(20 * i)));
  return path;
}

// 1000 samples a second of two channels: the number of the sample, and its negative.
std::filesystem::path writeSound(const TempFolder& folder, int samples)
{
  const auto path = folder / "sound.wav";
  SF_INFO description{};
  description.samplerate = 1000;
  description.channels = 2;
  description.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_WRITE, &description), sf_close);
  for (int i = 0; i < samples; ++i)
  {
    const short pair[] = {static_cast<short>(i), static_cast<short>(-i)};
    sf_writef_short(file.get(), pair, 1);
  }
  return path;
}

CaptureOptions filmOptions(const std::string& source, bool loop = true)
{
  CaptureOptions options;
  options.cameras[0] = {.source = source, .loop = loop};
  options.start = std::chrono::microseconds(start);
  return options;
}

class CaptureTest : public testing::Test
{
protected:
  void open(const CaptureOptions& options)
  {
    const CaptureRobot robot(options);
    robot.attach(*host.broker());
  }

  [[nodiscard]] CameraProxy camera() const { return CameraProxy(host.broker()); }

  const TempFolder folder;
  ku::ManualClock clock;
  const Host host{"robot"};
};

int grayOf(const ZRImage& frame)
{
  return frame.bytes()[frame.bytes().size() / 2];
}

TEST_F(CaptureTest, ShowsAFilmAtItsPaceAndBeginsAgain)
{
  open(filmOptions(writeFilm(folder, 5)));
  EXPECT_FALSE(camera()->hasDepthCamera());
  const std::string id = camera()->subscribeCamera("me", 0, qqvga, ColorSpace::gray, 30);
  for (int i = 0; i < 12; ++i)
  {
    const auto frame = camera()->getImageLocal(id);
    ASSERT_TRUE(frame) << "frame " << i;
    EXPECT_EQ(frame->width(), 160);
    EXPECT_EQ(frame->timestamp(), start + std::int64_t{i} * 100'000);
    EXPECT_NEAR(grayOf(*frame), 20 * (i % 5), 3);
    clock.advance(std::chrono::milliseconds(100));
  }
}

TEST_F(CaptureTest, LosesWhatASlowConsumerDoesNotFetchAndKeepsToItsRate)
{
  open(filmOptions(writeFilm(folder, 20)));
  const std::string id = camera()->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 5);
  static_cast<void>(camera()->getImageLocal(id));
  clock.advance(std::chrono::milliseconds(710));
  EXPECT_EQ(camera()->getImageLocal(id)->timestamp(), start + 700'000);

  auto next = std::async(std::launch::async, [&] { return camera()->getImageLocal(id)->timestamp(); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  clock.advance(std::chrono::milliseconds(190));
  EXPECT_EQ(next.get(), start + 900'000);
}

TEST_F(CaptureTest, WaitsForAnAudience)
{
  open(filmOptions(writeFilm(folder, 20)));
  const std::string id = camera()->subscribeCamera("me", 0, qqvga, ColorSpace::gray, 30);
  EXPECT_NEAR(grayOf(*camera()->getImageLocal(id)), 0, 3);
  clock.advance(std::chrono::hours(1));
  const auto frame = camera()->getImageLocal(id);
  EXPECT_NEAR(grayOf(*frame), 20, 3);
  EXPECT_GT(frame->timestamp(), start + 3'599'000'000);
}

TEST_F(CaptureTest, GivesNothingAfterTheEnd)
{
  open(filmOptions(writeFilm(folder, 2), false));
  const std::string id = camera()->subscribeCamera("me", 0, qqvga, ColorSpace::gray, 30);
  clock.advance(std::chrono::milliseconds(100));
  EXPECT_TRUE(camera()->getImageLocal(id));
  clock.advance(std::chrono::milliseconds(100));
  EXPECT_TRUE(camera()->getImageLocal(id));
  auto last = std::async(std::launch::async, [&] { return camera()->getImageLocal(id); });
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
  camera()->unsubscribe(id);
  EXPECT_EQ(last.get(), nullptr);
}

TEST_F(CaptureTest, TakesTheViewFromTheShapeOfThePicture)
{
  auto options = filmOptions(writeFilm(folder, 1));
  options.cameras[0].horizontalFov = std::numbers::pi / 2;
  open(options);
  const auto frame = camera()->getImageLocal(camera()->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30));
  EXPECT_FLOAT_EQ(frame->angles().left, static_cast<float>(std::numbers::pi / 4));
  EXPECT_FLOAT_EQ(frame->angles().bottom, -std::atan(0.75F));
}

TEST_F(CaptureTest, HearsASoundAtItsPace)
{
  CaptureOptions options;
  options.audio = {.file = writeSound(folder, 50)};
  options.start = std::chrono::microseconds(start);
  open(options);
  const AudioProxy audio(host.broker());
  EXPECT_THAT(audio->getMicrophoneNames(), ElementsAre("Microphone1", "Microphone2"));
  EXPECT_THAT(errorOf([&] { static_cast<void>(audio->subscribeAudio("me", 16'000)); }),
              HasSubstr("16000 Hz, expected its own 1000 Hz"));
  const std::string id = audio->subscribeAudio("me", 1000);
  clock.advance(std::chrono::milliseconds(200));
  std::vector<std::int16_t> heard;
  for (const std::size_t size : {40U, 40U, 20U, 40U})
  {
    const auto block = audio->getBlock(id);
    EXPECT_EQ(block->timestamp, start + static_cast<std::int64_t>(heard.size()) / 2 * 1000);
    EXPECT_EQ(block->samples.size(), size);
    heard.insert(heard.end(), block->samples.begin(), block->samples.end());
  }
  for (std::size_t i = 0; i < heard.size(); i += 2)
  {
    EXPECT_EQ(heard[i], static_cast<int>(i / 2 % 50));
    EXPECT_EQ(heard[i + 1], -heard[i]);
  }
}

TEST_F(CaptureTest, RefusesWhatCannotBeOpened)
{
  EXPECT_EQ(errorOf([&] { open(filmOptions("/no/such/film.avi")); }),
            "\"/no/such/film.avi\" cannot be opened; expected the number of a camera, a video file or a stream");
  CaptureOptions depth;
  depth.cameras[2] = {.source = writeFilm(folder, 1)};
  EXPECT_EQ(errorOf([&] { open(depth); }), "camera 2, expected 0 (top) or 1 (bottom)");
  CaptureOptions sound;
  sound.audio = {.file = "/no/such/sound.wav"};
  EXPECT_THAT(errorOf([&] { open(sound); }), HasSubstr("/no/such/sound.wav: "));
  open(filmOptions(writeFilm(folder, 1)));
  EXPECT_EQ(errorOf([&] { static_cast<void>(camera()->subscribeCamera("me", 0, qqvga, ColorSpace::depth, 30)); }),
            "camera 0 gives colours, expected no color space 17");
  EXPECT_EQ(errorOf([&] { static_cast<void>(camera()->subscribeCamera("me", 1, qqvga, ColorSpace::rgb, 30)); }),
            "there is no camera 1");
}

// People walk on a street: neighbouring frames differ a little, and two subscriptions see the same.
TEST_F(CaptureTest, ShowsARealFilmToTwoAtOnce)
{
  if (!std::filesystem::exists(street))
    GTEST_SKIP() << street << " is not on this machine";
  open(filmOptions(street));
  const std::string color = camera()->subscribeCamera("me", 0, qvga, ColorSpace::rgb, 30);
  const std::string gray = camera()->subscribeCamera("you", 0, qvga, ColorSpace::gray, 30);
  std::vector<std::uint8_t> before;
  for (int i = 0; i < 10; ++i)
  {
    const auto frame = camera()->getImageLocal(color);
    const auto other = camera()->getImageLocal(gray);
    ASSERT_TRUE(frame && other);
    EXPECT_EQ(frame->timestamp(), other->timestamp());
    cv::Mat expected;
    cv::cvtColor(cv::Mat(240, 320, CV_8UC3, pixelsOf(*frame).data()), expected, cv::COLOR_RGB2GRAY);
    EXPECT_LE(cv::norm(expected, cv::Mat(240, 320, CV_8UC1, pixelsOf(*other).data()), cv::NORM_INF), 1);
    EXPECT_NE(pixelsOf(*frame), before);
    before = pixelsOf(*frame);
    clock.advance(std::chrono::milliseconds(100));
  }
}
}  // namespace
}  // namespace ZR::Capture
