#pragma once

#include "filtrix/zrimage.h"
#include "platform/zrmodulecore.h"
#include "platform/zrproxy.h"

#include <memory>
#include <string>

namespace ZR
{
/// The robot's cameras: 0 top, 1 bottom, 2 depth, 3 stereo pair. Numbers of resolutions and colour spaces are those of
/// "filtrix/cameraformats.h". Whatever goes wrong is thrown as a std::exception. Thread-safe.
class CameraService : public ZRModuleCore
{
public:
  static constexpr const char* serviceName = "ZRVideoDevice";
  static constexpr const char* serviceKind = "a camera service";

  /// Binds the operations below by their names. By name a frame comes as `ZRImage::toZRValue` gives it, and null when
  /// there is none.
  explicit CameraService(std::string name = serviceName);

  [[nodiscard]] virtual bool hasDepthCamera() = 0;

  /// The model number of a camera; that of camera 2 tells 4, a structured-light camera, from 7, a stereo one.
  [[nodiscard]] virtual int getCameraModel(int camera) = 0;

  /// Opens a subscription, with a rate in frames per second, and gives its identifier; an empty one means that it
  /// failed. `name` is who asks, for people.
  [[nodiscard]] virtual std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                                    int framesPerSecond) = 0;

  virtual void unsubscribe(const std::string& id) = 0;

  /// Blocks until the next frame, whose pixels nobody changes any more. Null when none comes.
  [[nodiscard]] virtual std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) = 0;

  /// Gives the last frame of the subscription back; its pixels stay as long as somebody holds it.
  virtual void releaseImage(const std::string& id) = 0;

  virtual void setFrameRate(const std::string& id, int framesPerSecond) = 0;
};

using CameraProxy = ServiceProxy<CameraService>;
}  // namespace ZR
