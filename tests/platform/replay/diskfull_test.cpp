// A disk that is full and a program that has no more files to open: who writes hears of it, who only passes frames on
// goes on, and what was read or written before is as it was.

#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "platform/images.h"
#include "platform/replay/recorder.h"
#include "platform/replay/recording.h"
#include "platform/replay/recordingservices.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"
#include "support/fulldisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

namespace ZR::Replay
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr rlim_t diskSize = 20'000;

class ExhaustionTest : public testing::Test
{
protected:
  const TempFolder folder;
  const ku::log::Capture log{ku::log::Level::Warning};
};

RecorderOptions plain()
{
  RecorderOptions options;
  options.start = std::chrono::seconds(1);
  options.file.compress = false;
  options.file.chunkBytes = 4096;
  return options;
}

TEST_F(ExhaustionTest, ARecorderTellsThatTheDiskIsFullAndKeepsWhatItHas)
{
  const std::filesystem::path file = folder / "a.mcap";
  int written = 0;
  {
    const ZR::Test::FullDisk disk(diskSize);
    Recorder recorder(file, plain());
    std::string error = "no error";
    while (error == "no error" && written < 1000)
    {
      const auto frame = randomImage(20, 10, ColorSpace::rgb);
      frame->setTimestamp(++written);
      error = errorOf([&] { recorder.write(0, *frame); });
    }
    EXPECT_THAT(error, testing::StartsWith(file.string() + ": cannot be written at byte "));
    EXPECT_EQ(errorOf([&] { recorder.write(0, *randomImage(20, 10, ColorSpace::rgb)); }),
              file.string() + ": an earlier write failed");
  }
  EXPECT_LE(std::filesystem::file_size(file), diskSize);
  // All but the last chunk can be replayed.
  const auto recording = openRecording(file);
  ASSERT_THAT(recording->contents().images, SizeIs(1));
  const std::size_t kept = recording->contents().images[0].times.size();
  EXPECT_GT(kept, 10U);
  EXPECT_LT(kept, static_cast<std::size_t>(written));
  EXPECT_EQ(recording->image(0, kept - 1)->timestamp(), static_cast<std::int64_t>(kept));
}

TEST_F(ExhaustionTest, ACameraThatIsRecordedGoesOnWhenTheDiskIsFull)
{
  const std::filesystem::path file = folder / "a.mcap";
  const auto camera = std::make_shared<TestCamera>();
  std::int64_t time = 0;
  camera->nextImage = [&]
  {
    std::shared_ptr<ZRImage> frame = randomImage(20, 10, ColorSpace::rgb);
    frame->setTimestamp(++time);
    return frame;
  };
  const ZR::Test::FullDisk disk(diskSize);
  RecordingCamera recording(camera, std::make_shared<Recorder>(file, plain()));
  const std::string id = recording.subscribeCamera("me", 0, 0, ColorSpace::rgb, 30);
  for (int i = 1; i <= 200; ++i)
    ASSERT_EQ(recording.getImageLocal(id)->timestamp(), i);
  EXPECT_THAT(log.texts("replay"),
              ElementsAre(HasSubstr("cannot be written at byte "), HasSubstr("an earlier write failed")));
}

TEST_F(ExhaustionTest, AnImageThatDoesNotFitLeavesTheOneBefore)
{
  const std::filesystem::path file = folder / "a.zri";
  const auto before = randomImage(20, 10, ColorSpace::rgb);
  ASSERT_TRUE(before->writeFile(file));
  {
    const ZR::Test::FullDisk disk(diskSize);
    EXPECT_FALSE(randomImage(200, 100, ColorSpace::rgb)->writeFile(file));
    EXPECT_FALSE(randomImage(200, 100, ColorSpace::rgb)->writePpm(folder / "b.ppm"));
  }
  EXPECT_THAT(log.texts("vision.zrimage"),
              ElementsAre("writeFile: cannot write \"" + file.string() + "\": File too large",
                          "writePpm: cannot write \"" + (folder / "b.ppm").string() + "\": File too large"));
  ZRImage again(1, 1, ColorSpace::gray);
  ASSERT_TRUE(again.readFile(file));
  EXPECT_EQ(pixelsOf(again), pixelsOf(*before));
  const std::filesystem::directory_iterator entries(folder.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "nothing half-written lies about";
  EXPECT_TRUE(randomImage(200, 100, ColorSpace::rgb)->writeFile(file)) << "there is room again";
}

TEST_F(ExhaustionTest, NothingIsOpenedBeyondTheLastFile)
{
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "The sanitizer opens a pipe for each type that it meets, and takes what it cannot open for a fault.";
#endif
  const std::filesystem::path image = folder / "a.zri";
  const std::filesystem::path recorded = folder / "a.mcap";
  ASSERT_TRUE(randomImage(2, 2, ColorSpace::rgb)->writeFile(image));
  {
    Recorder recorder(recorded, plain());
    recorder.write(0, *randomImage(2, 2, ColorSpace::rgb));
  }
  ZRImage read(1, 1, ColorSpace::gray);
  {
    const ZR::Test::Limit files(RLIMIT_NOFILE, 0);
    EXPECT_THAT(errorOf([&] { Recorder(folder / "b.mcap", plain()); }), HasSubstr("b.mcap: cannot be written"));
    EXPECT_THAT(errorOf([&] { static_cast<void>(openRecording(recorded)); }), HasSubstr("a.mcap"));
    EXPECT_FALSE(read.readFile(image));
    EXPECT_FALSE(read.writeFile(image));
  }
  EXPECT_THAT(log.texts("vision.zrimage"),
              ElementsAre(testing::EndsWith("a.zri\": cannot be opened"), testing::EndsWith("Too many open files")));
  EXPECT_TRUE(read.readFile(image));
  EXPECT_THAT(openRecording(recorded)->contents().images, SizeIs(1));
}
}  // namespace
}  // namespace ZR::Replay
