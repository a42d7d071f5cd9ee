#pragma once

#include "platform/audioservice.h"
#include "platform/cameraservice.h"
#include "platform/motionservice.h"
#include "platform/replay/recorder.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Stand before a robot's services, pass every call on, and record what comes back. A value that cannot be recorded
/// is logged, once for every text, and reaches the caller all the same.
namespace ZR::Replay
{
/// Logs a failure to record, unless the one before had the same text. Thread-safe.
class RecordingFailures final
{
public:
  /// Calls `record` and swallows what it throws.
  template <typename Record>
  void guard(const Record& record)
  try
  {
    record();
  }

  catch (const std::exception& error)
  {
    _note(error.what());
  }

private:
  void _note(const std::string& text);

  std::mutex mutex;  // guards the text; a leaf
  std::string last;
};

class RecordingCamera final : public CameraService
{
public:
  /// Neither may be null: std::invalid_argument.
  RecordingCamera(std::shared_ptr<CameraService> camera, std::shared_ptr<Recorder> recorder);

  [[nodiscard]] bool hasDepthCamera() override;
  [[nodiscard]] int getCameraModel(int number) override;
  [[nodiscard]] std::string subscribeCamera(const std::string& name, int number, int resolution, int colorSpace,
                                            int framesPerSecond) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override;
  void releaseImage(const std::string& id) override;
  void setFrameRate(const std::string& id, int framesPerSecond) override;

private:
  [[nodiscard]] std::optional<int> _cameraOf(const std::string& id) const;
  void _describe(const std::string& key, const std::string& value);

  const std::shared_ptr<CameraService> camera;
  const std::shared_ptr<Recorder> recorder;
  RecordingFailures failures;

  mutable std::mutex mutex;                  // guards the rest; a leaf
  std::map<std::string, int> subscriptions;  // the camera of each
  Mcap::TextMap description;
};

class RecordingMotion final : public MotionService
{
public:
  /// Neither may be null: std::invalid_argument.
  RecordingMotion(std::shared_ptr<MotionService> motion, std::shared_ptr<Recorder> recorder);

  [[nodiscard]] std::vector<std::string> getSensorNames() override;
  [[nodiscard]] std::vector<float> getPosition(const std::string& sensor, MotionFrame frame,
                                               bool useSensorValues) override;

private:
  const std::shared_ptr<MotionService> motion;
  const std::shared_ptr<Recorder> recorder;
  RecordingFailures failures;
};

/// One subscription's blocks are recorded: the first that asks for one, and the next when that is closed. So the sound
/// is there once, however many listen.
class RecordingAudio final : public AudioService
{
public:
  /// Neither may be null: std::invalid_argument.
  RecordingAudio(std::shared_ptr<AudioService> audio, std::shared_ptr<Recorder> recorder);

  [[nodiscard]] std::vector<std::string> getMicrophoneNames() override;
  [[nodiscard]] std::string subscribeAudio(const std::string& name, int sampleRateHz) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const AudioBlock> getBlock(const std::string& id) override;

private:
  [[nodiscard]] bool _isRecorded(const std::string& id);

  const std::shared_ptr<AudioService> audio;
  const std::shared_ptr<Recorder> recorder;
  RecordingFailures failures;

  std::mutex mutex;                       // guards the rest; a leaf
  std::optional<std::string> recordedId;  // nothing until somebody asks for a block
};
}  // namespace ZR::Replay
