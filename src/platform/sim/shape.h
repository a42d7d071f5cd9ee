#pragma once

#include <opencv2/core/matx.hpp>

#include <cstdint>

namespace ZR::Sim
{
/// The solids that everything in a scene is made of. Each is simple in its own coordinates, which an affine map leads
/// to, so that a ball is also an egg, and a capsule also a chest.
enum class Form : std::uint8_t
{
  Ball,     ///< of radius 1
  Block,    ///< from -1 to 1 on each axis
  Capsule,  ///< about the z axis, of radius 1, round at both ends
  Room      ///< a block that is looked at from inside
};

struct Shape
{
  Form form = Form::Ball;
  cv::Vec3f centre;                          ///< metres, world
  cv::Matx33f toOwn = cv::Matx33f::eye();    ///< from the world's directions to the shape's own
  cv::Matx33f toWorld = cv::Matx33f::eye();  ///< the inverse
  float halfLength = 0.0F;                   ///< of a capsule, between the middles of its ends, in its own units
  std::int16_t material = 0;                 ///< index into the materials of the scene
  std::int16_t owner = 0;                    ///< who it belongs to: 0 for the room, else the number of an actor
};

/// An axis-aligned ball, block or room of these half sizes in metres, turned by `turn` radians about the vertical.
[[nodiscard]] Shape makeShape(Form form, const cv::Vec3f& centre, const cv::Vec3f& halfSizes, float turn = 0.0F);

/// A capsule from one point to the other.
[[nodiscard]] Shape makeLimb(const cv::Vec3f& from, const cv::Vec3f& to, float radius);

/// Moves a shape: turned by `turn` radians about the world's vertical axis, then shifted.
[[nodiscard]] Shape moved(const Shape& shape, const cv::Matx33f& turn, const cv::Vec3f& shift);

/// Rotation about the vertical, radians, to the left positive.
[[nodiscard]] cv::Matx33f turnAboutVertical(float angle);

/// The outward normal, not of length one, at a point of the surface, both in the shape's own coordinates.
[[nodiscard]] cv::Vec3f normalAt(const Shape& shape, const cv::Vec3f& point);
}  // namespace ZR::Sim
