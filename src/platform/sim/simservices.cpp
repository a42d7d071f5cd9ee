#include "platform/sim/simservices.h"

#include "platform/sim/robotbody.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace ZR::Sim
{
namespace
{
constexpr std::int64_t second = 1'000'000'000;  // nanoseconds
constexpr int highestRate = 120;

std::int64_t sinceStart(const TimeBase& time)
{
  return (ku::Clock::now() - time.clockStart).count();
}

std::int64_t periodOf(int framesPerSecond)
{
  return second / std::clamp(framesPerSecond, 1, highestRate);
}

// A tone of a quarter of the full loudness at 440 Hz, and, at times, syllables of a deep voice.
std::int16_t sampleAt(double seconds)
{
  constexpr double turn = 2.0 * std::numbers::pi;
  double value = 0.05 * std::sin(turn * 440.0 * seconds);
  if (std::fmod(seconds, 5.0) < 2.0)
  {
    const double syllable = std::max(0.0, std::sin(turn * 4.0 * seconds));
    const double pitch = 120.0 * (1.0 + 0.05 * std::sin(turn * 0.7 * seconds));
    for (int harmonic = 1; harmonic <= 8; ++harmonic)
      value += 0.25 / harmonic * syllable * std::sin(turn * pitch * harmonic * seconds);
  }
  return static_cast<std::int16_t>(std::lround(32767.0 * std::clamp(value, -1.0, 1.0)));
}
}  // namespace

SimCamera::SimCamera(std::shared_ptr<const Photographer> photographer_, TimeBase time_)
    : photographer(std::move(photographer_)), time(time_)
{
}

int SimCamera::getCameraModel(int camera)
{
  if (camera < Camera::top || camera > Camera::stereo)
    throw std::invalid_argument(fmt::format("there is no camera {}", camera));
  constexpr int plainCamera = 1;
  return camera < Camera::depth ? plainCamera : photographer->stage().scene().model;
}

std::string SimCamera::subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                       int framesPerSecond)
{
  const FrameFormat format = frameFormat(resolution, colorSpace);
  if (!photographer->canTake(camera, colorSpace))
    throw std::invalid_argument(fmt::format("camera {} gives no color space {}", camera, colorSpace));
  auto subscription = std::make_shared<Subscription>();
  subscription->camera = camera;
  subscription->format = format;
  subscription->framesPerSecond = framesPerSecond;
  return subscriptions.add(name, std::move(subscription));
}

void SimCamera::unsubscribe(const std::string& id)
{
  subscriptions.remove(id)->waiter.close();
}

std::optional<std::int64_t> SimCamera::_nextFrame(Subscription& subscription, ku::Clock::time_point& wake) const
{
  const std::int64_t period = periodOf(subscription.framesPerSecond);
  const std::int64_t newest = sinceStart(time) / period * period;
  if (newest > subscription.lastFrame)
  {
    subscription.lastFrame = newest;
    return newest;
  }
  wake = time.clockStart + std::chrono::nanoseconds((subscription.lastFrame / period + 1) * period);
  return std::nullopt;
}

std::shared_ptr<const ZRImage> SimCamera::getImageLocal(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  const auto moment =
      subscription->waiter.wait([&](ku::Clock::time_point& wake) { return _nextFrame(*subscription, wake); });
  if (!moment)
    return nullptr;
  const FrameFormat& format = subscription->format;
  auto frame = photographer->take(subscription->camera, format.width, format.height, format.colorSpace,
                                  1.0e-9 * static_cast<double>(*moment));
  frame->setTimestamp(time.microseconds(time.clockStart + std::chrono::nanoseconds(*moment)));
  return frame;
}

void SimCamera::releaseImage(const std::string& id)
{
  static_cast<void>(subscriptions.find(id));
}

void SimCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  subscriptions.find(id)->framesPerSecond = framesPerSecond;
}

SimMotion::SimMotion(std::shared_ptr<const Photographer> photographer_, TimeBase time_)
    : photographer(std::move(photographer_)), time(time_)
{
}

std::vector<std::string> SimMotion::getSensorNames()
{
  return sensorNames(photographer->stage().scene());
}

std::vector<float> SimMotion::getPosition(const std::string& name, MotionFrame frame, bool)
{
  const Stage& stage = photographer->stage();
  const double moment = stage.sceneTime(1.0e-9 * static_cast<double>(sinceStart(time)));
  const auto pose = cameraPose(stage.scene(), cameraOfSensor(stage.scene(), name), frame, moment).toPosition6D();
  std::vector<float> position;
  for (const double value : {pose.x, pose.y, pose.z, pose.wx, pose.wy, pose.wz})
    position.push_back(static_cast<float>(value));
  return position;
}

SimAudio::SimAudio(TimeBase time_) : time(time_) {}

std::vector<std::string> SimAudio::getMicrophoneNames()
{
  return {"FrontLeft", "FrontRight", "RearLeft", "RearRight"};
}

std::string SimAudio::subscribeAudio(const std::string& name, int sampleRateHz)
{
  if (sampleRateHz < 8000 || sampleRateHz > 96000)
    throw std::invalid_argument(fmt::format("{} Hz, expected 8000 to 96000", sampleRateHz));
  auto subscription = std::make_shared<Subscription>();
  subscription->sampleRate = sampleRateHz;
  return subscriptions.add(name, std::move(subscription));
}

void SimAudio::unsubscribe(const std::string& id)
{
  subscriptions.remove(id)->waiter.close();
}

std::shared_ptr<const AudioBlock> SimAudio::getBlock(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  return subscription->waiter.wait([&](ku::Clock::time_point& wake) { return _look(*subscription, wake); });
}

// A block can be heard once its last sample has been spoken.
std::shared_ptr<const AudioBlock> SimAudio::_look(Subscription& subscription, ku::Clock::time_point& wake) const
{
  constexpr std::int64_t blockLength = second / 50;
  const std::int64_t number = subscription.heard;
  const auto begin = subscription.origin + std::chrono::nanoseconds(number * blockLength);
  wake = begin + std::chrono::nanoseconds(blockLength);
  if (wake > ku::Clock::now())
    return nullptr;
  subscription.heard = number + 1;
  auto block = std::make_shared<AudioBlock>();
  block->timestamp = time.microseconds(begin);
  block->sampleRate = subscription.sampleRate;
  block->channels = {"FrontLeft", "FrontRight", "RearLeft", "RearRight"};
  const double start = 1.0e-9 * static_cast<double>((begin - time.clockStart).count());
  for (int i = 0; i < subscription.sampleRate / 50; ++i)
  {
    const std::int16_t sample = sampleAt(start + i / static_cast<double>(subscription.sampleRate));
    block->samples.insert(block->samples.end(), block->channels.size(), sample);
  }
  return block;
}
}  // namespace ZR::Sim
