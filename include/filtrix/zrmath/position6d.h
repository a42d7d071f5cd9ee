#pragma once

namespace ZR::ZRMath
{
/// A pose as six numbers, the way a person writes it: metres, then roll (wx), pitch (wy) and yaw (wz) in radians.
///
/// It has no arithmetic, since the angles of two turns do not add up: `Transform::fromPosition6D` makes a pose that
/// composes, and `isNear` on two such poses compares them. Equality is exact, number by number.
struct Position6D
{
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double wx = 0.0;
  double wy = 0.0;
  double wz = 0.0;

  bool operator==(const Position6D&) const = default;
};
}  // namespace ZR::ZRMath
