#pragma once

#include "filtrix/zrmath/transform.h"
#include "platform/sim/shape.h"
#include "platform/sim/stage.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <vector>

namespace ZR::Sim
{
/// A pinhole camera: x along its axis, y to the left, z up. The middle of a pixel looks (1, left, up) per metre of
/// depth. Source: R. Hartley, A. Zisserman, "Multiple View Geometry in Computer Vision", 2nd ed., 2004, chapter 6.
struct View
{
  ZRMath::Transform pose;  ///< of the camera in the world
  int width = 0;           ///< pixels
  int height = 0;          ///< pixels
  float tanHalfWidth = 0.0F;
  float tanHalfHeight = 0.0F;

  [[nodiscard]] float left(float u) const noexcept
  {
    return (1.0F - 2.0F * (u + 0.5F) / static_cast<float>(width)) * tanHalfWidth;
  }

  [[nodiscard]] float up(float v) const noexcept
  {
    return (1.0F - 2.0F * (v + 0.5F) / static_cast<float>(height)) * tanHalfHeight;
  }

  /// Pixels per metre at a depth of one metre.
  [[nodiscard]] float focal() const noexcept { return 0.5F * static_cast<float>(width) / tanHalfWidth; }
};

/// What each pixel of a view sees.
struct Raster
{
  /// Nothing is seen.
  static constexpr std::int16_t nothing = -1;

  cv::Mat1f depth;  ///< metres along the camera's axis
  cv::Mat1s shape;  ///< index of the shape, or `nothing`
};

/// Casts a ray through each pixel. Shapes are tried only where their boxes appear, so that the cost goes with what is
/// seen.
[[nodiscard]] Raster cast(const std::vector<Shape>& shapes, const View& view);

/// Colours what was cast: RGB, lit from above and from behind the robot.
[[nodiscard]] cv::Mat3b paint(const Raster& raster, const std::vector<Shape>& shapes, const View& view,
                              const std::vector<Material>& materials);

/// 255 where a surface gives the depth camera nothing back, else 0.
[[nodiscard]] cv::Mat1b shinyPixels(const Raster& raster, const std::vector<Shape>& shapes, const View& view,
                                    const std::vector<Material>& materials);

/// How many pixels of an owner, of his head and of his face, are seen.
struct PixelCount
{
  int all = 0;
  int head = 0;
  int face = 0;
};

/// Of the owners from 0 on, the room being 0 and not counted.
[[nodiscard]] std::vector<PixelCount> countPixels(const Raster& raster, const std::vector<Shape>& shapes,
                                                  const View& view, const std::vector<Material>& materials,
                                                  std::size_t owners);
}  // namespace ZR::Sim
