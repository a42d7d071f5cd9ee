#pragma once

#include "filtrix/zrmath/linearspace.h"

#include <cmath>

namespace ZR::ZRMath
{
/// A point on the ground, or the way from one to another, in metres: x forward, y left. Equality is exact.
struct Position2D
{
  double x = 0.0;
  double y = 0.0;

  bool operator==(const Position2D&) const = default;

  constexpr Position2D& operator+=(const Position2D& o) { return *this = {x + o.x, y + o.y}; }

  constexpr Position2D& operator-=(const Position2D& o) { return *this = {x - o.x, y - o.y}; }

  constexpr Position2D& operator*=(double factor) { return *this = {x * factor, y * factor}; }

  constexpr Position2D& operator/=(double divisor) { return *this = {x / divisor, y / divisor}; }

  [[nodiscard]] constexpr double dot(const Position2D& o) const { return x * o.x + y * o.y; }

  /// The z of the cross product: positive when `o` lies to the left of this.
  [[nodiscard]] constexpr double cross(const Position2D& o) const { return x * o.y - y * o.x; }

  [[nodiscard]] double norm() const { return std::hypot(x, y); }
};
}  // namespace ZR::ZRMath
