#include "filtrix/zrmath/exponential.h"

#include "filtrix/zrmath/quaternion.h"
#include "filtrix/zrmath/rotation.h"
#include "filtrix/zrmath/transform.h"
#include "foundation/zrmath/checks.h"

#include <cmath>

// Two choices keep all of this free of series near zero and of special cases near pi.
//
// Turns go by way of the half angle: of a quaternion's vector and w at least one is large, so their arc tangent is good
// everywhere, while the matrix' own skew part fades at pi and its trace at zero.
//
// The SE(3) formulas are written with the axis of length one, V v = v + beta n x v + gamma n x (n x v): what the
// textbook coefficients lose by cancellation, beta and gamma lose only against the 1 that stands before them.

namespace ZR::ZRMath
{
namespace
{
Velocity3D axisOf(const Velocity3D& turn, double angle)
{
  return angle == 0.0 ? Velocity3D{} : turn / angle;
}
}  // namespace

Rotation exp(const Velocity3D& angularVelocity)
{
  requireFinite("exp", "angular velocity", {angularVelocity.x, angularVelocity.y, angularVelocity.z});
  const double angle = angularVelocity.norm();
  const Velocity3D vector = std::sin(angle / 2.0) * axisOf(angularVelocity, angle);
  return Rotation::fromQuaternion({std::cos(angle / 2.0), vector.x, vector.y, vector.z});
}

Velocity3D log(const Rotation& rotation)
{
  const Quaternion q = rotation.toQuaternion();
  const Velocity3D vector{q.getX(), q.getY(), q.getZ()};
  const double sine = vector.norm();
  return 2.0 * std::atan2(sine, q.getW()) * axisOf(vector, sine);
}

Transform exp(const Velocity6D& twist)
{
  const auto& [linear, angular] = twist;
  requireFinite("exp", "linear velocity", {linear.x, linear.y, linear.z});
  requireFinite("exp", "angular velocity", {angular.x, angular.y, angular.z});
  const double angle = angular.norm();
  if (angle == 0.0)
    return {Rotation(), {linear.x, linear.y, linear.z}};

  const Velocity3D axis = axisOf(angular, angle);
  const double halfSine = std::sin(angle / 2.0);
  const double beta = 2.0 * halfSine * halfSine / angle;
  const double gamma = 1.0 - std::sin(angle) / angle;
  const Velocity3D across = axis.cross(linear);
  const Velocity3D way = linear + beta * across + gamma * axis.cross(across);
  return {exp(angular), {way.x, way.y, way.z}};
}

Velocity6D log(const Transform& motion)
{
  const Velocity3D angular = log(motion.getRotation());
  const Position3D& translation = motion.getTranslation();
  const Velocity3D way{translation.x, translation.y, translation.z};
  const double half = angular.norm() / 2.0;
  if (half == 0.0)
    return {way, angular};

  // The inverse of V. The half angle is at most a quarter turn, where its sine is safe to divide by.
  const Velocity3D axis = axisOf(angular, 2.0 * half);
  const double gamma = 1.0 - half * std::cos(half) / std::sin(half);
  const Velocity3D across = axis.cross(way);
  return {way - half * across + gamma * axis.cross(across), angular};
}
}  // namespace ZR::ZRMath
