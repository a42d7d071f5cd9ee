#include "filtrix/zrmath/quaternion.h"

#include "foundation/zrmath/checks.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace ZR::ZRMath
{
namespace
{
// The angle between the two as directions in four dimensions, in [0, pi]. An arc cosine of the dot product would lose
// half the digits for small angles.
double arcBetween(const Quaternion& a, const Quaternion& b)
{
  const auto length = [](double w, double x, double y, double z) { return std::sqrt(w * w + x * x + y * y + z * z); };
  return 2.0 * std::atan2(length(a.getW() - b.getW(), a.getX() - b.getX(), a.getY() - b.getY(), a.getZ() - b.getZ()),
                          length(a.getW() + b.getW(), a.getX() + b.getX(), a.getY() + b.getY(), a.getZ() + b.getZ()));
}

// Of the two that are the turn `q`, the one closer to `reference`.
Quaternion closerTo(const Quaternion& reference, const Quaternion& q)
{
  return reference.dot(q) < 0.0 ? -q : q;
}
}  // namespace

Quaternion::Quaternion(double w_, double x_, double y_, double z_)
{
  requireFinite("Quaternion", "(w, x, y, z)", {w_, x_, y_, z_});
  const double largest = std::max({std::abs(w_), std::abs(x_), std::abs(y_), std::abs(z_)});
  if (largest == 0.0)
    throw std::invalid_argument("Quaternion: (w, x, y, z) is (0, 0, 0, 0), expected a length above zero");

  // Scaled first, so that the squares neither overflow nor vanish.
  w = w_ / largest;
  x = x_ / largest;
  y = y_ / largest;
  z = z_ / largest;
  const double length = std::sqrt(dot(*this));
  w /= length;
  x /= length;
  y /= length;
  z /= length;
}

Quaternion Quaternion::canonical() const
{
  return w < 0.0 ? -*this : *this;
}

Quaternion Quaternion::inverse() const
{
  return {w, -x, -y, -z};
}

double Quaternion::dot(const Quaternion& o) const
{
  return w * o.w + x * o.x + y * o.y + z * o.z;
}

Quaternion operator*(const Quaternion& a, const Quaternion& b)
{
  const Position3D u{a.getX(), a.getY(), a.getZ()};
  const Position3D v{b.getX(), b.getY(), b.getZ()};
  const Position3D vector = v * a.getW() + u * b.getW() + u.cross(v);
  return {a.getW() * b.getW() - u.dot(v), vector.x, vector.y, vector.z};
}

Quaternion operator-(const Quaternion& q)
{
  return {-q.getW(), -q.getX(), -q.getY(), -q.getZ()};
}

Position3D operator*(const Quaternion& rotationAB, const Position3D& pointB)
{
  const Position3D u{rotationAB.getX(), rotationAB.getY(), rotationAB.getZ()};
  const Position3D twice = 2.0 * u.cross(pointB);
  return pointB + rotationAB.getW() * twice + u.cross(twice);
}

double angleBetween(const Quaternion& a, const Quaternion& b)
{
  return 2.0 * arcBetween(a, closerTo(a, b));
}

bool isNear(const Quaternion& a, const Quaternion& b, double toleranceRadians)
{
  return angleBetween(a, b) <= toleranceRadians;
}

Quaternion slerp(const Quaternion& a, const Quaternion& b, double share)
{
  requireFinite("slerp", "share", {share});
  const Quaternion end = closerTo(a, b);
  const double arc = arcBetween(a, end);
  if (arc == 0.0)
    return a;

  // The arc is at most a quarter of a circle, where its sine is safe to divide by.
  const double fromA = std::sin((1.0 - share) * arc) / std::sin(arc);
  const double fromB = std::sin(share * arc) / std::sin(arc);
  return {fromA * a.getW() + fromB * end.getW(), fromA * a.getX() + fromB * end.getX(),
          fromA * a.getY() + fromB * end.getY(), fromA * a.getZ() + fromB * end.getZ()};
}
}  // namespace ZR::ZRMath
