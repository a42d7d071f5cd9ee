#pragma once

#include "platform/sim/photographer.h"
#include "platform/sim/scene.h"

#include <chrono>
#include <memory>
#include <optional>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Sim
{
struct RobotOptions
{
  DepthSensor sensor = {};

  /// Microseconds at which the robot's own time starts; that of `ku::Clock` when not told. From there on `ku::Clock`
  /// counts.
  std::optional<std::chrono::microseconds> start = {};
};

/// A robot in a scene: cameras, depth camera, microphones and a head that moves, all computed. Thread-safe.
class Robot final
{
public:
  explicit Robot(Scene scene, const RobotOptions& options = {});
  ~Robot();
  Robot(const Robot&) = delete;
  Robot& operator=(const Robot&) = delete;

  /// Adds the camera, the motion and the audio service.
  void attach(ZRBroker& broker) const;

  [[nodiscard]] const Photographer& photographer() const noexcept;

private:
  class Services;

  const std::unique_ptr<Services> services;
};
}  // namespace ZR::Sim
