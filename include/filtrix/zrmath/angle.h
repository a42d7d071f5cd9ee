#pragma once

#include <numbers>

namespace ZR::ZRMath
{
/// The same angle in (-pi, pi]; half a turn is +pi, never -pi.
/// Throws `std::invalid_argument` on an angle that is not finite.
[[nodiscard]] double normalizeAngle(double radians);

[[nodiscard]] constexpr double toRadians(double degrees)
{
  return degrees * (std::numbers::pi / 180.0);
}

[[nodiscard]] constexpr double toDegrees(double radians)
{
  return radians * (180.0 / std::numbers::pi);
}
}  // namespace ZR::ZRMath
