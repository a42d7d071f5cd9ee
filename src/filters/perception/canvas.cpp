#include "filters/perception/canvas.h"

#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int font = cv::FONT_HERSHEY_SIMPLEX;
constexpr double fontSize = 0.35;
constexpr int lineHeight = 12;

/// Depth is shown from here to there, millimetres.
constexpr float nearestShown = 400.0F;
constexpr float farthestShown = 5000.0F;

// A rectangle may come from anywhere: far beyond the picture it is all the same.
int toPixel(float x)
{
  constexpr float far = 2.0F * static_cast<float>(Canvas::longestSide);
  return std::isfinite(x) ? static_cast<int>(std::lround(std::clamp(x, -far, far))) : 0;
}
}  // namespace

Canvas::Canvas(int width, int height)
    : pixels(std::clamp(height, 1, longestSide), std::clamp(width, 1, longestSide), CV_8UC3, cv::Scalar::all(0))
{
}

cv::Scalar Canvas::colorOf(std::uint64_t number)
{
  static const std::array<cv::Scalar, 10> palette{
      cv::Scalar(255, 120, 90),  cv::Scalar(90, 200, 110), cv::Scalar(110, 160, 255), cv::Scalar(255, 210, 80),
      cv::Scalar(220, 120, 255), cv::Scalar(90, 220, 220), cv::Scalar(255, 150, 190), cv::Scalar(190, 210, 110),
      cv::Scalar(255, 170, 60),  cv::Scalar(170, 170, 255)};
  return palette[number % palette.size()];
}

void Canvas::drawDepth(const cv::Mat& depths, const cv::Mat& mask, int left, int top, const cv::Scalar& color)
{
  const cv::Rect box(left, top, mask.cols, mask.rows);
  const cv::Rect visible = box & cv::Rect(0, 0, pixels.cols, pixels.rows);
  for (int y = visible.y; y < visible.y + visible.height; ++y)
  {
    const auto* const depth = depths.ptr<unsigned short>(y - top);
    const auto* const isSet = mask.ptr<unsigned char>(y - top);
    auto* const out = pixels.ptr<cv::Vec3b>(y);
    for (int x = visible.x; x < visible.x + visible.width; ++x)
    {
      if (isSet[x - left] == 0)
        continue;
      const float share = (static_cast<float>(depth[x - left]) - nearestShown) / (farthestShown - nearestShown);
      const double brightness = 1.0 - 0.7 * static_cast<double>(std::clamp(share, 0.0F, 1.0F));
      for (int channel = 0; channel < 3; ++channel)
        out[x][channel] = cv::saturate_cast<unsigned char>(brightness * color[channel]);
    }
  }
}

void Canvas::drawImage(const cv::Mat& image, const cv::Rect& box)
{
  const cv::Rect visible = box & cv::Rect(0, 0, pixels.cols, pixels.rows);
  if (image.empty() || visible.empty() || box.width > longestSide || box.height > longestSide)
    return;
  cv::Mat scaled = image;
  if (image.size() != box.size())
    cv::resize(image, scaled, box.size(), 0.0, 0.0, cv::INTER_AREA);
  scaled(visible - box.tl()).copyTo(pixels(visible));
}

void Canvas::drawBox(const Type::Region2& box, const cv::Scalar& color)
{
  cv::rectangle(pixels, cv::Point(toPixel(box.start.x), toPixel(box.start.y)),
                cv::Point(toPixel(box.end.x), toPixel(box.end.y)), color);
}

void Canvas::drawCross(const Type::Vector2& at, const cv::Scalar& color)
{
  cv::drawMarker(pixels, cv::Point(toPixel(at.x), toPixel(at.y)), color, cv::MARKER_CROSS, 7);
}

void Canvas::drawText(const Type::Vector2& at, const std::string& lines, const cv::Scalar& color)
{
  const auto count = static_cast<int>(std::ranges::count(lines, '\n')) + 1;
  int widest = 0;
  std::istringstream measured(lines);
  for (std::string line; std::getline(measured, line);)
    widest = std::max(widest, cv::getTextSize(line, font, fontSize, 1, nullptr).width);
  const int left = std::clamp(toPixel(at.x), 1, std::max(1, pixels.cols - widest - 1));
  int bottom = std::clamp(toPixel(at.y) + lineHeight, lineHeight,
                          std::max(lineHeight, pixels.rows - 2 - (count - 1) * lineHeight));
  std::istringstream text(lines);
  for (std::string line; std::getline(text, line); bottom += lineHeight)
  {
    cv::putText(pixels, line, cv::Point(left, bottom), font, fontSize, cv::Scalar::all(0), 3, cv::LINE_AA);
    cv::putText(pixels, line, cv::Point(left, bottom), font, fontSize, color, 1, cv::LINE_AA);
  }
}

DataPtr Canvas::toData() const
{
  auto value = makeData(std::make_shared<Type::ColorImage>(pixels.clone(), "", Type::Time::now(), 0.0F, 0.0F));
  value->setTimestamp(value->get<Type::ColorImage>()->timestamp());
  return value;
}
}  // namespace ZR::Filtrix::Filters
