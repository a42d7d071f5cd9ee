#include "filtrix/zrmath/pose2d.h"

#include "filtrix/zrmath/angle.h"
#include "filtrix/zrmath/transform.h"
#include "foundation/zrmath/checks.h"

#include <cmath>

namespace ZR::ZRMath
{
Pose2D::Pose2D(double xMetres, double yMetres, double thetaRadians) : position{xMetres, yMetres}
{
  requireFinite("Pose2D", "theta", {thetaRadians});
  theta = normalizeAngle(thetaRadians);
}

Pose2D Pose2D::fromTransform(const Transform& pose)
{
  const Position3D& place = pose.getTranslation();
  return {place.x, place.y, pose.getRotation().toRollPitchYaw().yaw};
}

Transform Pose2D::toTransform() const
{
  return {Rotation::aboutZ(theta), {position.x, position.y, 0.0}};
}

Pose2D Pose2D::inverse() const
{
  const Position2D place = Pose2D(0.0, 0.0, -theta) * -position;
  return {place.x, place.y, -theta};
}

Pose2D operator*(const Pose2D& poseAB, const Pose2D& poseBC)
{
  const Position2D place = poseAB * poseBC.getPosition();
  return {place.x, place.y, poseAB.getTheta() + poseBC.getTheta()};
}

Position2D operator*(const Pose2D& poseAB, const Position2D& pointB)
{
  const double s = std::sin(poseAB.getTheta());
  const double c = std::cos(poseAB.getTheta());
  return poseAB.getPosition() + Position2D{c * pointB.x - s * pointB.y, s * pointB.x + c * pointB.y};
}

Pose2D interpolate(const Pose2D& a, const Pose2D& b, double share)
{
  return Pose2D::fromTransform(interpolate(a.toTransform(), b.toTransform(), share));
}

bool isNear(const Pose2D& a, const Pose2D& b, double toleranceMetres, double toleranceRadians)
{
  return isNear(a.getPosition(), b.getPosition(), toleranceMetres) &&
         std::abs(normalizeAngle(a.getTheta() - b.getTheta())) <= toleranceRadians;
}
}  // namespace ZR::ZRMath
