#pragma once

#include <concepts>

namespace ZR::ZRMath
{
struct Position2D;
struct Position3D;
struct Velocity3D;
struct Velocity6D;

/// The types that add up and scale member by member; each brings its own `+=`, `-=`, `*=` and `/=`.
/// A list, not a shape: asked by shape, Eigen's matrices would come in too and lose their own operators.
/// Dividing by zero gives what it gives for plain numbers: infinity or NaN.
template <typename T>
concept LinearSpace = std::same_as<T, Position2D> || std::same_as<T, Position3D> || std::same_as<T, Velocity3D> ||
    std::same_as<T, Velocity6D>;

/// Those whose members have one unit, so that there is a length.
template <typename T>
concept NormedSpace = LinearSpace<T> && requires(const T vector)
{
  vector.norm();
};

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator+(Vector a, const Vector& b)
{
  return a += b;
}

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator-(Vector a, const Vector& b)
{
  return a -= b;
}

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator-(Vector a)
{
  return a *= -1.0;
}

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator*(Vector a, double factor)
{
  return a *= factor;
}

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator*(double factor, Vector a)
{
  return a *= factor;
}

template <LinearSpace Vector>
[[nodiscard]] constexpr Vector operator/(Vector a, double divisor)
{
  return a /= divisor;
}

/// On the straight line from `a` (share 0) to `b` (share 1), both met exactly; other shares go on beyond them.
template <LinearSpace Vector>
[[nodiscard]] constexpr Vector interpolate(const Vector& a, const Vector& b, double share)
{
  return a * (1.0 - share) + b * share;
}

/// The length of the straight line between the two, in their own unit.
template <NormedSpace Vector>
[[nodiscard]] double distance(const Vector& a, const Vector& b)
{
  return (a - b).norm();
}

/// True when the two are at most `tolerance` apart, in their own unit; NaN is near nothing.
template <NormedSpace Vector>
[[nodiscard]] bool isNear(const Vector& a, const Vector& b, double tolerance)
{
  return distance(a, b) <= tolerance;
}
}  // namespace ZR::ZRMath
