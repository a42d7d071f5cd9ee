#include "platform/motionservice.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace ZR
{
namespace
{
MotionFrame toFrame(int number)
{
  if (number < static_cast<int>(MotionFrame::Torso) || number > static_cast<int>(MotionFrame::Robot))
    throw std::invalid_argument(fmt::format("frame {}, expected 0 (torso), 1 (world) or 2 (robot)", number));
  return static_cast<MotionFrame>(number);
}
}  // namespace

MotionService::MotionService(std::string name) : ZRModuleCore(std::move(name))
{
  setModuleDescription("Where the robot's sensors are.");

  functionName("getSensorNames", getName(), "Lists the sensors whose positions can be asked for.");
  bindMethod(&MotionService::getSensorNames, this);

  functionName("getPosition", getName(), "Gives x, y, z in metres and the rotation about them in radians.");
  addParam("name", "The sensor.");
  addParam("frame", "0 torso, 1 world, 2 robot.");
  addParam("useSensorValues", "Measured joints, not those commanded.");
  bindMethod([this](const std::string& sensor, int frame, bool useSensorValues)
             { return getPosition(sensor, toFrame(frame), useSensorValues); });
}
}  // namespace ZR
