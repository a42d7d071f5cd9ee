#include "filtrix/zrmath/tostring.h"

#include "filtrix/zrmath/pose2d.h"
#include "filtrix/zrmath/position6d.h"
#include "filtrix/zrmath/quaternion.h"
#include "filtrix/zrmath/transform.h"
#include "filtrix/zrmath/velocity6d.h"

#include <fmt/format.h>

namespace ZR::ZRMath
{
std::string toString(const Position2D& position)
{
  return fmt::format("Position2D(x={}, y={})", position.x, position.y);
}

std::string toString(const Position3D& position)
{
  return fmt::format("Position3D(x={}, y={}, z={})", position.x, position.y, position.z);
}

std::string toString(const Position6D& pose)
{
  return fmt::format("Position6D(x={}, y={}, z={}, wx={}, wy={}, wz={})", pose.x, pose.y, pose.z, pose.wx, pose.wy,
                     pose.wz);
}

std::string toString(const Velocity3D& velocity)
{
  return fmt::format("Velocity3D(x={}, y={}, z={})", velocity.x, velocity.y, velocity.z);
}

std::string toString(const Velocity6D& twist)
{
  const auto& [linear, angular] = twist;
  return fmt::format("Velocity6D(x={}, y={}, z={}, wx={}, wy={}, wz={})", linear.x, linear.y, linear.z, angular.x,
                     angular.y, angular.z);
}

std::string toString(const Pose2D& pose)
{
  return fmt::format("Pose2D(x={}, y={}, theta={})", pose.getX(), pose.getY(), pose.getTheta());
}

std::string toString(const Quaternion& q)
{
  return fmt::format("Quaternion(w={}, x={}, y={}, z={})", q.getW(), q.getX(), q.getY(), q.getZ());
}

std::string toString(const Rotation& rotation)
{
  const auto [roll, pitch, yaw] = rotation.toRollPitchYaw();
  return fmt::format("Rotation(roll={}, pitch={}, yaw={})", roll, pitch, yaw);
}

std::string toString(const Transform& pose)
{
  const Position6D p = pose.toPosition6D();
  return fmt::format("Transform(x={}, y={}, z={}, roll={}, pitch={}, yaw={})", p.x, p.y, p.z, p.wx, p.wy, p.wz);
}
}  // namespace ZR::ZRMath
