#include "sources/vision/stereo.h"

#include "data/imagepool.h"
#include "filtrix/ku/log.h"

#include <fmt/format.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace vision
{
namespace
{
constexpr const char* category = "vision.stereo";

constexpr int noLimit = std::numeric_limits<int>::max();

/// Disparities are tried in groups of so many.
constexpr int disparityStep = 16;

/// The matchers give disparities in steps of a sixteenth of a pixel.
constexpr double disparityUnit = 1.0 / 16.0;

[[noreturn]] void refuse(const std::string& logText, const char* exceptionText)
{
  ku::log::write(ku::log::Level::Error, category, logText);
  throw std::invalid_argument(exceptionText);
}

void requireRange(int value, int least, int most, const char* what, const char* exceptionText, bool odd = false)
{
  if (value >= least && value <= most && (!odd || value % 2 != 0))
    return;
  const std::string range = most == noLimit ? fmt::format("{} or more", least) : fmt::format("{} to {}", least, most);
  refuse(fmt::format("Invalid {} ({}), must be {}{}.", what, value, odd ? "odd and " : "", range), exceptionText);
}

void requireSameKind(const cv::Mat& a, const cv::Mat& b)
{
  if (a.size() != b.size())
    refuse("Both images must have the same size.", "Both image don't have the same size.");
  if (a.type() != b.type())
    refuse("Both images must have the same type.", "Both images don't have the same type.");
}

std::string toText(const cv::Size& size)
{
  return fmt::format("{}x{}", size.width, size.height);
}

void computeMaps(const Calibration& camera, cv::Mat (&maps)[2])
{
  // Fixed-point maps: remap is twice as fast with them, and exact to 1/32 of a pixel.
  cv::initUndistortRectifyMap(camera.cameraMatrix, camera.distortion, camera.rectificationMatrix,
                              camera.projectionMatrix.colRange(0, 3), camera.size(), CV_16SC2, maps[0], maps[1]);
}

// Both cameras look along parallel axes now, the right one moved along x: P(0,3) is the focal length times its place.
cv::Mat computeQ(const cv::Mat& leftProjection, const cv::Mat& rightProjection)
{
  const cv::Mat_<double> left(leftProjection);
  const cv::Mat_<double> right(rightProjection);
  const double baseline = right(0, 3) / right(0, 0);
  if (!std::isfinite(baseline) || baseline == 0.0)
    return {};
  cv::Mat_<double> q(4, 4, 0.0);
  q(0, 0) = 1.0;
  q(0, 3) = -left(0, 2);
  q(1, 1) = 1.0;
  q(1, 3) = -left(1, 2);
  q(2, 3) = left(0, 0);
  q(3, 2) = -1.0 / baseline;
  q(3, 3) = (left(0, 2) - right(0, 2)) / baseline;
  return q;
}

cv::Mat remap(const cv::Mat& image, const cv::Mat (&maps)[2])
{
  cv::Mat rectified = ZR::Filtrix::makePooledMat(image.rows, image.cols, image.type());
  cv::remap(image, rectified, maps[0], maps[1], cv::INTER_LINEAR);
  return rectified;
}

cv::Mat toFloat(const cv::Mat& fixedPoint)
{
  cv::Mat disparity;
  fixedPoint.convertTo(disparity, CV_32F, disparityUnit);
  return disparity;
}

// A group less is tried for each halving of the picture, and none that would lead beyond it: memory goes with them.
int disparitiesAt(int disparityNumber, double halvings, int width)
{
  const int wanted = std::max(disparityStep, disparityNumber - disparityStep * static_cast<int>(halvings));
  return std::min(wanted, (width + disparityStep - 1) / disparityStep * disparityStep);
}

int windowAt(int windowSize, int scale)
{
  return scale == 1 ? windowSize : windowSize - scale;
}
}  // namespace

void Stereo::setCalibrations(const Calibration& left_, const Calibration& right_)
{
  if (left_.size() != right_.size())
    refuse(fmt::format("Left and Right calibration don't have the same size. left:{} right:{}", toText(left_.size()),
                       toText(right_.size())),
           "Calibrations don't have the same size.");
  left = left_;
  right = right_;
  transforms.clear();
}

void Stereo::setMaxDepth(float metres)
{
  if (!(metres > 0.0F))
    refuse("Distance must be positive.", "Invalid distance.");
  maxDepth = metres;
}

void Stereo::setWindowSize(int pixels)
{
  requireRange(pixels, 5, 255, "window size", "Invalid window size.", true);
  windowSize = pixels;
}

void Stereo::setMinDisparity(int pixels)
{
  requireRange(pixels, -left.width, left.width, "min disparity", "Invalid min disparity.");
  minDisparity = pixels;
}

void Stereo::setDisparityNumber(int count)
{
  if (count <= 0 || count % disparityStep != 0)
    refuse(fmt::format("Invalid disparity number ({}), must be multiple of {} and strictly positive.", count,
                       disparityStep),
           "Invalid disparity number.");
  disparityNumber = count;
}

void Stereo::setPreFilterCap(int cap)
{
  requireRange(cap, 1, 63, "Prefilter cap", "Invalid prefilter cap.");
  preFilterCap = cap;
}

void Stereo::setPreFilterSize(int pixels)
{
  requireRange(pixels, 5, 255, "Prefilter size", "Invalid prefilter size.", true);
  preFilterSize = pixels;
}

void Stereo::setSpeckleRange(int range)
{
  requireRange(range, 0, 31, "Speckle range", "Invalid speckle range.");
  speckleRange = range;
}

void Stereo::setSpeckleWindowSize(int pixels)
{
  requireRange(pixels, 0, 1000, "Speckle window size", "Invalid speckle window size.");
  speckleWindowSize = pixels;
}

void Stereo::setTextureThreshold(int sum)
{
  requireRange(sum, 0, 10'000, "Texture threshold", "Invalid texture threshold.");
  textureThreshold = sum;
}

void Stereo::setUniquenessRatio(int percent)
{
  requireRange(percent, 0, 100, "Uniqueness ratio", "Invalid uniqueness ratio.");
  uniquenessRatio = percent;
}

void Stereo::setP1(int penalty)
{
  requireRange(penalty, 0, noLimit, "value for P1", "Invalid P1.");
  p1 = penalty;
}

void Stereo::setP2(int penalty)
{
  requireRange(penalty, 0, noLimit, "value for P2", "Invalid P2.");
  p2 = penalty;
}

std::pair<cv::Mat, cv::Mat> Stereo::rectifyImages(const cv::Mat& leftImage, const cv::Mat& rightImage)
{
  requireSameKind(leftImage, rightImage);
  const Transforms& at = _transformsFor(leftImage.size());
  return {remap(leftImage, at.leftMaps), remap(rightImage, at.rightMaps)};
}

cv::Mat Stereo::rectifyLeft(const cv::Mat& leftImage)
{
  return remap(leftImage, _transformsFor(leftImage.size()).leftMaps);
}

cv::Mat Stereo::computeDisparity(const cv::Mat& leftImage, const cv::Mat& rightImage) const
{
  requireSameKind(leftImage, rightImage);
  if (leftImage.type() != CV_8UC1)
    throw std::invalid_argument("Wrong rectify type, need CV_8UC1 rectify.");
  try
  {
    return algorithm == Algorithm::SemiGlobal ? _matchSemiGlobally(leftImage, rightImage)
                                              : _matchBlocks(leftImage, rightImage);
  }
  catch (const std::exception& exception)
  {
    ku::log::error(category, "Error in block matching algorithm: {}", exception.what());
    throw;
  }
}

cv::Mat Stereo::computeDepth(const cv::Mat& disparity)
{
  if (disparity.type() != CV_32FC1)
    throw std::invalid_argument("Wrong disparity image type, need CV_32FC1.");
  const Transforms& at = _transformsFor(disparity.size());
  if (at.q.empty())
    throw std::runtime_error("Stereo: the calibrations have no baseline, expected that of the right camera in its "
                             "projection matrix");
  ku::log::write(ku::log::Level::Verbose, category, "Reproject to 3D...");
  cv::Mat points;
  cv::reprojectImageTo3D(disparity, points, at.q, false, CV_32F);

  const auto leastDisparity = static_cast<float>(minDisparity / _scaleFor(disparity.cols));
  for (int y = 0; y < points.rows; ++y)
  {
    const auto* const shift = disparity.ptr<float>(y);
    auto* const point = points.ptr<cv::Vec3f>(y);
    for (int x = 0; x < points.cols; ++x)
    {
      const float z = point[x][2];
      // Written so that what is no number does not pass.
      if (!(shift[x] >= leastDisparity && z > 0.0F && z <= maxDepth))
        point[x] = {0.0F, 0.0F, 0.0F};
    }
  }
  return points;
}

const Stereo::Transforms& Stereo::_transformsFor(const cv::Size& size)
{
  const auto known = transforms.find(size.width);
  if (known != transforms.end() && known->second.size == size)
    return known->second;
  if (!hasCalibrations())
    throw std::runtime_error("Stereo: expected two calibrations, came none");
  ku::log::verbose(category, "Compute transforms for resolution {}", toText(size));
  const Calibration scaledLeft = left.scaleTo(size.width, size.height);
  const Calibration scaledRight = right.scaleTo(size.width, size.height);
  Transforms made;
  made.size = size;
  computeMaps(scaledLeft, made.leftMaps);
  computeMaps(scaledRight, made.rightMaps);
  made.q = computeQ(scaledLeft.projectionMatrix, scaledRight.projectionMatrix);
  return transforms[size.width] = std::move(made);
}

// How many times larger than the picture the calibrated one is; pictures that are larger are taken as they are.
int Stereo::_scaleFor(int imageWidth) const
{
  return std::max(1, left.width / std::max(1, imageWidth));
}

cv::Mat Stereo::_matchBlocks(const cv::Mat& leftImage, const cv::Mat& rightImage) const
{
  ku::log::write(ku::log::Level::Verbose, category, "Compute block matcher...");
  const int scale = _scaleFor(leftImage.cols);
  const auto matcher = cv::StereoBM::create(disparitiesAt(disparityNumber, std::log2(scale), leftImage.cols),
                                            windowAt(windowSize, scale));
  matcher->setMinDisparity(minDisparity / scale);
  matcher->setPreFilterCap(preFilterCap);
  matcher->setPreFilterSize(preFilterSize);
  matcher->setSpeckleRange(speckleRange / scale);
  matcher->setSpeckleWindowSize(speckleWindowSize / scale);
  matcher->setTextureThreshold(textureThreshold);
  matcher->setUniquenessRatio(uniquenessRatio);
  cv::Mat disparity;
  matcher->compute(leftImage, rightImage, disparity);
  return toFloat(disparity);
}

cv::Mat Stereo::_matchSemiGlobally(const cv::Mat& leftImage, const cv::Mat& rightImage) const
{
  ku::log::write(ku::log::Level::Verbose, category, "Compute block matcher (SGBM)...");
  const int scale = _scaleFor(leftImage.cols);
  const int window = windowAt(windowSize, scale);
  const double factor = static_cast<double>(window) / windowSize;
  const auto penalty = [=](int full) { return static_cast<int>(full * factor * factor); };
  const auto matcher = cv::StereoSGBM::create(
      minDisparity / scale, disparitiesAt(disparityNumber, std::round(std::log2(scale)), leftImage.cols), window,
      penalty(p1), penalty(p2), 0, preFilterCap, uniquenessRatio, speckleWindowSize / scale, speckleRange / scale,
      fullDP ? cv::StereoSGBM::MODE_HH : cv::StereoSGBM::MODE_SGBM);
  cv::Mat disparity;
  matcher->compute(leftImage, rightImage, disparity);
  return toFloat(disparity);
}
}  // namespace vision
