#pragma once

#include "platform/cameraservice.h"
#include "platform/frames/frameconversion.h"
#include "platform/frames/subscriptiontable.h"
#include "platform/frames/timebase.h"
#include "platform/openni/opennirobot.h"

#include <OpenNI.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace ZR::OpenNI
{
/// The library, started for as long as it lives: it counts how often.
struct Library final
{
  /// Throws `DeviceError`.
  Library();
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

/// One of the device's streams, and its last frame. Thread-safe.
class Stream final
{
public:
  /// Throws `DeviceError` when the device has no such sensor, or it cannot be started.
  Stream(openni::Device& device, openni::SensorType sensor);
  ~Stream();
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  struct Frame
  {
    std::shared_ptr<const ZRImage> image;
    std::uint64_t number = 0;  ///< from 1 on
  };

  /// The frame after the one of this number; null when none comes within a second. The time stamp is that of its
  /// arrival.
  [[nodiscard]] Frame next(std::uint64_t after, const TimeBase& time);

private:
  void _read(const TimeBase& time);

  openni::VideoStream stream;
  const openni::SensorType sensor;
  std::mutex mutex;  // guards the rest; held while a frame is waited for
  Frame last;
};

/// The cameras of a device.
class OpenniCamera final : public CameraService
{
public:
  OpenniCamera(const DeviceOptions& options, TimeBase time_);

  [[nodiscard]] bool hasDepthCamera() override { return true; }

  [[nodiscard]] int getCameraModel(int camera) override;
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;

  /// The device goes at its own rate; a subscription only leaves frames out.
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  struct Subscription
  {
    int camera = 0;
    FrameFormat format;
    std::atomic<int> framesPerSecond = 1;
    std::atomic<std::uint64_t> lastNumber = 0;
    std::atomic<std::int64_t> nextTime = 0;  // microseconds
    std::atomic<bool> isClosed = false;
  };

  [[nodiscard]] Stream& _stream(int camera) const;

  const TimeBase time;
  const Library library;  // ends last
  openni::Device device;
  std::unique_ptr<Stream> depth;
  std::unique_ptr<Stream> color;  // null where there is none
  SubscriptionTable<Subscription> subscriptions;
};
}  // namespace ZR::OpenNI
