#pragma once

#include "platform/cameraservice.h"
#include "platform/fault/faults.h"
#include "platform/motionservice.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace ZR::Fault
{
/// Stands before a camera service and fails as `Faults` says. What is random is the same on every run.
class FaultCamera final : public CameraService
{
public:
  /// `onlyNumber_`: the camera that fails while the service's others work; none: they all fail. Neither of the others
  /// may be null: std::invalid_argument.
  FaultCamera(std::shared_ptr<CameraService> camera_, std::shared_ptr<Faults> faults_,
              std::optional<int> onlyNumber_ = std::nullopt);

  [[nodiscard]] bool hasDepthCamera() override;
  [[nodiscard]] int getCameraModel(int number) override;
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int number, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  [[nodiscard]] std::shared_ptr<const ZRImage> _spoil(const ZRImage& frame, Mode mode);
  [[nodiscard]] std::shared_ptr<ZRImage> _garbage(const ZRImage& frame);
  [[nodiscard]] std::shared_ptr<ZRImage> _otherSize(const ZRImage& frame);
  [[nodiscard]] std::int64_t _wrongTime(std::int64_t time, Mode mode);
  Mode _enter(Operation operation, const std::string& id);

  const std::shared_ptr<CameraService> camera;
  const std::shared_ptr<Faults> faults;
  const std::optional<int> onlyNumber;

  std::mutex mutex;             // guards the rest; a leaf
  std::set<std::string> sound;  // the subscriptions of cameras that do not fail
  std::mt19937 random;
  std::optional<std::int64_t> firstTime;  // of the frames since time went wrong
  std::int64_t framesWithWrongTime = 0;
  unsigned sizes = 0;
};

/// The same before a motion service.
class FaultMotion final : public MotionService
{
public:
  /// Neither may be null: std::invalid_argument.
  FaultMotion(std::shared_ptr<MotionService> motion_, std::shared_ptr<Faults> faults_);

  [[nodiscard]] std::vector<std::string> getSensorNames() override;
  [[nodiscard]] std::vector<float> getPosition(const std::string& sensor, MotionFrame frame,
                                               bool useSensorValues) override;

private:
  const std::shared_ptr<MotionService> motion;
  const std::shared_ptr<Faults> faults;

  std::mutex mutex;  // guards the rest; a leaf
  unsigned sizes = 0;
};
}  // namespace ZR::Fault
