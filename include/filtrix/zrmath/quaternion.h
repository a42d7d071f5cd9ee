#pragma once

#include "filtrix/zrmath/position3d.h"

namespace ZR::ZRMath
{
/// A turn in space as a unit quaternion w + xi + yj + zk with Hamilton's product (ij = k). q and -q are the same turn.
///
/// Always of length one: what is made or multiplied is normalised, so a long chain of products does not drift.
class Quaternion final
{
public:
  /// No turn: (1, 0, 0, 0).
  Quaternion() = default;

  /// Of any length, which is brought to one. Throws `std::invalid_argument` when it is zero or not finite.
  Quaternion(double w, double x, double y, double z);

  [[nodiscard]] double getW() const { return w; }

  [[nodiscard]] double getX() const { return x; }

  [[nodiscard]] double getY() const { return y; }

  [[nodiscard]] double getZ() const { return z; }

  /// Of the two that are this turn, the one with w >= 0.
  [[nodiscard]] Quaternion canonical() const;

  /// The turn back, which is the conjugate.
  [[nodiscard]] Quaternion inverse() const;

  /// The four-dimensional one: 1 or -1 for the same turn.
  [[nodiscard]] double dot(const Quaternion& o) const;

private:
  double w = 1.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

[[nodiscard]] Quaternion operator*(const Quaternion& a, const Quaternion& b);
[[nodiscard]] Quaternion operator-(const Quaternion& q);
[[nodiscard]] Position3D operator*(const Quaternion& rotationAB, const Position3D& pointB);

/// The smallest angle that turns `a` into `b`, in [0, pi], exact to a few times 1e-16 for small angles and large.
/// Source: W. Kahan, "How Futile are Mindless Assessments of Roundoff in Floating-Point Computation?", 2006.
[[nodiscard]] double angleBetween(const Quaternion& a, const Quaternion& b);

/// True when the turns are at most `toleranceRadians` apart, whatever the signs of the quaternions.
[[nodiscard]] bool isNear(const Quaternion& a, const Quaternion& b, double toleranceRadians);

/// From `a` (share 0) to `b` (share 1) at constant turn rate, the short way round; other shares go on beyond them.
/// Half a turn has two short ways: the one to `b` as it is written is taken.
/// Throws `std::invalid_argument` on a share that is not finite.
/// Source: K. Shoemake, "Animating Rotation with Quaternion Curves", SIGGRAPH 1985.
[[nodiscard]] Quaternion slerp(const Quaternion& a, const Quaternion& b, double share);
}  // namespace ZR::ZRMath
