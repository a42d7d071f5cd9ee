#pragma once

#include "filters/perception/camerageometry.h"
#include "filtrix/object.h"
#include "filtrix/region.h"
#include "filtrix/vectors.h"

#include <opencv2/core/mat.hpp>

#include <memory>
#include <optional>

namespace ZR::Filtrix::Filters
{
/// An `Object3D` as the body filters see it: its depth and mask with the geometry to make points of them. Rows and
/// columns count within the object's box; add `left` and `top` for those of the frame.
class ObjectView final
{
public:
  /// Nothing when the object lacks its images, box, size or pose in the robot frame, or when they contradict each
  /// other.
  static std::optional<ObjectView> of(const Type::Object3D& object);

  [[nodiscard]] int width() const noexcept { return mask.cols; }

  [[nodiscard]] int height() const noexcept { return mask.rows; }

  [[nodiscard]] bool isSet(int row, int column) const { return mask.ptr<unsigned char>(row)[column] != 0; }

  /// Metres along the axis; 0 for no measurement.
  [[nodiscard]] float depth(int row, int column) const
  {
    return 0.001F * static_cast<float>(depths.ptr<unsigned short>(row)[column]);
  }

  /// The pixel's point at a depth, in the camera frame and in the robot frame.
  [[nodiscard]] cv::Vec3f cameraPoint(float row, float column, float metres) const
  {
    return camera.point(column + static_cast<float>(left), row + static_cast<float>(top), metres);
  }

  [[nodiscard]] cv::Vec3f point(int row, int column, float metres) const
  {
    return robotPose.apply(cameraPoint(static_cast<float>(row), static_cast<float>(column), metres));
  }

  /// The height of a pixel's point in the robot frame alone, at a third of the cost.
  [[nodiscard]] float heightOf(int row, int column, float metres) const
  {
    const cv::Vec3f p = cameraPoint(static_cast<float>(row), static_cast<float>(column), metres);
    return robotPose.rotation(2, 0) * p[0] + robotPose.rotation(2, 1) * p[1] + robotPose.rotation(2, 2) * p[2] +
           robotPose.translation[2];
  }

  cv::Mat depths;  ///< CV_16UC1, millimetres
  cv::Mat mask;    ///< CV_8UC1
  int left = 0;
  int top = 0;
  float distance = 0.0F;  ///< median depth, metres
  Pinhole camera;         ///< of the full frame
  CameraPose robotPose;
};

/// The box of whole pixels from `left`, `top`, as objects hold it: the end is the last pixel within.
[[nodiscard]] inline Type::Region2 boxRegion(int left, int top, int width, int height)
{
  return {{static_cast<float>(left), static_cast<float>(top)},
          {static_cast<float>(left + width - 1), static_cast<float>(top + height - 1)}};
}
}  // namespace ZR::Filtrix::Filters
