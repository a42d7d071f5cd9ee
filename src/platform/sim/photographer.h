#pragma once

#include "filtrix/zrimage.h"
#include "platform/sim/depthsensor.h"
#include "platform/sim/raster.h"
#include "platform/sim/stage.h"

#include <cstdint>
#include <memory>

namespace ZR::Sim
{
/// Takes pictures of a stage. A picture is a function of the stage, the camera, its format and the time alone.
/// Thread-safe.
class Photographer final
{
public:
  explicit Photographer(std::shared_ptr<const Stage> stage_, DepthSensor sensor_ = {});

  /// False for a camera and colour space that do not go together. The colour cameras give gray, YUV422, RGB and BGR;
  /// the depth camera depth, distance and, with structured light, infrared; the stereo camera colours.
  [[nodiscard]] bool canTake(int camera, int colorSpace) const;

  /// A frame at a time in seconds since the robot's start, with its time stamp left at 0. Widths of stereo pictures are
  /// those of the two halves together. Throws std::invalid_argument where `canTake` is false.
  [[nodiscard]] std::unique_ptr<ZRImage> take(int camera, int width, int height, int colorSpace, double time) const;

  [[nodiscard]] const Stage& stage() const noexcept { return *theStage; }

  /// How a camera looks at the world.
  [[nodiscard]] View viewOf(int camera, int width, int height, double time) const;

private:
  [[nodiscard]] cv::Mat3b _colors(const View& view, double time) const;
  [[nodiscard]] cv::Mat1w _depth(const View& view, double time) const;
  [[nodiscard]] cv::Mat1w _distance(const View& view, double time) const;
  [[nodiscard]] cv::Mat1w _infrared(const View& view, double time) const;
  [[nodiscard]] Noise _noise(double time) const;

  const std::shared_ptr<const Stage> theStage;
  const DepthSensor sensor;
};
}  // namespace ZR::Sim
