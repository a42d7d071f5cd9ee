#include "platform/cameraservice.h"
#include "platform/images.h"
#include "platform/inprocessbroker.h"
#include "platform/motionservice.h"
#include "platform/replay/recording.h"
#include "platform/replay/recordinginfo.h"
#include "platform/replay/replayrobot.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <cmath>
#include <cstring>

namespace ZR::Replay
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int qqvga = 0;

void writePictures(const TempFolder& folder, const std::string& depth, const std::string& color,
                   std::uint16_t millimetres)
{
  cv::imwrite(folder / depth, cv::Mat(120, 160, CV_16UC1, cv::Scalar(millimetres)));
  cv::imwrite(folder / color, cv::Mat(120, 160, CV_8UC3, cv::Scalar(10, 20, 30)));
}

std::uint16_t firstDepth(const ZRImage& frame)
{
  std::uint16_t value = 0;
  std::memcpy(&value, frame.data(), sizeof value);
  return value;
}

TEST(FolderRecording, PlaysPicturesAtTheirTimes)
{
  const TempFolder folder;
  writePictures(folder, "d0.png", "c0.png", 1000);
  writePictures(folder, "d1.png", "c1.png", 65535);
  writeText(folder / "recording.txt", "# two moments\n"
                                      "view 60 45   # degrees\n"
                                      "position CameraDepth 0 0 1.25 0 0.5 0\n\n"
                                      "7.0 d0.png c0.png\n"
                                      "7.5 d1.png -\n");
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(folder.path());
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  EXPECT_TRUE(camera->hasDepthCamera());
  EXPECT_EQ(camera->getCameraModel(2), 4);
  EXPECT_THAT(MotionProxy(host.broker())->getPosition("CameraDepth", MotionFrame::World, true),
              ElementsAre(0, 0, 1.25F, 0, 0.5F, 0));

  const std::string depth = camera->subscribeCamera("me", 2, qqvga, ColorSpace::depth, 30);
  const std::string color = camera->subscribeCamera("me", 0, qqvga, ColorSpace::rgb, 30);
  const auto first = camera->getImageLocal(depth);
  EXPECT_EQ(firstDepth(*first), 1000);
  EXPECT_NEAR(first->angles().left, std::acos(-1.0) / 6, 1e-6);
  EXPECT_EQ(first->angles().bottom, -first->angles().top);
  EXPECT_THAT(pixelsOf(*camera->getImageLocal(color)).front(), 30);
  clock.advance(std::chrono::milliseconds(500));
  const auto second = camera->getImageLocal(depth);
  EXPECT_EQ(firstDepth(*second), 65535);
  EXPECT_EQ(second->timestamp() - first->timestamp(), 500'000);
  EXPECT_EQ(info(folder.path()).topics.at(1).rateHz, 2.0);
}

TEST(FolderRecording, ShowsAStillPictureForEver)
{
  const TempFolder folder;
  writePictures(folder, "depth.png", "colour.png", 500);
  writeText(folder / "camera.json", R"({"hfov_deg": 60, "vfov_deg": 45, "depth_unit_mm": 2.0,
                                        "ground_plane_m": [0, 0.8, 0.6, -1.5]})");
  ku::ManualClock clock;
  const Host host("robot");
  ReplayRobot robot(folder.path());
  robot.attach(*host.broker());
  const CameraProxy camera(host.broker());
  const std::string id = camera->subscribeCamera("me", 2, qqvga, ColorSpace::depth, 30);
  std::int64_t last = 0;
  for (int i = 0; i < 5; ++i)
  {
    const auto frame = camera->getImageLocal(id);
    EXPECT_EQ(firstDepth(*frame), 1000);
    EXPECT_GT(frame->timestamp(), last);
    last = frame->timestamp();
    clock.advance(std::chrono::milliseconds(34));
  }

  // The camera looks down, so its pitch is positive: what lies ahead of it is lower than itself.
  const auto position = MotionProxy(host.broker())->getPosition("CameraDepth", MotionFrame::Robot, true);
  EXPECT_FLOAT_EQ(position[2], 1.5F);
  EXPECT_FLOAT_EQ(position[3], 0.0F);
  EXPECT_FLOAT_EQ(position[4], std::asin(0.6F));
}

struct WrongFolder
{
  const char* name;
  const char* text;
  const char* problem;
};

class WrongFolders : public testing::TestWithParam<WrongFolder>
{
};

TEST_P(WrongFolders, AreToldWithTheirLine)
{
  const TempFolder folder;
  writePictures(folder, "d0.png", "c0.png", 1000);
  writeText(folder / "recording.txt", GetParam().text);
  EXPECT_THAT(errorOf([&] { static_cast<void>(openRecording(folder.path())); }), HasSubstr(GetParam().problem));
}

INSTANTIATE_TEST_SUITE_P(
    FolderRecording, WrongFolders,
    testing::Values(
        WrongFolder{"Nothing", "# nothing\n", "recording.txt: expected a line for every moment, came none"},
        WrongFolder{"NoNumber", "\n0x d0.png -\n", "recording.txt:2: expected a number, came \"0x\""},
        WrongFolder{"TooFewWords", "0 d0.png\n",
                    "recording.txt:1: expected \"<seconds> <depth picture> <colour picture>\", came 2 words"},
        WrongFolder{"TimeThatDoesNotRise", "1 d0.png -\n1 d0.png -\n",
                    "recording.txt:2: the time 1 s, expected a later one than on the line before"},
        WrongFolder{"PictureFromElsewhere", "1 ../d0.png -\n",
                    "recording.txt:1: expected a picture within the folder, came \"../d0.png\""},
        WrongFolder{"WideView", "view 60 200\n", "an angle of view of 200 degrees, expected between 0 and 180"},
        WrongFolder{"NoStep", "unit 0\n", "recording.txt:1: a unit of 0 mm, expected more than 0"},
        WrongFolder{"PictureThatIsNotThere", "1 d9.png -\n", "d9.png: cannot be read as a picture"},
        WrongFolder{"DepthThatIsColor", "1 c0.png -\n",
                    "c0.png: expected depth of 16 bits in one channel, came 8 bits in 3"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FolderRecording, RefusesAFolderWithoutADescription)
{
  const TempFolder folder;
  EXPECT_THAT(errorOf([&] { static_cast<void>(openRecording(folder.path())); }),
              HasSubstr("expected \"recording.txt\" or \"camera.json\", came neither"));
}
}  // namespace
}  // namespace ZR::Replay
