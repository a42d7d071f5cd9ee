#pragma once

#include "platform/sim/scene.h"

#include <opencv2/core/mat.hpp>

namespace ZR::Sim
{
/// What a head looks like from before it, painted: skin, hair, brows, eyes, nose, mouth. It lies on the front half of
/// the head's ball as if projected along the head's x axis. Thread-safe once made.
class FaceTexture final
{
public:
  FaceTexture(const Color& skin, const Color& hair);

  /// The colour at a point of the ball of radius 1. Behind and above is hair.
  [[nodiscard]] Color at(const cv::Vec3f& point) const;

  /// True where a face is, not hair, nor neck.
  [[nodiscard]] static bool isFace(const cv::Vec3f& point);

private:
  const Color hair;
  cv::Mat3b picture;  // red, green, blue; its middle column is the middle of the face, its rows go from z = 1 to -1
};
}  // namespace ZR::Sim
