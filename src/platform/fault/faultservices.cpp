#include "platform/fault/faultservices.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>
#include <utility>

namespace ZR::Fault
{
namespace
{
constexpr int garbageNumber = -12345;
constexpr int garbageColorSpace = 9999;
constexpr std::int64_t tenYears = std::int64_t{10} * 365 * 24 * 3600 * 1'000'000;  // microseconds
constexpr std::int64_t backwardStep = 1'000'000;                                   // microseconds
const char* const garbageText = "\xFF\x01 no such thing";

// The other sizes in turn, as differences: a little more, a little less, nothing at all.
constexpr std::array<int, 3> sizeChanges = {1, -1, std::numeric_limits<int>::min()};

template <typename Object>
std::shared_ptr<Object> notNull(std::shared_ptr<Object> object)
{
  if (!object)
    throw std::invalid_argument("a service that fails needs a service and its faults, came null");
  return object;
}

int changed(int size, int change)
{
  return static_cast<int>(std::max<std::int64_t>(0, std::int64_t{size} + change));
}

std::shared_ptr<ZRImage> copyOf(const ZRImage& frame)
{
  auto copy = std::make_shared<ZRImage>(frame.header());
  std::ranges::copy(frame.bytes(), copy->bytes().begin());
  return copy;
}
}  // namespace

FaultCamera::FaultCamera(std::shared_ptr<CameraService> camera_, std::shared_ptr<Faults> faults_,
                         std::optional<int> onlyNumber_)
    : camera(notNull(std::move(camera_))), faults(notNull(std::move(faults_))), onlyNumber(onlyNumber_)
{
}

bool FaultCamera::hasDepthCamera()
{
  const Mode mode = faults->enter(Operation::HasDepthCamera);
  const bool has = camera->hasDepthCamera();
  return mode == Mode::Garbage ? !has : has && mode != Mode::Null;
}

int FaultCamera::getCameraModel(int number)
{
  const Mode mode = faults->enter(Operation::GetCameraModel);
  if (mode == Mode::Null)
    return 0;
  return mode == Mode::Garbage ? garbageNumber : camera->getCameraModel(number);
}

std::string FaultCamera::subscribeCamera(const std::string& name, int number, int resolution, int colorSpace,
                                         int framesPerSecond)
{
  if (onlyNumber && number != *onlyNumber)
  {
    std::string id = camera->subscribeCamera(name, number, resolution, colorSpace, framesPerSecond);
    const std::lock_guard lock(mutex);
    sound.insert(id);
    return id;
  }
  const Mode mode = faults->enter(Operation::SubscribeCamera);
  if (mode == Mode::Null)
    return {};
  if (mode == Mode::Garbage)
    return garbageText;
  return camera->subscribeCamera(name, number, resolution, colorSpace, framesPerSecond);
}

void FaultCamera::unsubscribe(const std::string& id)
{
  _enter(Operation::UnsubscribeCamera, id);
  camera->unsubscribe(id);
  const std::lock_guard lock(mutex);
  sound.erase(id);
}

std::shared_ptr<const ZRImage> FaultCamera::getImageLocal(const std::string& id)
{
  const Mode mode = _enter(Operation::GetImage, id);
  auto frame = camera->getImageLocal(id);
  if (!frame || mode == Mode::Null)
    return nullptr;
  return mode == Mode::None ? frame : _spoil(*frame, mode);
}

void FaultCamera::releaseImage(const std::string& id)
{
  _enter(Operation::ReleaseImage, id);
  camera->releaseImage(id);
}

void FaultCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  _enter(Operation::SetFrameRate, id);
  camera->setFrameRate(id, framesPerSecond);
}

// The lock is let go before a call that may stall.
Mode FaultCamera::_enter(Operation operation, const std::string& id)
{
  {
    const std::lock_guard lock(mutex);
    if (sound.contains(id))
      return Mode::None;
  }
  return faults->enter(operation);
}

std::shared_ptr<const ZRImage> FaultCamera::_spoil(const ZRImage& frame, Mode mode)
{
  const std::lock_guard lock(mutex);
  if (mode == Mode::Garbage)
    return _garbage(frame);
  if (mode == Mode::WrongSize)
    return _otherSize(frame);
  auto copy = copyOf(frame);
  copy->setTimestamp(_wrongTime(frame.timestamp(), mode));
  return copy;
}

// Random pixels in a layout that nobody knows, seen at angles that are no numbers.
std::shared_ptr<ZRImage> FaultCamera::_garbage(const ZRImage& frame)
{
  ZRImageHeader header = frame.header();
  header.colorSpace = garbageColorSpace;
  header.timestamp = static_cast<std::int64_t>(random());
  header.cameraId = static_cast<std::int8_t>(random());
  const float noNumber = std::numeric_limits<float>::quiet_NaN();
  header.angles = {noNumber, noNumber, noNumber, noNumber};
  auto image = std::make_shared<ZRImage>(header);
  std::ranges::generate(image->bytes(), [this] { return static_cast<std::uint8_t>(random()); });
  return image;
}

std::shared_ptr<ZRImage> FaultCamera::_otherSize(const ZRImage& frame)
{
  const int change = sizeChanges[sizes++ % sizeChanges.size()];
  ZRImageHeader header = frame.header();
  header.width = changed(header.width, change);
  header.height = changed(header.height, change);
  return std::make_shared<ZRImage>(header);
}

std::int64_t FaultCamera::_wrongTime(std::int64_t time, Mode mode)
{
  if (mode == Mode::TimeAhead)
    return time + tenYears;
  if (!firstTime)
    firstTime = time;
  return mode == Mode::RepeatedTime ? *firstTime : *firstTime - backwardStep * ++framesWithWrongTime;
}

FaultMotion::FaultMotion(std::shared_ptr<MotionService> motion_, std::shared_ptr<Faults> faults_)
    : motion(notNull(std::move(motion_))), faults(notNull(std::move(faults_)))
{
}

std::vector<std::string> FaultMotion::getSensorNames()
{
  const Mode mode = faults->enter(Operation::GetSensorNames);
  if (mode == Mode::Null)
    return {};
  return mode == Mode::Garbage ? std::vector<std::string>{garbageText, ""} : motion->getSensorNames();
}

std::vector<float> FaultMotion::getPosition(const std::string& sensor, MotionFrame frame, bool useSensorValues)
{
  const Mode mode = faults->enter(Operation::GetPosition);
  std::vector<float> position = motion->getPosition(sensor, frame, useSensorValues);
  switch (mode)
  {
  case Mode::Null:
    return {};
  case Mode::Garbage:
    return {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -1e30F, 1e30F, 1e10F, 0};
  case Mode::WrongSize:
  {
    const std::lock_guard lock(mutex);
    const int size = changed(static_cast<int>(position.size()), sizeChanges[sizes++ % sizeChanges.size()]);
    position.resize(static_cast<std::size_t>(size));
    return position;
  }
  default:
    return position;
  }
}
}  // namespace ZR::Fault
