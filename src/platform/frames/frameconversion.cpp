#include "platform/frames/frameconversion.h"

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ZR
{
namespace
{
bool isColor(int colorSpace)
{
  return colorSpace == ColorSpace::gray || colorSpace == ColorSpace::rgb || colorSpace == ColorSpace::bgr ||
         colorSpace == ColorSpace::yuv422;
}

bool isRange(int colorSpace)
{
  return colorSpace == ColorSpace::depth || colorSpace == ColorSpace::distance;
}

// The matrix type of a record's pixels: those of 16 and 32 bits keep together.
int matType(const ZRImageHeader& header)
{
  if (isRange(header.colorSpace) || header.colorSpace == ColorSpace::infrared)
    return CV_16UC1;
  if (header.colorSpace == ColorSpace::label)
    return CV_32SC1;
  return CV_8UC(header.nbLayers);
}

// OpenCV has no matrix of constant pixels. The result is only read.
cv::Mat viewOf(const ZRImage& frame)
{
  return {frame.height(), frame.width(), matType(frame.header()), const_cast<std::uint8_t*>(frame.data())};
}

cv::Mat viewOf(ZRImage& frame)
{
  return {frame.height(), frame.width(), matType(frame.header()), frame.data()};
}

// Pairs of pixels share their colour in YUV422, so it goes to BGR before it is resized and comes back after that.
cv::Mat toBgr(const ZRImage& frame)
{
  const cv::Mat pixels = viewOf(frame);
  cv::Mat bgr;
  switch (frame.colorSpace())
  {
  case ColorSpace::gray:
    cv::cvtColor(pixels, bgr, cv::COLOR_GRAY2BGR);
    return bgr;
  case ColorSpace::rgb:
    cv::cvtColor(pixels, bgr, cv::COLOR_RGB2BGR);
    return bgr;
  case ColorSpace::yuv422:
    cv::cvtColor(pixels, bgr, cv::COLOR_YUV2BGR_YUYV);
    return bgr;
  default:
    return pixels;
  }
}

void fromBgr(const cv::Mat& bgr, ZRImage& to)
{
  cv::Mat pixels = viewOf(to);
  switch (to.colorSpace())
  {
  case ColorSpace::gray:
    cv::cvtColor(bgr, pixels, cv::COLOR_BGR2GRAY);
    break;
  case ColorSpace::rgb:
    cv::cvtColor(bgr, pixels, cv::COLOR_BGR2RGB);
    break;
  case ColorSpace::yuv422:
  {
    ZRImage source(bgr.cols, bgr.rows, ColorSpace::bgr);
    cv::Mat copy = viewOf(source);
    bgr.copyTo(copy);
    static_cast<void>(to.computeYUV422imageFromBGR(source));
    break;
  }
  default:
    bgr.copyTo(pixels);
  }
}

cv::Mat resized(const cv::Mat& pixels, const FrameFormat& to, int interpolation)
{
  if (pixels.cols == to.width && pixels.rows == to.height)
    return pixels;
  cv::Mat out;
  cv::resize(pixels, out, {to.width, to.height}, 0, 0, interpolation);
  return out;
}

// The tangents of the angles of the pixels' centres, along one side.
std::vector<double> tangents(int pixels, double firstRadians, double lastRadians)
{
  const double first = std::tan(firstRadians);
  const double last = std::tan(lastRadians);
  std::vector<double> values(static_cast<std::size_t>(pixels));
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = first + (last - first) * (static_cast<double>(i) + 0.5) / pixels;
  return values;
}

// Between the depth along the camera's axis and the distance from the camera: the ray of a pixel is longer than its
// depth by sqrt(1 + tan^2 + tan^2).
void stretchRange(ZRImage& frame, bool toDistance)
{
  const auto& angles = frame.angles();
  const auto across = tangents(frame.width(), static_cast<double>(angles.left), static_cast<double>(angles.right));
  const auto down = tangents(frame.height(), static_cast<double>(angles.top), static_cast<double>(angles.bottom));
  cv::Mat pixels = viewOf(frame);
  for (std::size_t y = 0; y < down.size(); ++y)
  {
    auto* const row = pixels.ptr<std::uint16_t>(static_cast<int>(y));
    for (std::size_t x = 0; x < across.size(); ++x)
    {
      const double ray = std::sqrt(1.0 + across[x] * across[x] + down[y] * down[y]);
      const double millimetres = toDistance ? row[x] * ray : row[x] / ray;
      row[x] = cv::saturate_cast<std::uint16_t>(millimetres);
    }
  }
}

void convertRange(const ZRImage& frame, const FrameFormat& to, ZRImage& out)
{
  cv::Mat pixels = viewOf(out);
  resized(viewOf(frame), to, cv::INTER_NEAREST).copyTo(pixels);
  if (frame.colorSpace() != to.colorSpace)
    stretchRange(out, to.colorSpace == ColorSpace::distance);
}
}  // namespace

FrameFormat frameFormat(int resolution, int colorSpace)
{
  const CameraResolution* const size = findCameraResolution(resolution);
  if (size == nullptr)
    throw std::invalid_argument(fmt::format("resolution {}, expected one of the camera service's", resolution));
  if (findCameraColorSpace(colorSpace) == nullptr)
    throw std::invalid_argument(fmt::format("color space {}, expected one of the camera service's", colorSpace));
  return {size->width, size->height, colorSpace};
}

bool canConvert(int fromColorSpace, int toColorSpace)
{
  return (isColor(fromColorSpace) && isColor(toColorSpace)) || (isRange(fromColorSpace) && isRange(toColorSpace)) ||
         fromColorSpace == toColorSpace;
}

std::unique_ptr<ZRImage> convertFrame(const ZRImage& frame, const FrameFormat& to)
{
  if (!canConvert(frame.colorSpace(), to.colorSpace))
    throw std::invalid_argument(
        fmt::format("a frame of color space {} cannot be made one of {}", frame.colorSpace(), to.colorSpace));
  auto out = std::make_unique<ZRImage>(to.width, to.height, to.colorSpace);
  out->setTimestamp(frame.timestamp());
  out->setCameraId(frame.cameraId());
  out->setAngles(frame.angles());
  if (frame.width() == 0 || frame.height() == 0)
    return out;

  if (isColor(to.colorSpace))
    fromBgr(resized(toBgr(frame), to, cv::INTER_AREA), *out);
  else
    convertRange(frame, to, *out);
  return out;
}
}  // namespace ZR
