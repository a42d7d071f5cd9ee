// The simulated cameras against geometry, and faces against a detector.

#include "filtrix/cameraformats.h"
#include "platform/sim/body.h"
#include "platform/sim/photographer.h"
#include "platform/sim/robotbody.h"
#include "platform/sim/truth.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Sim
{
namespace
{
Photographer photographerOf(const std::string& lines, DepthSensor sensor = {.isPerfect = true})
{
  return Photographer(std::make_shared<Stage>(parseScene("filtrix-scene 1\n" + lines, "test.scene")), sensor);
}

cv::Mat1w depthOf(const Photographer& photographer, double time = 0.0, int colorSpace = ColorSpace::depth)
{
  const auto frame = photographer.take(Camera::depth, 320, 240, colorSpace, time);
  return cv::Mat1w(240, 320, reinterpret_cast<unsigned short*>(frame->data())).clone();
}

TEST(Photographer, MeasuresAWallAlongTheAxisAndFromTheCamera)
{
  const auto photographer = photographerOf("room 1 4 20 20");
  const double x = cameraPose(photographer.stage().scene(), Camera::depth, MotionFrame::World, 0.0).getTranslation().x;
  const cv::Mat1w depth = depthOf(photographer);
  const cv::Mat1w distance = depthOf(photographer, 0.0, ColorSpace::distance);
  const View view = photographer.viewOf(Camera::depth, 320, 240, 0.0);
  for (const cv::Point pixel : {cv::Point(0, 0), {160, 120}, {319, 10}, {40, 60}})
  {
    const auto u = static_cast<float>(pixel.x);
    const auto v = static_cast<float>(pixel.y);
    EXPECT_NEAR(depth(pixel), 1000.0 * (4.0 - x), 1.0);
    const double stretch = std::hypot(1.0F, view.left(u), view.up(v));
    EXPECT_NEAR(distance(pixel), 1000.0 * (4.0 - x) * stretch, 2.0);
  }
}

// The top of a head is found where the truth says, for heads and cameras that are turned.
class HeadTop : public testing::TestWithParam<std::tuple<double, double, double, double>>
{
};

TEST_P(HeadTop, IsWhereItIsToldToBe)
{
  const auto [x, y, pan, tilt] = GetParam();
  const auto photographer = photographerOf(fmt::format(
      "room 1 12 20 20\nhead 0 {} {}\nperson a height 1.8\nat 0 place {} {} face robot look robot\n", pan, tilt, x, y));
  const cv::Mat1w depth = depthOf(photographer);
  const View view = photographer.viewOf(Camera::depth, 320, 240, 0.0);
  double top = 0.0;
  ZRMath::Position3D highest;
  for (int v = 0; v < depth.rows; ++v)
  {
    for (int u = 0; u < depth.cols; ++u)
    {
      const double z = 0.001 * depth(v, u);
      const auto left = static_cast<double>(view.left(static_cast<float>(u)));
      const auto up = static_cast<double>(view.up(static_cast<float>(v)));
      const auto point = view.pose * ZRMath::Position3D{z, z * left, z * up};
      if (z > 0.0 && std::hypot(point.x - x, point.y - y) < 0.5 && point.z > top)
      {
        top = point.z;
        highest = point;
      }
    }
  }
  const PersonTruth truth = truthAt(photographer, 0.0).people.front();
  const double pixel = std::hypot(x, y) / static_cast<double>(view.focal());
  // A camera below sees the edge of the crown, not its top.
  EXPECT_NEAR(top, static_cast<double>(truth.height), 2.0 * pixel + 0.005);
  EXPECT_NEAR(truth.height, 1.8F, 1.0e-4F);
  EXPECT_NEAR(std::hypot(highest.x - x, highest.y - y), 0.0, 0.10);
  EXPECT_NEAR(static_cast<double>(truth.distance), std::hypot(x, y), 1.0e-4);
}

INSTANTIATE_TEST_SUITE_P(Views, HeadTop,
                         testing::Values(std::tuple(2.0, 0.0, 0.0, 0.0), std::tuple(2.5, 0.8, 20.0, -10.0),
                                         std::tuple(3.0, -1.0, -30.0, 10.0), std::tuple(1.5, 0.2, 5.0, -20.0)));

TEST(Photographer, TakesTheSamePictureOfTheSameMoment)
{
  const std::string lines = "person a\nat 0 place 2 0\nat 0 walk 2 1\n";
  const auto first = photographerOf(lines, {});
  const auto second = photographerOf(lines, {});
  const auto otherSeed = photographerOf("seed 5\n" + lines, {});
  const auto bytesOf = [](const Photographer& photographer, double time)
  {
    const auto frame = photographer.take(Camera::top, 160, 120, ColorSpace::rgb, time);
    return std::vector<unsigned char>(frame->bytes().begin(), frame->bytes().end());
  };
  EXPECT_EQ(bytesOf(first, 0.7), bytesOf(second, 0.7));
  EXPECT_NE(bytesOf(first, 0.7), bytesOf(first, 0.8));
  EXPECT_NE(bytesOf(first, 0.7), bytesOf(otherSeed, 0.7));
  EXPECT_EQ(cv::countNonZero(depthOf(first, 0.7) != depthOf(second, 0.7)), 0);
}

TEST(Photographer, HasTheNoiseStepsAndLossesOfItsSensor)
{
  const auto noisy = depthOf(photographerOf("room 1 3.06 20 20\nbox 1.5 0 0.8 0.2 0.5 0.9 red\n", {}));
  // The wall 3 m away, beside the box and its shadow.
  const cv::Mat1w wall = noisy(cv::Rect(10, 40, 60, 160));
  cv::Scalar mean;
  cv::Scalar deviation;
  cv::meanStdDev(wall, mean, deviation, wall != 0);
  EXPECT_NEAR(mean[0], 3000.0, 3.0);
  EXPECT_NEAR(deviation[0], std::hypot(1.2 + 1.9 * 2.6 * 2.6, 26.0 / std::sqrt(12.0)), 2.5);
  // The box at 1.34 m throws a shadow of 8 pixels to its right.
  int shadow = 0;
  for (int u = 160; u < 320; ++u)
    shadow += noisy(120, u) == 0 ? 1 : 0;
  EXPECT_NEAR(shadow, 289.0 * 0.075 * (1.0 / 1.34 - 1.0 / 3.0), 4.0);
  EXPECT_EQ(cv::countNonZero(depthOf(photographerOf("box 0.6 0 0 0.5 2 2 red", {}))), 0) << "too near";
  const auto shiny = depthOf(photographerOf("room 1 5 8 3 shiny", {}));
  EXPECT_EQ(cv::countNonZero(shiny.rowRange(235, 240)), 0);
  EXPECT_GT(cv::countNonZero(shiny.rowRange(100, 120)), 300 * 20);
}

TEST(Photographer, ShowsTheStereoHeadsEyesSideBySide)
{
  const auto photographer = photographerOf("robot stereo\nbox 2 0 0 0.1 0.3 2 red\n");
  const CameraResolution& pair = *findCameraResolution(stereoResolution(10).value());
  const auto frame = photographer.take(Camera::stereo, pair.width, pair.height, ColorSpace::rgb, 0.0);
  const cv::Mat3b both(pair.height, pair.width, reinterpret_cast<cv::Vec3b*>(frame->data()));
  const auto firstRed = [&](int from)
  {
    int u = from;
    while (u < both.cols && !(both(pair.height / 2, u)[0] > 2 * both(pair.height / 2, u)[1]))
      ++u;
    return u - from;
  };
  const View view = photographer.viewOf(Camera::stereo, pair.width / 2, pair.height, 0.0);
  const double disparity = stereoBaseline * static_cast<double>(view.focal()) / (1.95 - 0.06);
  EXPECT_NEAR(firstRed(0) - firstRed(both.cols / 2), disparity, 1.5);
  EXPECT_FALSE(photographer.canTake(Camera::depth, ColorSpace::infrared));
}

TEST(Truth, TellsWhoIsHiddenLooksWavesAndSits)
{
  const auto photographer = photographerOf("person near\nat 0 place 1.8 0 face robot look robot wave left\n"
                                           "person behind\nat 0 place 3.2 0 face robot look robot\n"
                                           "person aside height 1.6\nat 0 place 2.5 -1 face robot look 90 sit\n"
                                           "pet rex\nat 0 place 2 1\n");
  const FrameTruth truth = truthAt(photographer, 5.0);
  ASSERT_EQ(truth.people.size(), 3U);
  const PersonTruth& near = truth.people[0];
  EXPECT_TRUE(near.isLooking && near.faceIsVisible && near.headIsVisible);
  // His left hand is at the robot's right.
  EXPECT_TRUE(near.wavesRight && !near.wavesLeft);
  EXPECT_GT(near.visible, 0.7F);
  EXPECT_EQ(near.zone, 2);
  const PersonTruth& behind = truth.people[1];
  EXPECT_FALSE(behind.faceIsVisible);
  EXPECT_LT(behind.visible, 0.4F);
  const PersonTruth& aside = truth.people[2];
  EXPECT_TRUE(aside.isSitting && !aside.isLooking);
  EXPECT_NEAR(aside.height, 1.6F * (1.0F - 0.235F), 0.01F);
  EXPECT_EQ(toJson(truth)["people"][2]["name"], "aside");
}

// Faces must be faces to a detector, as long as they look at the camera and are not too small, and nothing else.
TEST(Photographer, PaintsFacesThatADetectorFinds)
{
  cv::CascadeClassifier cascade("/usr/share/opencv4/lbpcascades/lbpcascade_frontalface.xml");
  if (cascade.empty())
    GTEST_SKIP() << "the cascade of OpenCV is not on this machine";
  int found = 0;
  int wanted = 0;
  int wrong = 0;
  for (const char* const looks :
       {"hair brown skin fair", "hair black skin tan", "hair blond skin fair", "hair black skin dark"})
  {
    for (const float distance : {0.9F, 1.3F, 1.8F, 2.4F, 3.0F})
    {
      for (const bool isLooking : {true, false})
      {
        const auto photographer = photographerOf(
            fmt::format("head 0 0 {}\nperson a height 1.7 {}\nat 0 place {} 0.1 face {} look ahead\n",
                        -std::atan(0.4F / distance) * 57.3F, looks, distance, isLooking ? "robot" : "away"));
        const auto frame = photographer.take(Camera::top, 640, 480, ColorSpace::gray, 5.0);
        std::vector<cv::Rect> faces;
        cascade.detectMultiScale(cv::Mat(480, 640, CV_8UC1, frame->data()), faces, 1.2, 3, 0, {24, 24});
        wanted += isLooking ? 1 : 0;
        found += isLooking && faces.size() == 1 ? 1 : 0;
        wrong += !isLooking || faces.size() > 1 ? static_cast<int>(faces.size()) : 0;
        if (isLooking && faces.size() != 1)
          std::cout << looks << " at " << distance << " m: " << faces.size() << " faces\n";
      }
    }
  }
  EXPECT_GE(found, wanted - 1);
  EXPECT_EQ(wrong, 0);
}
}  // namespace
}  // namespace ZR::Sim
