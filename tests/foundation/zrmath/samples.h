#pragma once

#include "filtrix/zrmath.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <optional>
#include <random>
#include <string>

namespace ZR::ZRMath
{
inline constexpr double pi = std::numbers::pi;

/// Random bodies: places within some metres, turns about every axis with angles thick near zero and near pi, where
/// formulas break. A law is put to many of them:
///     for (Samples samples; samples.next();) ...
/// Each round has a seed of its own, which a failure names.
class Samples final
{
public:
  bool next()
  {
    generator.seed(++seed);
    trace.emplace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    return seed <= 200;
  }

  double between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(generator); }

  Position3D position() { return {between(-5.0, 5.0), between(-5.0, 5.0), between(-5.0, 5.0)}; }

  Velocity3D velocity(double length)
  {
    std::normal_distribution<double> normal;
    const Velocity3D v{normal(generator), normal(generator), normal(generator)};
    return v * (length / v.norm());
  }

  double angle()
  {
    const double closeToZero = std::pow(10.0, between(-12.0, 0.0));
    const double closeToPi = pi - std::pow(10.0, between(-9.0, 0.0));
    const double choice = between(0.0, 3.0);
    return choice < 1.0 ? closeToZero : choice < 2.0 ? closeToPi : between(0.0, pi);
  }

  Rotation rotation() { return exp(velocity(angle())); }

  Transform transform() { return {rotation(), position()}; }

private:
  unsigned seed = 0;
  std::mt19937 generator;
  std::optional<testing::ScopedTrace> trace;
};

inline testing::AssertionResult areNear(const Transform& a, const Transform& b, double tolerance = 1e-13)
{
  const auto result = isNear(a, b, tolerance, tolerance) ? testing::AssertionSuccess() : testing::AssertionFailure();
  return testing::AssertionResult(result) << toString(a) << "\nand " << toString(b);
}

inline testing::AssertionResult areNear(const Rotation& a, const Rotation& b, double tolerance = 1e-14)
{
  return areNear(Transform(a, {}), Transform(b, {}), tolerance);
}

template <LinearSpace Vector>
testing::AssertionResult areNear(const Vector& a, const Vector& b, double tolerance = 1e-13)
{
  const auto result = isNear(a, b, tolerance) ? testing::AssertionSuccess() : testing::AssertionFailure();
  return testing::AssertionResult(result) << toString(a) << "\nand " << toString(b);
}
}  // namespace ZR::ZRMath
