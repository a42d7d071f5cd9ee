#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace ZR
{
class ZRBroker;
}

namespace ZR::OpenNI
{
/// A depth camera or a recording of one cannot be opened. The text says which, and why.
class DeviceError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

struct DeviceOptions
{
  /// The address of a device, or an .oni file; empty for the first depth camera of this machine.
  std::string device;

  /// Microseconds at which the robot's own time starts; that of `ku::Clock` when not told. From there on `ku::Clock`
  /// counts.
  std::optional<std::chrono::microseconds> start = {};
};

/// A robot whose eyes are a depth camera that OpenNI2 knows, with its colour camera where it has one: camera 2 and
/// camera 0. Depth is brought to where the colour camera is, when the device can. Pictures are resized and converted to
/// what a subscription asks for. A recording plays at its own pace, again and again. Thread-safe.
class DepthRobot final
{
public:
  /// Throws `DeviceError`.
  explicit DepthRobot(const DeviceOptions& options);
  ~DepthRobot();
  DepthRobot(const DepthRobot&) = delete;
  DepthRobot& operator=(const DepthRobot&) = delete;

  /// Adds a camera service.
  void attach(ZRBroker& broker) const;

private:
  class Services;

  const std::unique_ptr<Services> services;
};
}  // namespace ZR::OpenNI
