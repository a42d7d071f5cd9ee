#include "platform/capture/capturecamera.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace ZR::Capture
{
namespace
{
constexpr int plainCamera = 1;  // the model number of a colour camera

void requireSensible(int camera, const CameraInput& input)
{
  if (camera != 0 && camera != 1)
    throw std::invalid_argument(fmt::format("camera {}, expected 0 (top) or 1 (bottom)", camera));
  if (!(input.horizontalFov > 0 && input.horizontalFov < std::numbers::pi))
    throw std::invalid_argument(
        fmt::format("camera {}: an angle of {} rad, expected between 0 and pi", camera, input.horizontalFov));
}

// Pixels are square, so the tangents of the half angles are to each other as the sides.
ViewAngles viewOf(const cv::Size& size, double horizontalFov)
{
  const double side = horizontalFov / 2;
  const double up = std::atan(std::tan(side) * size.height / std::max(size.width, 1));
  return {static_cast<float>(side), static_cast<float>(up), static_cast<float>(-side), static_cast<float>(-up)};
}

// A camera of this rate has one picture in so many for a subscriber.
std::uint64_t stepOf(double rate, int framesPerSecond)
{
  return static_cast<std::uint64_t>(std::max(1.0, std::round(rate / std::max(framesPerSecond, 1))));
}
}  // namespace

CaptureCamera::CaptureCamera(const std::map<int, CameraInput>& cameras, TimeBase time_) : time(time_)
{
  for (const auto& [camera, input] : cameras)
  {
    requireSensible(camera, input);
    inputs[camera] = {openPictures(input), input.horizontalFov};
  }
}

const CaptureCamera::Input& CaptureCamera::_input(int camera) const
{
  const auto found = inputs.find(camera);
  if (found == inputs.end())
    throw std::invalid_argument(fmt::format("there is no camera {}", camera));
  return found->second;
}

int CaptureCamera::getCameraModel(int camera)
{
  static_cast<void>(_input(camera));
  return plainCamera;
}

std::string CaptureCamera::subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                           int framesPerSecond)
{
  static_cast<void>(_input(camera));
  const FrameFormat format = frameFormat(resolution, colorSpace);
  if (!canConvert(ColorSpace::bgr, colorSpace))
    throw std::invalid_argument(fmt::format("camera {} gives colours, expected no color space {}", camera, colorSpace));
  auto subscription = std::make_shared<Subscription>();
  subscription->camera = camera;
  subscription->format = format;
  subscription->framesPerSecond = framesPerSecond;
  return subscriptions.add(name, std::move(subscription));
}

void CaptureCamera::unsubscribe(const std::string& id)
{
  subscriptions.remove(id)->waiter.close();
}

std::shared_ptr<const ZRImage> CaptureCamera::getImageLocal(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  PictureInput& pictures = *_input(subscription->camera).pictures;
  const auto picture = pictures.next(subscription->nextNumber, subscription->waiter);
  if (!picture)
    return nullptr;
  subscription->nextNumber = picture->number + stepOf(pictures.rate(), subscription->framesPerSecond);
  return _frameOf(*picture, *subscription);
}

std::shared_ptr<const ZRImage> CaptureCamera::_frameOf(const Picture& picture, const Subscription& subscription) const
{
  // A record on the picture's own memory, which is only read.
  const cv::Mat& bgr = picture.bgr;
  const auto size = static_cast<std::int32_t>(bgr.total() * bgr.elemSize());
  const ZRImage source(bgr.cols, bgr.rows, ColorSpace::bgr, PixelBuffer{bgr.data, size, {}});
  auto frame = convertFrame(source, subscription.format);
  frame->setCameraId(static_cast<std::int8_t>(subscription.camera));
  frame->setAngles(viewOf(bgr.size(), _input(subscription.camera).horizontalFov));
  frame->setTimestamp(time.microseconds(picture.time));
  return frame;
}

void CaptureCamera::releaseImage(const std::string& id)
{
  static_cast<void>(subscriptions.find(id));
}

void CaptureCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  subscriptions.find(id)->framesPerSecond = framesPerSecond;
}
}  // namespace ZR::Capture
