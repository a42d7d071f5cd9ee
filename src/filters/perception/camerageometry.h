#pragma once

#include "filtrix/vectors.h"

#include <opencv2/core/matx.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

/// The one camera model of the perception filters: a pinhole. Depth is planar, measured along the optical axis. Camera
/// frame: x along the axis, y to the left, z up, metres; pixels: u to the right, v down, the middle of the first pixel
/// at (0, 0). Source: R. Hartley, A. Zisserman, "Multiple View Geometry in Computer Vision", 2nd ed., 2004, chapter 6.
namespace ZR::Filtrix::Filters
{
/// How far measured depth may scatter on one surface, in metres: a floor, a share of the distance for slanted surfaces,
/// and two steps of the sensor's own quantisation. Sources: J. Barron, J. Malik, "Intrinsic Scene Properties from a
/// Single RGB-D Image", CVPR 2013 (the step); K. Khoshelham, S. Elberink, "Accuracy and Resolution of Kinect Depth Data
/// for Indoor Mapping Applications", Sensors 12, 2012.
[[nodiscard]] inline float depthTolerance(float depth) noexcept
{
  constexpr float floor = 0.06F;
  constexpr float share = 0.02F;
  constexpr float stepsPerMetre = 351.3F;
  return std::max(floor, share * depth + 2.0F * depth * depth / stepsPerMetre);
}

/// The tangents of a full frame's pixels.
struct Pinhole
{
  float width = 0.0F;   ///< pixels
  float height = 0.0F;  ///< pixels
  float tanHalfWidth = 0.0F;
  float tanHalfHeight = 0.0F;

  Pinhole() = default;

  /// The full fields of view in radians.
  Pinhole(float width_, float height_, float horizontalFov, float verticalFov)
      : width(width_), height(height_), tanHalfWidth(std::tan(0.5F * horizontalFov)),
        tanHalfHeight(std::tan(0.5F * verticalFov))
  {
  }

  /// False for an empty frame and for fields of view that no pinhole has.
  [[nodiscard]] bool isValid() const noexcept
  {
    return width > 0.0F && height > 0.0F && std::isfinite(tanHalfWidth) && std::isfinite(tanHalfHeight) &&
           tanHalfWidth > 0.0F && tanHalfHeight > 0.0F;
  }

  /// How far to the left, and how far up, a pixel looks per metre of depth.
  [[nodiscard]] float left(float u) const noexcept { return (1.0F - 2.0F * (u + 0.5F) / width) * tanHalfWidth; }

  [[nodiscard]] float up(float v) const noexcept { return (1.0F - 2.0F * (v + 0.5F) / height) * tanHalfHeight; }

  /// Pixels per metre at a depth of one metre.
  [[nodiscard]] float focalX() const noexcept { return 0.5F * width / tanHalfWidth; }

  [[nodiscard]] float focalY() const noexcept { return 0.5F * height / tanHalfHeight; }

  /// The point in the camera frame.
  [[nodiscard]] cv::Vec3f point(float u, float v, float depth) const noexcept
  {
    return {depth, depth * left(u), depth * up(v)};
  }

  /// The pixel of a point in front of the camera.
  [[nodiscard]] cv::Vec2f pixel(const cv::Vec3f& point) const noexcept
  {
    return {0.5F * width * (1.0F - point[1] / (point[0] * tanHalfWidth)) - 0.5F,
            0.5F * height * (1.0F - point[2] / (point[0] * tanHalfHeight)) - 0.5F};
  }
};

/// Where a camera is in a frame. The rotations are about the fixed axes, x first: roll, pitch (down is positive), yaw.
struct CameraPose
{
  cv::Matx33f rotation = cv::Matx33f::eye();
  cv::Vec3f translation;

  CameraPose() = default;

  explicit CameraPose(const Type::Vector6& pose) : translation(pose.x, pose.y, pose.z)
  {
    const float sx = std::sin(pose.wx);
    const float cx = std::cos(pose.wx);
    const float sy = std::sin(pose.wy);
    const float cy = std::cos(pose.wy);
    const float sz = std::sin(pose.wz);
    const float cz = std::cos(pose.wz);
    rotation = {cz * cy,
                cz * sy * sx - sz * cx,
                cz * sy * cx + sz * sx,  //
                sz * cy,
                sz * sy * sx + cz * cx,
                sz * sy * cx - cz * sx,  //
                -sy,
                cy * sx,
                cy * cx};
  }

  [[nodiscard]] cv::Vec3f apply(const cv::Vec3f& point) const { return rotation * point + translation; }

  [[nodiscard]] cv::Vec3f invert(const cv::Vec3f& point) const { return rotation.t() * (point - translation); }
};

/// Whether a camera has moved: farther than its pose is known to scatter. The angle is that of two pixels of 320 in a
/// view of 58 degrees; a full turn is none.
[[nodiscard]] inline bool hasMoved(const Type::Vector6& from, const Type::Vector6& to)
{
  constexpr float metres = 0.01F;
  constexpr float radians = 0.006F;
  const auto turned = [](float a, float b)
  { return std::abs(std::remainder(a - b, 2.0F * std::numbers::pi_v<float>)) > radians; };
  return std::hypot(from.x - to.x, from.y - to.y, from.z - to.z) > metres || turned(from.wx, to.wx) ||
         turned(from.wy, to.wy) || turned(from.wz, to.wz);
}

[[nodiscard]] inline bool isFinite(const Type::Vector6& v) noexcept
{
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z) && std::isfinite(v.wx) && std::isfinite(v.wy) &&
         std::isfinite(v.wz);
}
}  // namespace ZR::Filtrix::Filters
