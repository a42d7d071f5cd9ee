#pragma once

#include "platform/cameraservice.h"
#include "sources/robotbench.h"

#include <fmt/format.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace ZR::Filtrix::Test
{
/// A camera service that does as the test says and writes down what it is asked for.
class ScriptedCamera final : public CameraService
{
public:
  bool hasDepthCamera() override { return hasDepth(); }

  int getCameraModel(int camera) override { return camera == 2 ? model : -1; }

  std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                              int framesPerSecond) override
  {
    calls.add(fmt::format("subscribe {} {} {} {} {}", name, camera, resolution, colorSpace, framesPerSecond));
    return opened = subscribe();
  }

  void unsubscribe(const std::string& id) override
  {
    calls.add("unsubscribe " + id);
    _requireOpened(id);
    onUnsubscribe();
  }

  std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override
  {
    calls.add("get " + id);
    _requireOpened(id);
    return nextImage();
  }

  void releaseImage(const std::string& id) override
  {
    calls.add("release " + id);
    _requireOpened(id);
    onRelease();
  }

  void setFrameRate(const std::string& id, int framesPerSecond) override
  {
    calls.add(fmt::format("rate {} {}", id, framesPerSecond));
    _requireOpened(id);
    onRate();
  }

  CallList calls;
  int model = 4;
  std::function<bool()> hasDepth = [] { return true; };
  std::function<std::string()> subscribe = [] { return "id"; };
  std::function<std::shared_ptr<const ZRImage>()> nextImage = [] { return nullptr; };
  std::function<void()> onUnsubscribe = [] {};
  std::function<void()> onRelease = [] {};
  std::function<void()> onRate = [] {};
  bool refuseUnknown = false;  // subscriptions that it has not given

private:
  void _requireOpened(const std::string& id) const
  {
    if (refuseUnknown && id != opened)
      throw std::runtime_error("unknown subscription " + id);
  }

  std::string opened;
};
}  // namespace ZR::Filtrix::Test
