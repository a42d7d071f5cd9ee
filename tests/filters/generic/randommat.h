#pragma once

#include <opencv2/core.hpp>

/// Images to compare a filter with its definition on.
namespace ZR::Filtrix::Test
{
/// Down to nothing, lines, and widths around those of vector registers.
inline const cv::Size oddSizes[] = {{0, 0}, {1, 1}, {1, 9}, {9, 1}, {17, 3}, {64, 2}, {101, 7}, {600, 9}};

/// Random elements, as a part of a larger matrix: rows do not follow one another in memory.
inline cv::Mat randomMat(cv::RNG& random, cv::Size size, int type)
{
  cv::Mat whole(size + cv::Size(5, 3), type);
  random.fill(whole, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  return whole(cv::Rect({2, 1}, size));
}

/// The same with few values, so that there are ties, zeros and flat places.
inline cv::Mat coarseMat(cv::RNG& random, cv::Size size, int type)
{
  cv::Mat whole(size + cv::Size(5, 3), type);
  random.fill(whole, cv::RNG::UNIFORM, 0, 4);
  whole *= 85;
  return whole(cv::Rect({2, 1}, size));
}

/// A new matrix with `element(left, right)` for each element; `right` has the same size.
template <typename Element, typename Function>
cv::Mat combine(const cv::Mat& left, const cv::Mat& right, const Function& element)
{
  cv::Mat result(left.size(), left.type());
  for (int y = 0; y < left.rows; ++y)
  {
    for (int i = 0; i < left.cols * left.channels(); ++i)
      result.ptr<Element>(y)[i] = static_cast<Element>(element(left.ptr<Element>(y)[i], right.ptr<Element>(y)[i]));
  }
  return result;
}

/// A new matrix of bytes with `pixel(r, g, b)` for each pixel.
template <typename Function>
cv::Mat mapColors(const cv::Mat& colors, const Function& pixel)
{
  cv::Mat result(colors.size(), CV_8U);
  for (int y = 0; y < colors.rows; ++y)
  {
    for (int x = 0; x < colors.cols; ++x)
    {
      const auto& rgb = colors.at<cv::Vec3b>(y, x);
      result.at<unsigned char>(y, x) = static_cast<unsigned char>(pixel(rgb[0], rgb[1], rgb[2]));
    }
  }
  return result;
}

/// For EXPECT_TRUE: the same size, type and elements.
inline bool equal(const cv::Mat& a, const cv::Mat& b)
{
  if (a.size() != b.size() || a.type() != b.type())
    return false;
  return a.empty() || cv::norm(a, b, cv::NORM_INF) == 0.0;
}
}  // namespace ZR::Filtrix::Test
