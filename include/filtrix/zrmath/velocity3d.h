#pragma once

#include "filtrix/zrmath/linearspace.h"

#include <cmath>

namespace ZR::ZRMath
{
/// A velocity in metres per second; as the angular part of a twist, a turn rate about its own direction in radians per
/// second. Equality is exact.
struct Velocity3D
{
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  bool operator==(const Velocity3D&) const = default;

  constexpr Velocity3D& operator+=(const Velocity3D& o) { return *this = {x + o.x, y + o.y, z + o.z}; }

  constexpr Velocity3D& operator-=(const Velocity3D& o) { return *this = {x - o.x, y - o.y, z - o.z}; }

  constexpr Velocity3D& operator*=(double factor) { return *this = {x * factor, y * factor, z * factor}; }

  constexpr Velocity3D& operator/=(double divisor) { return *this = {x / divisor, y / divisor, z / divisor}; }

  [[nodiscard]] constexpr double dot(const Velocity3D& o) const { return x * o.x + y * o.y + z * o.z; }

  [[nodiscard]] constexpr Velocity3D cross(const Velocity3D& o) const
  {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }

  [[nodiscard]] double norm() const { return std::hypot(x, y, z); }
};
}  // namespace ZR::ZRMath
