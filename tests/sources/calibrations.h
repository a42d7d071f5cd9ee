#pragma once

#include "sources/vision/calibration.h"

#include <opencv2/core.hpp>

/// What the tests see the world with.
namespace vision::Test
{
/// A camera without distortion that looks straight ahead, its centre in the middle of the picture. `place` is where it
/// stands on the axis to the right, in metres.
inline Calibration straightCamera(int width, int height, float focal, float place = 0.0F)
{
  const float x = static_cast<float>(width) / 2;
  const float y = static_cast<float>(height) / 2;
  Calibration camera;
  camera.width = width;
  camera.height = height;
  camera.cameraMatrix = (cv::Mat_<float>(3, 3) << focal, 0, x, 0, focal, y, 0, 0, 1);
  camera.distortion = cv::Mat::zeros(1, 5, CV_64FC1);
  camera.rectificationMatrix = cv::Mat::eye(3, 3, CV_64FC1);
  camera.projectionMatrix = (cv::Mat_<float>(3, 4) << focal, 0, x, -focal * place, 0, focal, y, 0, 0, 0, 1, 0);
  return camera;
}

inline bool equal(const cv::Mat& a, const cv::Mat& b)
{
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}
}  // namespace vision::Test
