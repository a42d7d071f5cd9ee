#pragma once

#include "filtrix/ku/clock.h"
#include "platform/motionservice.h"
#include "sources/servicecalls.h"
#include "sources/sourcefigures.h"

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
class FiltrixPrivate;

/// What keeps the motion sources filled: makes those that are missing, then asks for the positions that are wanted and
/// sets those that have changed. A position counts as changed when one of its six numbers differs by more than 0.001
/// from that which was last set. One that is not of six finite numbers is passed over, with a line of the log when
/// what is wrong changes. Of the service's sensors the first 4096 different ones are taken.
///
/// Programs written for a robot with a top and a depth camera run on others too: "CameraDepth" and "CameraTop" are
/// there on each robot that has sensors, in the place of "CameraTop" and "CameraLeft" where it has none of its own.
///
/// Log category "filtrix.motionsourceworker".
class MotionSourceWorker final
{
public:
  /// A null proxy leaves nothing to do.
  MotionSourceWorker(const std::shared_ptr<FiltrixPrivate>& registry_, std::shared_ptr<const MotionProxy> proxy_);
  MotionSourceWorker(const MotionSourceWorker&) = delete;
  MotionSourceWorker& operator=(const MotionSourceWorker&) = delete;
  ~MotionSourceWorker() = default;

  /// Works, on a thread of its own, until it is interrupted or the registry has gone.
  void run();

  /// Lets nothing more be set, and `run` end as soon as the service lets it. Thread-safe.
  void interrupt();

  /// Of each position. Thread-safe.
  [[nodiscard]] std::vector<SourceFigures> getFigures() const;

private:
  // One position in one frame, and what was last set.
  struct Position
  {
    std::string sourceName;
    MotionFrame frame;
    std::vector<float> lastSent;
    std::string fault;  ///< what was wrong with the last one, told when it changes
    std::shared_ptr<SourceProgress> progress = std::make_shared<SourceProgress>(sourceName);
  };

  // A sensor, by the name that the service knows for it on this robot.
  struct Sensor
  {
    std::string serviceName;
    std::array<Position, 3> positions;  ///< torso, robot, world
  };

  void _findSensors();
  void _createSources(FiltrixPrivate& registry) const;
  [[nodiscard]] std::chrono::milliseconds _step(Sensor& sensor);
  [[nodiscard]] std::chrono::milliseconds _update(const std::string& serviceName, Position& position);
  void _publish(Position& position, const std::vector<float>& now) const;
  [[nodiscard]] std::optional<std::vector<float>> _getPosition(const std::string& serviceName, MotionFrame frame);

  const std::weak_ptr<FiltrixPrivate> registry;
  const std::shared_ptr<const MotionProxy> proxy;
  ServiceCalls calls;
  std::vector<Sensor> sensors;
  std::atomic<bool> interrupted{false};
  ku::Alarm alarm;
};
}  // namespace ZR::Filtrix
