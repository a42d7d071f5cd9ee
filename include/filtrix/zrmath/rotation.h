#pragma once

#include "filtrix/zrmath/position3d.h"
#include "filtrix/zrmath/quaternion.h"
#include "filtrix/zrmath/velocity3d.h"

#include <Eigen/Core>
#include <utility>

namespace ZR::ZRMath
{
/// A turn by an angle about an axis of length one.
struct AxisAngle
{
  Position3D axis{};
  double angleRadians = 0.0;
};

/// The turns about the fixed axes x, y and z, done in this order, in radians.
struct RollPitchYaw
{
  double roll = 0.0;
  double pitch = 0.0;
  double yaw = 0.0;
};

/// A turn in space, kept as a matrix: the quickest to apply to many points.
///     pointA = rotationAB * pointB;      rotationAC = rotationAB * rotationBC;
///
/// The factories throw `std::invalid_argument` on numbers that are not finite. A product is off from a true rotation by
/// some 1e-16 more than its factors; after millions of them `fromMatrix(r.getMatrix())` brings it back.
class Rotation final
{
public:
  /// How far an entry of M^T M may be from the identity for M to pass as a rotation: four written decimals are enough.
  static constexpr double matrixTolerance = 1e-3;

  /// No turn.
  Rotation() = default;

  [[nodiscard]] static Rotation aboutX(double radians);
  [[nodiscard]] static Rotation aboutY(double radians);
  [[nodiscard]] static Rotation aboutZ(double radians);

  /// The axis may have any length but zero, for which it throws `std::invalid_argument`.
  [[nodiscard]] static Rotation fromAxisAngle(const Position3D& axis, double angleRadians);

  /// R = Rz(yaw) * Ry(pitch) * Rx(roll), for any angles.
  [[nodiscard]] static Rotation fromRollPitchYaw(double rollRadians, double pitchRadians, double yawRadians);

  [[nodiscard]] static Rotation fromQuaternion(const Quaternion& q);

  /// The rotation that is nearest to a matrix, by the sum of the squared differences.
  /// Throws `std::invalid_argument` when the matrix is a reflection or further off than `matrixTolerance`.
  /// Source: N. Higham, "Computing the Polar Decomposition - with Applications", SIAM J. Sci. Stat. Comput. 7(4), 1986.
  [[nodiscard]] static Rotation fromMatrix(const Eigen::Matrix3d& matrix);

  /// The angle is in [0, pi]. No turn has the axis x; half a turn has either of its two axes.
  [[nodiscard]] AxisAngle toAxisAngle() const;

  /// Roll and yaw are in [-pi, pi], pitch in [-pi/2, pi/2]; put back in, they give this rotation.
  /// Straight up or down (pitch +-pi/2, within 1e-12) roll and yaw turn about one line and only their sum or
  /// difference is known: then roll is 0 and yaw takes it all.
  /// Source: K. Shoemake, "Euler Angle Conversion", Graphics Gems IV, 1994; the yaw is taken from what the roll leaves
  /// over, so that the two fit together close to the pole too.
  [[nodiscard]] RollPitchYaw toRollPitchYaw() const;

  /// With w >= 0.
  [[nodiscard]] Quaternion toQuaternion() const;

  /// The columns are B's axes written in A.
  [[nodiscard]] const Eigen::Matrix3d& getMatrix() const { return matrix; }

  [[nodiscard]] Rotation inverse() const;

  friend Rotation operator*(const Rotation& rotationAB, const Rotation& rotationBC);

private:
  explicit Rotation(Eigen::Matrix3d matrix_) : matrix(std::move(matrix_)) {}

  Eigen::Matrix3d matrix = Eigen::Matrix3d::Identity();
};

[[nodiscard]] Rotation operator*(const Rotation& rotationAB, const Rotation& rotationBC);
[[nodiscard]] Position3D operator*(const Rotation& rotationAB, const Position3D& pointB);
[[nodiscard]] Velocity3D operator*(const Rotation& rotationAB, const Velocity3D& velocityB);

/// The smallest angle that turns `a` into `b`, in [0, pi].
[[nodiscard]] double angleBetween(const Rotation& a, const Rotation& b);

/// True when the two are at most `toleranceRadians` apart.
[[nodiscard]] bool isNear(const Rotation& a, const Rotation& b, double toleranceRadians);

/// From `a` (share 0) to `b` (share 1) at constant turn rate, the short way round; other shares go on beyond them.
/// Throws `std::invalid_argument` on a share that is not finite.
[[nodiscard]] Rotation interpolate(const Rotation& a, const Rotation& b, double share);
}  // namespace ZR::ZRMath
