#include "sources/vision/stereo.h"

#include "filtrix/ku/log.h"
#include "platform/robot.h"
#include "sources/calibrations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>

namespace vision
{
namespace
{
using Test::equal;
using Test::straightCamera;

constexpr float baseline = 0.06F;

/// The greatest disparity of the natural scene is 271 at its full size.
constexpr int sceneDisparities = 288;

Stereo stereoFor(int width, int height, float focal)
{
  Stereo stereo;
  stereo.setCalibrations(straightCamera(width, height, focal), straightCamera(width, height, focal, baseline));
  return stereo;
}

struct Range
{
  const char* name;
  void (Stereo::*set)(int);
  std::vector<int> good;
  std::vector<int> bad;
  const char* log;
  const char* error;
};

class StereoRangeTest : public testing::TestWithParam<Range>
{
};

TEST_P(StereoRangeTest, IsTakenOrRefused)
{
  const ku::log::Capture log;
  Stereo stereo = stereoFor(640, 480, 500);
  for (const int value : GetParam().good)
    EXPECT_EQ(ZR::errorOf([&] { (stereo.*GetParam().set)(value); }), "no error") << value;
  EXPECT_TRUE(log.texts().empty());
  for (const int value : GetParam().bad)
    EXPECT_EQ(ZR::errorOf([&] { (stereo.*GetParam().set)(value); }), GetParam().error) << value;
  EXPECT_THAT(log.texts("vision.stereo"), testing::SizeIs(GetParam().bad.size()));
  EXPECT_THAT(log.texts("vision.stereo"), testing::Each(testing::StartsWith(GetParam().log)));
}

INSTANTIATE_TEST_SUITE_P(
    Parameters, StereoRangeTest,
    testing::Values(
        Range{"WindowSize",
              &Stereo::setWindowSize,
              {5, 255},
              {3, 4, 6, 257},
              "Invalid window size (",
              "Invalid window size."},
        Range{"MinDisparity",
              &Stereo::setMinDisparity,
              {-640, 640},
              {-641, 641},
              "Invalid min disparity (",
              "Invalid min disparity."},
        Range{"DisparityNumber",
              &Stereo::setDisparityNumber,
              {16, 1600},
              {-16, 0, 24},
              "Invalid disparity number (",
              "Invalid disparity number."},
        Range{"PreFilterCap",
              &Stereo::setPreFilterCap,
              {1, 63},
              {0, 64},
              "Invalid Prefilter cap (",
              "Invalid prefilter cap."},
        Range{"PreFilterSize",
              &Stereo::setPreFilterSize,
              {5, 255},
              {3, 6, 257},
              "Invalid Prefilter size (",
              "Invalid prefilter size."},
        Range{"SpeckleRange",
              &Stereo::setSpeckleRange,
              {0, 31},
              {-1, 32},
              "Invalid Speckle range (",
              "Invalid speckle range."},
        Range{"SpeckleWindow",
              &Stereo::setSpeckleWindowSize,
              {0, 1000},
              {-1, 1001},
              "Invalid Speckle window size (",
              "Invalid speckle window size."},
        Range{"Texture",
              &Stereo::setTextureThreshold,
              {0, 10000},
              {-1, 10001},
              "Invalid Texture threshold (",
              "Invalid texture threshold."},
        Range{"Uniqueness",
              &Stereo::setUniquenessRatio,
              {0, 100},
              {-1, 101},
              "Invalid Uniqueness ratio (",
              "Invalid uniqueness ratio."},
        Range{
            "P1", &Stereo::setP1, {0, std::numeric_limits<int>::max()}, {-1}, "Invalid value for P1 (", "Invalid P1."},
        Range{
            "P2", &Stereo::setP2, {0, std::numeric_limits<int>::max()}, {-1}, "Invalid value for P2 (", "Invalid P2."}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Stereo, RefusesWhatDoesNotFitTogether)
{
  const ku::log::Capture log(ku::log::Level::Error);
  Stereo stereo = stereoFor(640, 480, 500);
  const cv::Mat gray(480, 640, CV_8UC1, cv::Scalar(0));
  const cv::Mat small(240, 320, CV_8UC1, cv::Scalar(0));
  const cv::Mat color(480, 640, CV_8UC3, cv::Scalar(0));
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"Invalid distance.", [&] { stereo.setMaxDepth(0.0F); }},
      {"Calibrations don't have the same size.",
       [&] { stereo.setCalibrations(straightCamera(640, 480, 500), straightCamera(320, 240, 500)); }},
      {"Both image don't have the same size.", [&] { (void)stereo.rectifyImages(gray, small); }},
      {"Both images don't have the same type.", [&] { (void)stereo.rectifyImages(gray, color); }},
      {"Both image don't have the same size.", [&] { (void)stereo.computeDisparity(gray, small); }},
      {"Wrong rectify type, need CV_8UC1 rectify.", [&] { (void)stereo.computeDisparity(color, color); }},
      {"Wrong disparity image type, need CV_32FC1.", [&] { (void)stereo.computeDepth(gray); }},
      {"Invalid aspect ratio for new calibration", [&] { (void)stereo.rectifyLeft(gray(cv::Rect(0, 0, 640, 400))); }}};
  for (const auto& [text, use] : cases)
    EXPECT_EQ(ZR::errorOf(use), text);
  EXPECT_THAT(log.texts("vision.stereo"),
              testing::Contains("Left and Right calibration don't have the same size. left:640x480 right:320x240"));
  // Another height of a width that is known already is no way round the aspect ratio.
  (void)stereo.rectifyLeft(gray);
  EXPECT_EQ(ZR::errorOf([&] { (void)stereo.rectifyLeft(gray(cv::Rect(0, 0, 640, 400))); }),
            "Invalid aspect ratio for new calibration");
}

TEST(Stereo, NeedsCalibrationsThatStandApart)
{
  Stereo stereo;
  const cv::Mat disparity(480, 640, CV_32FC1, cv::Scalar(5));
  EXPECT_EQ(ZR::errorOf([&] { (void)stereo.computeDepth(disparity); }), "Stereo: expected two calibrations, came none");
  stereo.setCalibrations(straightCamera(640, 480, 500), straightCamera(640, 480, 500));
  EXPECT_THAT(ZR::errorOf([&] { (void)stereo.computeDepth(disparity); }), testing::HasSubstr("no baseline"));
}

TEST(Stereo, RectifyingWithStraightCamerasChangesNothing)
{
  cv::Mat picture(120, 160, CV_8UC3);
  cv::randu(picture, 0, 256);
  Stereo stereo = stereoFor(640, 480, 500);
  const auto [left, right] = stereo.rectifyImages(picture, picture);
  EXPECT_TRUE(equal(left, picture));
  EXPECT_TRUE(equal(right, picture));
  EXPECT_TRUE(equal(stereo.rectifyLeft(picture), picture));
}

TEST(Stereo, DepthIsFocalLengthTimesBaselineByDisparity)
{
  const ku::log::Capture log;
  for (const int scale : {1, 2, 4})
  {
    Stereo stereo = stereoFor(640, 480, 500);
    cv::Mat disparity(480 / scale, 640 / scale, CV_32FC1);
    cv::randu(disparity, 7.0F / static_cast<float>(scale), 80.0F / static_cast<float>(scale));
    for (int again = 0; again < 2; ++again)
    {
      const cv::Mat points = stereo.computeDepth(disparity);
      ASSERT_EQ(points.type(), CV_32FC3);
      const float focal = 500.0F / static_cast<float>(scale);
      for (const cv::Point& at : {cv::Point(0, 0), cv::Point(100, 20), cv::Point(159, 119)})
      {
        const cv::Vec3f point = points.at<cv::Vec3f>(at);
        const float z = focal * baseline / disparity.at<float>(at);
        EXPECT_NEAR(point[2], z, 1e-4F);
        EXPECT_NEAR(point[0], (static_cast<float>(at.x) - static_cast<float>(disparity.cols) / 2) * z / focal, 1e-4F);
        EXPECT_NEAR(point[1], (static_cast<float>(at.y) - static_cast<float>(disparity.rows) / 2) * z / focal, 1e-4F);
      }
    }
  }
  EXPECT_THAT(log.texts("vision.stereo"), testing::Contains("Compute transforms for resolution 320x240").Times(1));
}

TEST(Stereo, WhatIsFarOrDidNotMatchHasNoPoint)
{
  Stereo stereo = stereoFor(640, 480, 500);  // 30 / disparity metres
  const auto depthOf = [&](float disparity)
  { return stereo.computeDepth(cv::Mat(480, 640, CV_32FC1, cv::Scalar(disparity))).at<cv::Vec3f>(9, 9); };
  const cv::Vec3f none(0, 0, 0);
  EXPECT_EQ(depthOf(5.9F), none);
  EXPECT_NEAR(depthOf(6.1F)[2], 30 / 6.1, 1e-3);
  stereo.setMaxDepth(100);
  EXPECT_NEAR(depthOf(1.0F)[2], 30, 1e-3);
  for (const float disparity : {0.99F, 0.0F, -3.0F, std::numeric_limits<float>::quiet_NaN()})
    EXPECT_EQ(depthOf(disparity), none) << disparity;
}

// The Middlebury scene "Aloe" of 2006, for which the true disparities are known.
struct Scene
{
  cv::Mat left;
  cv::Mat right;
  cv::Mat truth;  // CV_32FC1, 0 where it is not known
};

Scene readScene(int scale)
{
  const std::string folder = "/usr/share/doc/opencv-doc/examples/data/";
  Scene scene{cv::imread(folder + "aloeL.jpg", cv::IMREAD_GRAYSCALE),
              cv::imread(folder + "aloeR.jpg", cv::IMREAD_GRAYSCALE),
              cv::imread(folder + "aloeGT.png", cv::IMREAD_GRAYSCALE)};
  if (scene.left.empty())
    return scene;
  const cv::Size size = scene.left.size() / scale;
  cv::resize(scene.left, scene.left, size, 0, 0, cv::INTER_AREA);
  cv::resize(scene.right, scene.right, size, 0, 0, cv::INTER_AREA);
  cv::resize(scene.truth, scene.truth, size, 0, 0, cv::INTER_NEAREST);
  scene.truth.convertTo(scene.truth, CV_32F, 1.0 / scale);
  return scene;
}

// How many of the pixels that were measured are right to two pixels, and how many of the known ones were measured.
std::pair<double, double> compare(const cv::Mat& disparity, const cv::Mat& truth)
{
  const cv::Mat measured = (disparity >= 1) & (truth > 0);
  const cv::Mat right = (cv::abs(disparity - truth) <= 2) & measured;
  return {static_cast<double>(cv::countNonZero(right)) / cv::countNonZero(measured),
          static_cast<double>(cv::countNonZero(measured)) / cv::countNonZero(truth > 0)};
}

class StereoSceneTest : public testing::TestWithParam<std::tuple<Stereo::Algorithm, int>>
{
};

TEST_P(StereoSceneTest, IsSeenAsItIs)
{
  const auto [algorithm, scale] = GetParam();
  const Scene scene = readScene(scale);
  if (scene.left.empty())
    GTEST_SKIP() << "the package opencv-doc is not installed";
  Stereo stereo = stereoFor(1282, 1110, 3740);
  stereo.setAlgorithm(algorithm);
  // Of what is asked for at the full size, half the size tries 16 fewer.
  stereo.setDisparityNumber(sceneDisparities / scale + 16 * (scale - 1));
  const cv::Mat disparity = stereo.computeDisparity(scene.left, scene.right);
  ASSERT_EQ(disparity.type(), CV_32FC1);
  ASSERT_EQ(disparity.size(), scene.left.size());
  const auto [right, measured] = compare(disparity, scene.truth);
  RecordProperty("right", std::to_string(right));
  RecordProperty("measured", std::to_string(measured));
  EXPECT_GT(right, 0.85);
  EXPECT_GT(measured, 0.5);
}

INSTANTIATE_TEST_SUITE_P(Aloe, StereoSceneTest,
                         testing::Combine(testing::Values(Stereo::Algorithm::BlockMatcher,
                                                          Stereo::Algorithm::SemiGlobal),
                                          testing::Values(1, 2)));

TEST(Stereo, AtHalfSizeFewerDisparitiesAreTried)
{
  // Shifted noise: 60 pixels are within the 64 disparities that are left of 80, and 70 are not.
  cv::Mat noise(240, 500, CV_8UC1);
  cv::randu(noise, 0, 256);
  Stereo stereo = stereoFor(640, 480, 500);
  const auto shareOf = [&](int shift)
  {
    const cv::Mat left = noise(cv::Rect(100, 0, 320, 240));
    const cv::Mat right = noise(cv::Rect(100 + shift, 0, 320, 240));
    const cv::Mat found = cv::abs(stereo.computeDisparity(left, right) - shift) < 0.5;
    return cv::countNonZero(found) / (320.0 * 240.0);
  };
  EXPECT_GT(shareOf(60), 0.5);
  EXPECT_EQ(shareOf(70), 0.0);
}

TEST(Stereo, AWindowLargerThanThePictureIsToldAndThrown)
{
  const ku::log::Capture log(ku::log::Level::Error);
  Stereo stereo = stereoFor(640, 480, 500);
  stereo.setWindowSize(255);
  const cv::Mat small(60, 80, CV_8UC1, cv::Scalar(0));
  EXPECT_NE(ZR::errorOf([&] { (void)stereo.computeDisparity(small, small); }), "no error");
  EXPECT_THAT(log.texts("vision.stereo"),
              testing::ElementsAre(testing::StartsWith("Error in block matching algorithm: ")));
}
}  // namespace
}  // namespace vision
