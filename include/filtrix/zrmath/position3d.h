#pragma once

#include "filtrix/zrmath/linearspace.h"

#include <cmath>

namespace ZR::ZRMath
{
/// A point in space, or the way from one to another, in metres. Equality is exact.
struct Position3D
{
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  bool operator==(const Position3D&) const = default;

  constexpr Position3D& operator+=(const Position3D& o) { return *this = {x + o.x, y + o.y, z + o.z}; }

  constexpr Position3D& operator-=(const Position3D& o) { return *this = {x - o.x, y - o.y, z - o.z}; }

  constexpr Position3D& operator*=(double factor) { return *this = {x * factor, y * factor, z * factor}; }

  constexpr Position3D& operator/=(double divisor) { return *this = {x / divisor, y / divisor, z / divisor}; }

  [[nodiscard]] constexpr double dot(const Position3D& o) const { return x * o.x + y * o.y + z * o.z; }

  [[nodiscard]] constexpr Position3D cross(const Position3D& o) const
  {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }

  [[nodiscard]] double norm() const { return std::hypot(x, y, z); }
};
}  // namespace ZR::ZRMath
