#pragma once

#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/frames/frameconversion.h"
#include "platform/frames/subscriptiontable.h"
#include "platform/frames/timebase.h"
#include "platform/frames/waiter.h"
#include "platform/motionservice.h"
#include "platform/sim/photographer.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// The services of the simulated robot. Their time is `ku::Clock`'s, from the robot's start on.
namespace ZR::Sim
{
class SimCamera final : public CameraService
{
public:
  SimCamera(std::shared_ptr<const Photographer> photographer_, TimeBase time_);

  [[nodiscard]] bool hasDepthCamera() override { return true; }

  [[nodiscard]] int getCameraModel(int camera) override;

  /// Frames come at multiples of the rate's period since the robot's start. Throws std::invalid_argument on a camera,
  /// a resolution, a colour space or a rate that there is not.
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;

  /// Takes the picture when its time has come, on the caller's thread. Who comes late gets the newest.
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  struct Subscription
  {
    int camera = 0;
    FrameFormat format;
    std::atomic<int> framesPerSecond = 1;
    std::atomic<std::int64_t> lastFrame = -1;  // nanoseconds since the robot's start
    Waiter waiter;
  };

  [[nodiscard]] std::optional<std::int64_t> _nextFrame(Subscription& subscription, ku::Clock::time_point& wake) const;

  const std::shared_ptr<const Photographer> photographer;
  const TimeBase time;
  SubscriptionTable<Subscription> subscriptions;
};

/// Tells where the cameras are now.
class SimMotion final : public MotionService
{
public:
  SimMotion(std::shared_ptr<const Photographer> photographer_, TimeBase time_);

  [[nodiscard]] std::vector<std::string> getSensorNames() override;
  [[nodiscard]] std::vector<float> getPosition(const std::string& name, MotionFrame frame,
                                               bool useSensorValues) override;

private:
  const std::shared_ptr<const Photographer> photographer;
  const TimeBase time;
};

/// Four microphones that hear a tone all the time, and bursts like speech: for two of every five seconds, a fiftieth
/// of a second a block.
class SimAudio final : public AudioService
{
public:
  explicit SimAudio(TimeBase time_);

  [[nodiscard]] std::vector<std::string> getMicrophoneNames() override;

  /// From 8000 to 96000 Hz; else std::invalid_argument.
  [[nodiscard]] std::string subscribeAudio(const std::string& name, int sampleRateHz) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const AudioBlock> getBlock(const std::string& id) override;

private:
  struct Subscription
  {
    int sampleRate = 0;  // Hz
    ku::Clock::time_point origin = ku::Clock::now();
    std::atomic<std::int64_t> heard = 0;  // blocks
    Waiter waiter;
  };

  [[nodiscard]] std::shared_ptr<const AudioBlock> _look(Subscription& subscription, ku::Clock::time_point& wake) const;

  const TimeBase time;
  SubscriptionTable<Subscription> subscriptions;
};
}  // namespace ZR::Sim
