#include "platform/sim/photographer.h"

#include "filtrix/cameraformats.h"
#include "platform/sim/robotbody.h"

#include <fmt/format.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace ZR::Sim
{
namespace
{
/// The noise of a colour camera, in gray levels.
constexpr float colorNoise = 2.0F;

bool isColor(int colorSpace)
{
  return colorSpace == ColorSpace::rgb || colorSpace == ColorSpace::bgr || colorSpace == ColorSpace::gray ||
         colorSpace == ColorSpace::yuv422;
}

void addNoise(cv::Mat3b& picture, const Noise& noise)
{
  for (int v = 0; v < picture.rows; ++v)
  {
    auto* const row = picture.ptr<cv::Vec3b>(v);
    for (int u = 0; u < picture.cols; ++u)
    {
      const float change = colorNoise * noise.normal(static_cast<std::uint32_t>(v * picture.cols + u));
      for (int channel = 0; channel < 3; ++channel)
        row[u][channel] = cv::saturate_cast<unsigned char>(static_cast<float>(row[u][channel]) + change);
    }
  }
}

void copyPixels(ZRImage& image, const cv::Mat& pixels)
{
  const auto bytes = image.bytes();
  CV_Assert(pixels.isContinuous() && pixels.total() * pixels.elemSize() == bytes.size());
  std::memcpy(bytes.data(), pixels.data, bytes.size());
}

std::unique_ptr<ZRImage> colorFrame(const cv::Mat3b& rgb, int colorSpace)
{
  cv::Mat pixels = rgb;
  if (colorSpace == ColorSpace::gray)
    cv::cvtColor(rgb, pixels, cv::COLOR_RGB2GRAY);
  else if (colorSpace != ColorSpace::rgb)
    cv::cvtColor(rgb, pixels, cv::COLOR_RGB2BGR);
  const bool isYuv = colorSpace == ColorSpace::yuv422;
  auto frame = std::make_unique<ZRImage>(rgb.cols, rgb.rows, isYuv ? ColorSpace::bgr : colorSpace);
  copyPixels(*frame, pixels);
  if (!isYuv)
    return frame;
  auto yuv = std::make_unique<ZRImage>(rgb.cols, rgb.rows, ColorSpace::yuv422);
  if (!yuv->computeYUV422imageFromBGR(*frame))
    throw std::invalid_argument("a YUV422 picture needs an even number of pixels");
  return yuv;
}
}  // namespace

Photographer::Photographer(std::shared_ptr<const Stage> stage_, DepthSensor sensor_)
    : theStage(std::move(stage_)), sensor(sensor_)
{
}

bool Photographer::canTake(int camera, int colorSpace) const
{
  constexpr int stereoModel = 7;
  const bool isStereo = theStage->scene().model == stereoModel;
  switch (camera)
  {
  case Camera::top:
  case Camera::bottom:
    return isColor(colorSpace);
  case Camera::depth:
    return colorSpace == ColorSpace::depth || colorSpace == ColorSpace::distance ||
           (colorSpace == ColorSpace::infrared && !isStereo);
  case Camera::stereo:
    return isStereo && isColor(colorSpace);
  default:
    return false;
  }
}

View Photographer::viewOf(int camera, int width, int height, double time) const
{
  const ViewAngles angles = viewAngles(camera, width, height);
  View view;
  view.pose = cameraPose(theStage->scene(), camera, MotionFrame::World, theStage->sceneTime(time));
  view.width = width;
  view.height = height;
  view.tanHalfWidth = std::tan(angles.left);
  view.tanHalfHeight = std::tan(angles.top);
  return view;
}

Noise Photographer::_noise(double time) const
{
  return {theStage->scene().seed, std::llround(time * 1.0e6)};
}

cv::Mat3b Photographer::_colors(const View& view, double time) const
{
  const std::vector<Shape> shapes = theStage->shapesAt(theStage->sceneTime(time));
  cv::Mat3b picture = paint(cast(shapes, view), shapes, view, theStage->materials());
  addNoise(picture, _noise(time));
  return picture;
}

cv::Mat1w Photographer::_depth(const View& view, double time) const
{
  const std::vector<Shape> shapes = theStage->shapesAt(theStage->sceneTime(time));
  const Raster raster = cast(shapes, view);
  return measure(sensor, raster.depth, shinyPixels(raster, shapes, view, theStage->materials()), view.focal(),
                 _noise(time));
}

cv::Mat1w Photographer::_distance(const View& view, double time) const
{
  cv::Mat1w distance = _depth(view, time);
  for (int v = 0; v < distance.rows; ++v)
  {
    const float up = view.up(static_cast<float>(v));
    for (int u = 0; u < distance.cols; ++u)
    {
      const float left = view.left(static_cast<float>(u));
      const float stretch = std::sqrt(1.0F + left * left + up * up);
      distance(v, u) = cv::saturate_cast<unsigned short>(static_cast<float>(distance(v, u)) * stretch);
    }
  }
  return distance;
}

// The projector is the light: what is twice as far away is a quarter as bright.
cv::Mat1w Photographer::_infrared(const View& view, double time) const
{
  constexpr float brightness = 16.0F;
  const std::vector<Shape> shapes = theStage->shapesAt(theStage->sceneTime(time));
  const Raster raster = cast(shapes, view);
  const cv::Mat3b picture = paint(raster, shapes, view, theStage->materials());
  cv::Mat1w infrared(picture.size());
  for (int v = 0; v < infrared.rows; ++v)
  {
    for (int u = 0; u < infrared.cols; ++u)
    {
      const float depth = std::max(0.3F, raster.depth(v, u));
      infrared(v, u) =
          cv::saturate_cast<unsigned short>(brightness * static_cast<float>(picture(v, u)[0]) / (depth * depth));
    }
  }
  return infrared;
}

std::unique_ptr<ZRImage> Photographer::take(int camera, int width, int height, int colorSpace, double time) const
{
  if (!canTake(camera, colorSpace))
    throw std::invalid_argument(
        fmt::format("the simulated robot's camera {} gives no color space {}", camera, colorSpace));
  const bool isPair = camera == Camera::stereo && findCameraResolution(width, height) != nullptr &&
                      findCameraResolution(width, height)->eye != CameraResolution::noEye;
  const int eyeWidth = isPair ? width / 2 : width;
  View view = viewOf(camera, eyeWidth, height, time);
  std::unique_ptr<ZRImage> frame;
  if (isColor(colorSpace))
  {
    cv::Mat3b picture = _colors(view, time);
    if (isPair)
    {
      view.pose = view.pose * ZRMath::Transform::fromPosition6D({0.0, -stereoBaseline, 0.0, 0.0, 0.0, 0.0});
      cv::Mat3b both;
      cv::hconcat(picture, _colors(view, time), both);
      picture = both;
    }
    frame = colorFrame(picture, colorSpace);
  }
  else
  {
    frame = std::make_unique<ZRImage>(width, height, colorSpace);
    copyPixels(*frame, colorSpace == ColorSpace::depth      ? _depth(view, time)
                       : colorSpace == ColorSpace::distance ? _distance(view, time)
                                                            : _infrared(view, time));
  }
  frame->setCameraId(static_cast<std::int8_t>(camera));
  frame->setAngles(viewAngles(camera, eyeWidth, height));
  return frame;
}
}  // namespace ZR::Sim
