#pragma once

#include "platform/cameraservice.h"
#include "platform/motionservice.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZR
{
/// A camera whose next frame the test decides on.
class TestCamera final : public CameraService
{
public:
  using CameraService::CameraService;

  bool hasDepthCamera() override { return true; }

  int getCameraModel(int camera) override { return camera == 2 ? 4 : 1; }

  std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                              int framesPerSecond) override
  {
    return name + "_" + std::to_string(((camera * 100 + resolution) * 100 + colorSpace) * 100 + framesPerSecond);
  }

  void unsubscribe(const std::string& id) override { throw std::runtime_error("no subscription \"" + id + "\""); }

  std::shared_ptr<const ZRImage> getImageLocal(const std::string&) override { return nextImage(); }

  void releaseImage(const std::string&) override { ++released; }

  void setFrameRate(const std::string&, int framesPerSecond) override { frameRate = framesPerSecond; }

  std::function<std::shared_ptr<const ZRImage>()> nextImage = [] { return nullptr; };
  int released = 0;
  int frameRate = 0;
};

class TestMotion final : public MotionService
{
public:
  using MotionService::MotionService;

  std::vector<std::string> getSensorNames() override { return {"CameraTop", "CameraDepth"}; }

  std::vector<float> getPosition(const std::string&, MotionFrame frame, bool useSensorValues) override
  {
    return {static_cast<float>(frame), useSensorValues ? 1.0F : 0.0F, 0, 0, 0, 0};
  }
};

/// The text of what `use` throws, or "no error".
template <typename Use>
std::string errorOf(const Use& use)
{
  try
  {
    use();
  }
  catch (const std::exception& error)
  {
    return error.what();
  }
  return "no error";
}
}  // namespace ZR
