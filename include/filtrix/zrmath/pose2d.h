#pragma once

#include "filtrix/zrmath/position2d.h"

namespace ZR::ZRMath
{
class Transform;

/// A pose on the ground: a `Transform` that keeps to the plane z = 0 and turns about z only.
///     pointA = poseAB * pointB;      poseAC = poseAB * poseBC;
class Pose2D final
{
public:
  Pose2D() = default;

  /// `theta` is the heading, kept in (-pi, pi]. Throws `std::invalid_argument` on a heading that is not finite.
  Pose2D(double xMetres, double yMetres, double thetaRadians);

  /// The shadow of a pose in space: its x, y and yaw; see `Rotation::toRollPitchYaw` for one that looks straight up.
  [[nodiscard]] static Pose2D fromTransform(const Transform& pose);
  [[nodiscard]] Transform toTransform() const;

  [[nodiscard]] double getX() const { return position.x; }

  [[nodiscard]] double getY() const { return position.y; }

  [[nodiscard]] double getTheta() const { return theta; }

  [[nodiscard]] const Position2D& getPosition() const { return position; }

  [[nodiscard]] Pose2D inverse() const;

private:
  Position2D position;
  double theta = 0.0;
};

[[nodiscard]] Pose2D operator*(const Pose2D& poseAB, const Pose2D& poseBC);
[[nodiscard]] Position2D operator*(const Pose2D& poseAB, const Position2D& pointB);

/// On the arc of a circle from `a` (share 0) to `b` (share 1), at constant speed and turn rate: the way a body goes
/// that holds its controls still. Throws `std::invalid_argument` on a share that is not finite.
[[nodiscard]] Pose2D interpolate(const Pose2D& a, const Pose2D& b, double share);

/// True when both the positions and the headings are near; +pi and -pi are one heading, NaN is near nothing.
[[nodiscard]] bool isNear(const Pose2D& a, const Pose2D& b, double toleranceMetres, double toleranceRadians);
}  // namespace ZR::ZRMath
