#pragma once

#include "filtrix/data.h"
#include "filtrix/region.h"
#include "filtrix/vectors.h"

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <cstdint>
#include <string>

namespace ZR::Filtrix::Filters
{
/// A picture that display filters draw on: red, green, blue, black at first. What lies outside is clipped.
class Canvas final
{
public:
  /// A side beyond this is cut: a size from elsewhere must not take the memory.
  static constexpr int longestSide = 4096;

  Canvas(int width, int height);

  [[nodiscard]] const cv::Mat& mat() const noexcept { return pixels; }

  /// The same colour for the same number always; neighbouring numbers differ clearly.
  [[nodiscard]] static cv::Scalar colorOf(std::uint64_t number);

  /// Shows depths, CV_16UC1 in millimetres, as brightness of a colour, the nearest brightest; only where `mask` is set.
  void drawDepth(const cv::Mat& depths, const cv::Mat& mask, int left, int top, const cv::Scalar& color);

  /// Shows a colour picture, CV_8UC3, in a box; scaled when it has another size.
  void drawImage(const cv::Mat& image, const cv::Rect& box);

  void drawBox(const Type::Region2& box, const cv::Scalar& color);
  void drawCross(const Type::Vector2& at, const cv::Scalar& color);

  /// Below a point, a line each; kept within the picture, with a dark rim to be legible on everything.
  void drawText(const Type::Vector2& at, const std::string& lines, const cv::Scalar& color);

  /// As a value: an image of this moment without a source.
  [[nodiscard]] DataPtr toData() const;

private:
  cv::Mat pixels;
};
}  // namespace ZR::Filtrix::Filters
