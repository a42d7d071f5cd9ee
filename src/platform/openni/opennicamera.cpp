#include "platform/openni/opennicamera.h"

#include "filtrix/cameraformats.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace ZR::OpenNI
{
namespace
{
constexpr int topCamera = 0;
constexpr int depthCamera = 2;
constexpr int plainModel = 1;
constexpr int structuredLightModel = 4;
constexpr int longestWait = 1000;  // milliseconds
constexpr std::int64_t second = 1'000'000;

void require(openni::Status status, const std::string& what)
{
  if (status == openni::STATUS_OK)
    return;
  std::string reason = openni::OpenNI::getExtendedError();
  while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\t'))
    reason.pop_back();
  throw DeviceError(fmt::format("{}: {}", what, reason.empty() ? "unknown to OpenNI2" : reason));
}

void open(openni::Device& device, const std::string& address)
{
  const std::string what =
      address.empty() ? "no depth camera is found" : fmt::format("\"{}\" cannot be opened", address);
  require(device.open(address.empty() ? openni::ANY_DEVICE : address.c_str()), what);
  if (device.isFile())
    device.getPlaybackControl()->setRepeatEnabled(true);
  if (device.isImageRegistrationModeSupported(openni::IMAGE_REGISTRATION_DEPTH_TO_COLOR))
    device.setImageRegistrationMode(openni::IMAGE_REGISTRATION_DEPTH_TO_COLOR);
}

int colorSpaceOf(openni::SensorType sensor)
{
  return sensor == openni::SENSOR_DEPTH ? ColorSpace::depth : ColorSpace::rgb;
}
}  // namespace

Library::Library()
{
  require(openni::OpenNI::initialize(), "OpenNI2 cannot be started");
}

Library::~Library()
{
  openni::OpenNI::shutdown();
}

Stream::Stream(openni::Device& device, openni::SensorType sensor_) : sensor(sensor_)
{
  const char* const name = sensor == openni::SENSOR_DEPTH ? "depth" : "color";
  require(stream.create(device, sensor), fmt::format("the device has no {} stream", name));
  openni::VideoMode mode = stream.getVideoMode();
  mode.setPixelFormat(sensor == openni::SENSOR_DEPTH ? openni::PIXEL_FORMAT_DEPTH_1_MM : openni::PIXEL_FORMAT_RGB888);
  if (!device.isFile())
    require(stream.setVideoMode(mode), fmt::format("the {} stream gives no millimetres or RGB", name));
  stream.setMirroringEnabled(false);
  require(stream.start(), fmt::format("the {} stream cannot be started", name));
}

Stream::~Stream()
{
  stream.stop();
  stream.destroy();
}

Stream::Frame Stream::next(std::uint64_t after, const TimeBase& time)
{
  const std::lock_guard lock(mutex);
  if (last.number <= after)
    _read(time);
  return last.number > after ? last : Frame();
}

void Stream::_read(const TimeBase& time)
{
  openni::VideoStream* streams[] = {&stream};
  int ready = -1;
  if (openni::OpenNI::waitForAnyStream(streams, 1, &ready, longestWait) != openni::STATUS_OK)
    return;
  openni::VideoFrameRef frame;
  require(stream.readFrame(&frame), "a frame cannot be read");
  auto image = std::make_shared<ZRImage>(frame.getWidth(), frame.getHeight(), colorSpaceOf(sensor));
  const auto rowSize = static_cast<std::size_t>(image->width()) * static_cast<std::size_t>(image->nbLayers());
  if (frame.getStrideInBytes() < static_cast<int>(rowSize))
    throw DeviceError(fmt::format("a frame has {} bytes a row, expected {}", frame.getStrideInBytes(), rowSize));
  const auto* const pixels = static_cast<const std::uint8_t*>(frame.getData());
  for (int row = 0; row < image->height(); ++row)
    std::memcpy(image->data() + static_cast<std::size_t>(row) * rowSize,
                pixels + static_cast<std::size_t>(row) * static_cast<std::size_t>(frame.getStrideInBytes()), rowSize);
  const float side = 0.5F * stream.getHorizontalFieldOfView();
  const float up = 0.5F * stream.getVerticalFieldOfView();
  image->setAngles({side, up, -side, -up});
  image->setTimestamp(time.microseconds(ku::Clock::now()));
  last = {std::move(image), last.number + 1};
}

OpenniCamera::OpenniCamera(const DeviceOptions& options, TimeBase time_) : time(time_)
{
  open(device, options.device);
  depth = std::make_unique<Stream>(device, openni::SENSOR_DEPTH);
  if (device.hasSensor(openni::SENSOR_COLOR))
    color = std::make_unique<Stream>(device, openni::SENSOR_COLOR);
}

Stream& OpenniCamera::_stream(int camera) const
{
  if (camera == depthCamera)
    return *depth;
  if (camera == topCamera && color)
    return *color;
  throw std::invalid_argument(fmt::format("there is no camera {}", camera));
}

int OpenniCamera::getCameraModel(int camera)
{
  static_cast<void>(_stream(camera));
  return camera == depthCamera ? structuredLightModel : plainModel;
}

std::string OpenniCamera::subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                          int framesPerSecond)
{
  static_cast<void>(_stream(camera));
  const FrameFormat format = frameFormat(resolution, colorSpace);
  const int own = camera == depthCamera ? ColorSpace::depth : ColorSpace::rgb;
  if (!canConvert(own, colorSpace))
    throw std::invalid_argument(fmt::format("camera {} gives no color space {}", camera, colorSpace));
  auto subscription = std::make_shared<Subscription>();
  subscription->camera = camera;
  subscription->format = format;
  subscription->framesPerSecond = framesPerSecond;
  return subscriptions.add(name, std::move(subscription));
}

void OpenniCamera::unsubscribe(const std::string& id)
{
  subscriptions.remove(id)->isClosed = true;
}

std::shared_ptr<const ZRImage> OpenniCamera::getImageLocal(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  Stream& stream = _stream(subscription->camera);
  while (!subscription->isClosed)
  {
    const Stream::Frame frame = stream.next(subscription->lastNumber, time);
    if (!frame.image)
      return nullptr;
    subscription->lastNumber = frame.number;
    const std::int64_t now = frame.image->timestamp();
    if (now < subscription->nextTime)
      continue;
    // A little less than the period, since frames do not come to the microsecond.
    subscription->nextTime = now + second * 9 / 10 / std::max(1, subscription->framesPerSecond.load());
    auto image = convertFrame(*frame.image, subscription->format);
    image->setCameraId(static_cast<std::int8_t>(subscription->camera));
    return image;
  }
  return nullptr;
}

void OpenniCamera::releaseImage(const std::string& id)
{
  static_cast<void>(subscriptions.find(id));
}

void OpenniCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  subscriptions.find(id)->framesPerSecond = framesPerSecond;
}
}  // namespace ZR::OpenNI
