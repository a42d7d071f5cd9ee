#pragma once

#include "platform/zrmodulecore.h"
#include "platform/zrproxy.h"

#include <string>
#include <vector>

namespace ZR
{
/// The frame in which a position is told: x forward, y left, z up.
enum class MotionFrame
{
  Torso = 0,
  World = 1,  ///< fixed where the robot was started
  Robot = 2   ///< on the ground between the robot's feet
};

/// Where the robot's sensors are. Whatever goes wrong is thrown as a std::exception. Thread-safe.
class MotionService : public ZRModuleCore
{
public:
  static constexpr const char* serviceName = "ZRMotion";
  static constexpr const char* serviceKind = "a motion service";

  /// Binds the operations below by their names. By name a frame is its number.
  explicit MotionService(std::string name = serviceName);

  /// The sensors whose positions can be asked for: "CameraTop", "CameraDepth" and so on.
  [[nodiscard]] virtual std::vector<std::string> getSensorNames() = 0;

  /// Six floats: x, y, z in metres and the rotation about them in radians, from the measured joints or from those
  /// commanded.
  [[nodiscard]] virtual std::vector<float> getPosition(const std::string& name, MotionFrame frame,
                                                       bool useSensorValues) = 0;
};

using MotionProxy = ServiceProxy<MotionService>;
}  // namespace ZR
