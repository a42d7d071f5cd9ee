#pragma once

#include "platform/sim/shape.h"

#include <opencv2/core/matx.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

/// Where straight lines meet shapes: the innermost of the ray-caster's loops, so all in the header. Origins and
/// directions are in the shape's own coordinates; what comes is a multiple of the direction, infinity where the line
/// passes by.
namespace ZR::Sim
{
inline constexpr float missed = std::numeric_limits<float>::infinity();

/// Nothing nearer is seen, in multiples of the direction.
inline constexpr float nearestHit = 0.01F;

/// A ball of radius 1 about a place on the z axis.
[[nodiscard]] inline float hitBall(const cv::Vec3f& o, const cv::Vec3f& d, float centre = 0.0F)
{
  const float z = o[2] - centre;
  const float a = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  const float b = o[0] * d[0] + o[1] * d[1] + z * d[2];
  const float c = o[0] * o[0] + o[1] * o[1] + z * z - 1.0F;
  const float discriminant = b * b - a * c;
  if (discriminant < 0.0F)
    return missed;
  const float t = (-b - std::sqrt(discriminant)) / a;
  return t > nearestHit ? t : missed;
}

/// Whoever misses the endless tube misses its round ends too; who meets it beyond an end can only meet that end.
[[nodiscard]] inline float hitCapsule(const cv::Vec3f& o, const cv::Vec3f& d, float halfLength)
{
  const float a = d[0] * d[0] + d[1] * d[1];
  const float b = o[0] * d[0] + o[1] * d[1];
  const float c = o[0] * o[0] + o[1] * o[1] - 1.0F;
  const float discriminant = b * b - a * c;
  if (discriminant < 0.0F)
    return missed;
  const float t = (-b - std::sqrt(discriminant)) / a;
  const float z = o[2] + t * d[2];
  if (std::abs(z) <= halfLength)
    return t > nearestHit ? t : missed;
  return hitBall(o, d, z > 0.0F ? halfLength : -halfLength);
}

/// Of a block where the line enters, of a room where it leaves.
[[nodiscard]] inline float hitBlock(const cv::Vec3f& o, const cv::Vec3f& d, bool fromInside)
{
  float enter = -missed;
  float leave = missed;
  for (int axis = 0; axis < 3; ++axis)
  {
    // A line along the sides gives infinities of the right signs.
    const float inverse = 1.0F / d[axis];
    const float first = (-1.0F - o[axis]) * inverse;
    const float second = (1.0F - o[axis]) * inverse;
    enter = std::max(enter, std::min(first, second));
    leave = std::min(leave, std::max(first, second));
  }
  const float t = fromInside ? leave : enter;
  return enter <= leave && t > nearestHit ? t : missed;
}

[[nodiscard]] inline float hit(const Shape& shape, const cv::Vec3f& origin, const cv::Vec3f& direction)
{
  switch (shape.form)
  {
  case Form::Ball:
    return hitBall(origin, direction);
  case Form::Capsule:
    return hitCapsule(origin, direction, shape.halfLength);
  case Form::Block:
    return hitBlock(origin, direction, false);
  case Form::Room:
    break;
  }
  return hitBlock(origin, direction, true);
}
}  // namespace ZR::Sim
