#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>

/// Images to measure filters on.
namespace ZR::Filtrix::Bench
{
inline constexpr int sizes[][2] = {{640, 480}, {320, 240}};

/// Soft spots of all sizes and colours: noise at several scales, one upon the other.
inline cv::Mat makeSpots(cv::Size size)
{
  cv::RNG random(1);
  cv::Mat sum = cv::Mat::zeros(size, CV_32FC3);
  for (int scale = 1; scale <= 32; scale *= 2)
  {
    cv::Mat noise(cv::Size(size.width / scale, size.height / scale), CV_32FC3);
    random.fill(noise, cv::RNG::NORMAL, 0.0, std::sqrt(scale));
    cv::resize(noise, noise, size, 0.0, 0.0, cv::INTER_CUBIC);
    sum += noise;
  }
  cv::normalize(sum.reshape(1), sum, 0.0, 255.0, cv::NORM_MINMAX);
  sum = sum.reshape(3);
  sum.convertTo(sum, CV_8U);
  return sum;
}

/// A photograph, in red, green and blue, of the samples that OpenCV's documentation brings along; spots where that is
/// not installed.
inline cv::Mat naturalImage(cv::Size size, const char* name = "fruits.jpg")
{
  const cv::Mat photo = cv::imread(std::string("/usr/share/doc/opencv-doc/examples/data/") + name);
  if (photo.empty())
    return makeSpots(size);
  cv::Mat image;
  cv::resize(photo, image, size, 0.0, 0.0, cv::INTER_AREA);
  cv::cvtColor(image, image, cv::COLOR_BGR2RGB);
  return image;
}

/// The same in one channel.
inline cv::Mat naturalGray(cv::Size size, const char* name = "fruits.jpg")
{
  cv::Mat gray;
  cv::cvtColor(naturalImage(size, name), gray, cv::COLOR_RGB2GRAY);
  return gray;
}
}  // namespace ZR::Filtrix::Bench
