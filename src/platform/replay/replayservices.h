#pragma once

#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/frames/frameconversion.h"
#include "platform/frames/subscriptiontable.h"
#include "platform/motionservice.h"
#include "platform/replay/playhead.h"
#include "platform/replay/recording.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The services of a recording. What they share: the recording, and where it stands.
namespace ZR::Replay
{
struct ReplayState
{
  ReplayState(std::unique_ptr<Recording> recording_, std::optional<Nanoseconds> lap_, bool startsByItself,
              bool hasClockStamps_)
      : recording(std::move(recording_)), lap(lap_), hasClockStamps(hasClockStamps_), playhead(startsByItself)
  {
  }

  /// The time stamp of an item that was recorded with another, in microseconds.
  [[nodiscard]] std::int64_t stampOf(const Timeline& timeline, std::uint64_t item, std::int64_t recorded) const;

  const std::unique_ptr<Recording> recording;
  const std::optional<Nanoseconds> lap;  ///< when it is played again and again
  const bool hasClockStamps;
  Playhead playhead;
};

/// Gives frames in the recorded formats as they were recorded, byte by byte, and in other sizes and colours those that
/// are made of them.
class ReplayCamera final : public CameraService
{
public:
  explicit ReplayCamera(std::shared_ptr<ReplayState> state);

  [[nodiscard]] bool hasDepthCamera() override;
  [[nodiscard]] int getCameraModel(int camera) override;
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  struct Subscription
  {
    std::size_t track = 0;
    FrameFormat format;
    std::shared_ptr<const Timeline> timeline;
    std::shared_ptr<Consumer> consumer;
  };

  [[nodiscard]] std::size_t _trackFor(int camera, const FrameFormat& format) const;
  [[nodiscard]] std::shared_ptr<const ZRImage> _frame(const Subscription& subscription, std::uint64_t item);

  const std::shared_ptr<ReplayState> state;
  std::vector<std::shared_ptr<const Timeline>> timelines;  // of the tracks
  SubscriptionTable<Subscription> subscriptions;
};

/// Gives the position that was recorded nearest in time: a position is asked for about a frame, so it was recorded a
/// moment after that.
class ReplayMotion final : public MotionService
{
public:
  explicit ReplayMotion(std::shared_ptr<ReplayState> state);

  [[nodiscard]] std::vector<std::string> getSensorNames() override;
  [[nodiscard]] std::vector<float> getPosition(const std::string& sensor, MotionFrame frame,
                                               bool useSensorValues) override;

private:
  const std::shared_ptr<ReplayState> state;
  std::vector<Timeline> timelines;  // of the tracks
};

class ReplayAudio final : public AudioService
{
public:
  explicit ReplayAudio(std::shared_ptr<ReplayState> state);

  [[nodiscard]] std::vector<std::string> getMicrophoneNames() override;
  [[nodiscard]] std::string subscribeAudio(const std::string& name, int sampleRateHz) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const AudioBlock> getBlock(const std::string& id) override;

private:
  struct Subscription
  {
    std::size_t track = 0;
    std::shared_ptr<const Timeline> timeline;
    std::shared_ptr<Consumer> consumer;
  };

  const std::shared_ptr<ReplayState> state;
  std::vector<std::shared_ptr<const Timeline>> timelines;  // of the tracks
  SubscriptionTable<Subscription> subscriptions;
};
}  // namespace ZR::Replay
