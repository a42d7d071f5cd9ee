#pragma once

#include "platform/cameraservice.h"
#include "platform/capture/pictureinput.h"
#include "platform/frames/frameconversion.h"
#include "platform/frames/subscriptiontable.h"
#include "platform/frames/timebase.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace ZR::Capture
{
/// Colour cameras that show the pictures of inputs.
class CaptureCamera final : public CameraService
{
public:
  CaptureCamera(const std::map<int, CameraInput>& cameras, TimeBase time_);

  [[nodiscard]] bool hasDepthCamera() override { return false; }

  [[nodiscard]] int getCameraModel(int camera) override;
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  struct Input
  {
    std::unique_ptr<PictureInput> pictures;
    double horizontalFov = 0;  // radians
  };

  struct Subscription
  {
    int camera = 0;
    FrameFormat format;
    std::atomic<int> framesPerSecond = 1;
    std::atomic<std::uint64_t> nextNumber = 0;
    Waiter waiter;
  };

  [[nodiscard]] const Input& _input(int camera) const;
  [[nodiscard]] std::shared_ptr<const ZRImage> _frameOf(const Picture& picture, const Subscription& subscription) const;

  const TimeBase time;
  std::map<int, Input> inputs;  // fixed once made
  SubscriptionTable<Subscription> subscriptions;
};
}  // namespace ZR::Capture
