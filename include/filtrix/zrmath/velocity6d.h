#pragma once

#include "filtrix/zrmath/velocity3d.h"

namespace ZR::ZRMath
{
/// A twist: how a rigid body moves at one moment. Equality is exact.
///
/// Written in a frame A, `angular` is the body's turn rate (radians per second) and `linear` the velocity (metres per
/// second) of the body's point that is at A's origin just now. For the body's own frame that is the velocity of its
/// origin, as odometry gives it. `changeFrame` takes a twist to another frame.
struct Velocity6D
{
  Velocity3D linear{};
  Velocity3D angular{};

  bool operator==(const Velocity6D&) const = default;

  constexpr Velocity6D& operator+=(const Velocity6D& o) { return *this = {linear + o.linear, angular + o.angular}; }

  constexpr Velocity6D& operator-=(const Velocity6D& o) { return *this = {linear - o.linear, angular - o.angular}; }

  constexpr Velocity6D& operator*=(double factor) { return *this = {linear * factor, angular * factor}; }

  constexpr Velocity6D& operator/=(double divisor) { return *this = {linear / divisor, angular / divisor}; }
};

/// True when both parts are near, each within its own tolerance; NaN is near nothing.
[[nodiscard]] inline bool isNear(const Velocity6D& a, const Velocity6D& b, double linearTolerance,
                                 double angularTolerance)
{
  return isNear(a.linear, b.linear, linearTolerance) && isNear(a.angular, b.angular, angularTolerance);
}
}  // namespace ZR::ZRMath
