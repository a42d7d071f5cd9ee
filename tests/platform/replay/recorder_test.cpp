#include "platform/replay/recorder.h"

#include "filtrix/ku/log.h"
#include "platform/images.h"
#include "platform/replay/mcapreader.h"
#include "platform/replay/recording.h"
#include "platform/replay/recordinginfo.h"
#include "platform/replay/recordingservices.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <random>
#include <thread>

namespace ZR::Replay
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto frameGap = std::chrono::milliseconds(40);

RecorderOptions at2024()
{
  RecorderOptions options;
  options.start = std::chrono::seconds(1'704'067'200);
  return options;
}

class RecorderTest : public testing::Test
{
protected:
  const TempFolder folder;
  const std::filesystem::path file = folder / "a.mcap";
  ku::ManualClock clock;
};

class RecordedImages : public RecorderTest, public testing::WithParamInterface<int>
{
};

TEST_P(RecordedImages, ComeBackByteByByte)
{
  const auto frame = randomImage(10, 6, GetParam());
  const auto next = randomImage(10, 6, GetParam(), 2);
  next->setTimestamp(-1);                // before 1970
  next->setAngles({0.1F, 1, -0.3F, 2});  // the camera zooms
  {
    Recorder recorder(file, at2024());
    recorder.write(2, *frame);
    recorder.write(2, *frame);
    clock.advance(frameGap);
    recorder.write(2, *next);
  }
  const auto recording = openRecording(file);
  ASSERT_EQ(recording->contents().images.size(), 1U);
  EXPECT_EQ(recording->contents().images[0].camera, 2);
  EXPECT_THAT(recording->contents().images[0].times, ElementsAre(Nanoseconds(0), Nanoseconds(frameGap)));
  const ZRImage* const expected[] = {frame.get(), next.get()};
  for (std::size_t i = 0; i < 2; ++i)
  {
    const auto came = recording->image(0, i);
    EXPECT_EQ(came->header(), expected[i]->header());
    EXPECT_EQ(pixelsOf(*came), pixelsOf(*expected[i]));
  }
}

INSTANTIATE_TEST_SUITE_P(Recorder, RecordedImages,
                         testing::Values(ColorSpace::gray, ColorSpace::yuv422, ColorSpace::rgb, ColorSpace::bgr,
                                         ColorSpace::depth, ColorSpace::xyz, ColorSpace::infrared, ColorSpace::label,
                                         10),
                         [](const auto& row) { return std::string(findCameraColorSpace(row.param)->name); });

TEST_F(RecorderTest, KeepsTheFloatsOfAPosition)
{
  std::mt19937 random(5);
  std::uniform_real_distribution<float> angle(-3.2F, 3.2F);
  std::vector<std::vector<float>> positions;
  for (int i = 0; i < 50; ++i)
    positions.push_back({angle(random), angle(random), angle(random), angle(random), angle(random), angle(random)});
  positions.push_back({1, 2, 3});
  const PositionKey key{"CameraTop", MotionFrame::World, false};
  {
    Recorder recorder(file, at2024());
    for (const auto& position : positions)
    {
      recorder.write(key, position);
      clock.advance(frameGap);
    }
  }
  const auto recording = openRecording(file);
  ASSERT_EQ(recording->contents().positions.size(), 1U);
  EXPECT_EQ(recording->contents().positions[0].key, key);
  for (std::size_t i = 0; i < positions.size(); ++i)
    EXPECT_EQ(recording->position(0, i), positions[i]);
}

TEST_F(RecorderTest, TakesAPositionThatIsNoNumber)
{
  const PositionKey key{"CameraTop", MotionFrame::Robot, true};
  {
    Recorder recorder(file, at2024());
    recorder.write(key, std::vector<float>{std::numeric_limits<float>::quiet_NaN(), 2, 3, 4, 5, 6});
  }
  const auto position = openRecording(file)->position(0, 0);
  ASSERT_EQ(position.size(), 6U);
  EXPECT_TRUE(std::isnan(position[0]));
  EXPECT_EQ(position[5], 6.0F);
}

TEST_F(RecorderTest, KeepsSoundValuesAndFiles)
{
  const AudioBlock block{123'456'789, 16'000, {"Front", "Rear"}, {1, -2, 3, -32768}};
  {
    Recorder recorder(file, at2024());
    recorder.write(block);
    recorder.write("/zone", {"filtrix/Zone"}, {{"zone", 2}});
    recorder.attach("walk.fxs", "text/plain", "in >> out");
  }
  const auto recording = openRecording(file);
  ASSERT_EQ(recording->contents().audio.size(), 1U);
  const auto came = recording->audio(0, 0);
  EXPECT_EQ(came->timestamp, block.timestamp);
  EXPECT_EQ(came->sampleRate, block.sampleRate);
  EXPECT_EQ(came->channels, block.channels);
  EXPECT_EQ(came->samples, block.samples);

  McapReader reader(file);
  const auto value = reader.read(reader.entries()[1]).data;
  EXPECT_EQ(std::string(value.begin(), value.end()), R"({"zone":2})");
  const auto attached = reader.attachment(reader.attachments().at(0));
  EXPECT_EQ(std::string(attached.begin(), attached.end()), "in >> out");
}

TEST_F(RecorderTest, TellsWhatARecordingHolds)
{
  {
    Recorder recorder(file, at2024());
    for (int i = 0; i < 5; ++i)
    {
      recorder.write("/zone", {"filtrix/Zone"}, {{"zone", i}});
      clock.advance(frameGap);
    }
    recorder.write("/end", {"filtrix/End"}, {{"done", true}});
    recorder.attach("walk.fxs", "text/plain", "in >> out");
  }
  const RecordingInfo recording = info(file);
  EXPECT_TRUE(recording.complete);
  EXPECT_EQ(recording.start, std::chrono::seconds(1'704'067'200));
  EXPECT_EQ(recording.length, 5 * frameGap);
  ASSERT_EQ(recording.topics.size(), 2U);
  EXPECT_EQ(recording.topics[1].topic, "/zone");
  EXPECT_EQ(recording.topics[1].count, 5U);
  EXPECT_DOUBLE_EQ(recording.topics[1].rateHz, 25.0);
  EXPECT_EQ(recording.topics[0].first, 5 * frameGap);
  EXPECT_THAT(toText(recording), HasSubstr("attached: walk.fxs (text/plain, 9 bytes)"));
}

TEST_F(RecorderTest, WritesFromManyThreads)
{
  constexpr int perThread = 200;
  {
    Recorder recorder(file, at2024());
    const auto write = [&](int number)
    {
      for (int i = 0; i < perThread; ++i)
        recorder.write(fmt::format("/thread/{}", number), {"filtrix/Number"}, {{"n", i}});
    };
    const std::jthread first(write, 1);
    const std::jthread second(write, 2);
  }
  const RecordingInfo recording = info(file);
  ASSERT_EQ(recording.topics.size(), 2U);
  EXPECT_EQ(recording.topics[0].count, perThread);
  EXPECT_EQ(recording.topics[1].count, perThread);
}

TEST_F(RecorderTest, ListensToServices)
{
  const auto camera = std::make_shared<TestCamera>();
  const auto shown = std::shared_ptr<const ZRImage>(randomImage(6, 4, ColorSpace::rgb));
  camera->nextImage = [&] { return shown; };
  {
    const auto recorder = std::make_shared<Recorder>(file, at2024());
    RecordingCamera recording(camera, recorder);
    RecordingMotion motion(std::make_shared<TestMotion>(), recorder);
    EXPECT_TRUE(recording.hasDepthCamera());
    EXPECT_EQ(recording.getCameraModel(2), 4);
    const std::string id = recording.subscribeCamera("me", 1, 2, ColorSpace::rgb, 30);
    EXPECT_EQ(recording.getImageLocal(id), shown);
    EXPECT_EQ(motion.getSensorNames().size(), 2U);
    EXPECT_EQ(motion.getPosition("CameraTop", MotionFrame::World, true).size(), 6U);
    EXPECT_EQ(errorOf([&] { recording.unsubscribe(id); }), "no subscription \"" + id + "\"");
  }
  const auto recording = openRecording(file);
  const RecordingContents& contents = recording->contents();
  EXPECT_EQ(contents.hasDepthCamera, true);
  EXPECT_EQ(contents.cameraModels.at(2), 4);
  EXPECT_THAT(contents.sensors, ElementsAre("CameraTop", "CameraDepth"));
  ASSERT_EQ(contents.images.size(), 1U);
  EXPECT_EQ(contents.images[0].camera, 1);
  EXPECT_EQ(pixelsOf(*recording->image(0, 0)), pixelsOf(*shown));
  ASSERT_EQ(contents.positions.size(), 1U);
}

// A full disk must not take the robot's eyes.
TEST_F(RecorderTest, PassesOnWhatItCannotRecord)
{
  const ku::log::Capture log;
  const auto camera = std::make_shared<TestCamera>();
  const auto recorder = std::make_shared<Recorder>(file, at2024());
  RecordingCamera recording(camera, recorder);
  recorder->close();
  const auto shown = std::shared_ptr<const ZRImage>(randomImage(6, 4, ColorSpace::rgb));
  camera->nextImage = [&] { return shown; };
  const std::string id = recording.subscribeCamera("me", 0, 2, ColorSpace::rgb, 30);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(recording.getImageLocal(id), shown);
  EXPECT_THAT(log.texts("replay"), ElementsAre("not recorded: " + file.string() + ": already closed"));
}
}  // namespace
}  // namespace ZR::Replay
