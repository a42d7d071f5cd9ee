#include "platform/replay/recordingservices.h"

#include "filtrix/ku/log.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <utility>

namespace ZR::Replay
{
namespace
{
template <typename Object>
std::shared_ptr<Object> notNull(std::shared_ptr<Object> object, const char* what)
{
  if (!object)
    throw std::invalid_argument(fmt::format("expected {} to record, came null", what));
  return object;
}
}  // namespace

void RecordingFailures::_note(const std::string& text)
{
  {
    const std::lock_guard lock(mutex);
    if (text == last)
      return;
    last = text;
  }
  ku::log::error("replay", "not recorded: {}", text);
}

RecordingCamera::RecordingCamera(std::shared_ptr<CameraService> camera_, std::shared_ptr<Recorder> recorder_)
    : camera(notNull(std::move(camera_), "a camera service")), recorder(notNull(std::move(recorder_), "a recorder"))
{
}

bool RecordingCamera::hasDepthCamera()
{
  const bool has = camera->hasDepthCamera();
  _describe("depth", has ? "true" : "false");
  return has;
}

int RecordingCamera::getCameraModel(int number)
{
  const int model = camera->getCameraModel(number);
  _describe(fmt::format("model.{}", number), fmt::format("{}", model));
  return model;
}

std::string RecordingCamera::subscribeCamera(const std::string& name, int number, int resolution, int colorSpace,
                                             int framesPerSecond)
{
  std::string id = camera->subscribeCamera(name, number, resolution, colorSpace, framesPerSecond);
  const std::lock_guard lock(mutex);
  subscriptions[id] = number;
  return id;
}

void RecordingCamera::unsubscribe(const std::string& id)
{
  {
    const std::lock_guard lock(mutex);
    subscriptions.erase(id);
  }
  camera->unsubscribe(id);
}

std::shared_ptr<const ZRImage> RecordingCamera::getImageLocal(const std::string& id)
{
  auto frame = camera->getImageLocal(id);
  const std::optional<int> number = _cameraOf(id);
  if (frame && number)
    failures.guard([&] { recorder->write(*number, *frame); });
  return frame;
}

void RecordingCamera::releaseImage(const std::string& id)
{
  camera->releaseImage(id);
}

void RecordingCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  camera->setFrameRate(id, framesPerSecond);
}

std::optional<int> RecordingCamera::_cameraOf(const std::string& id) const
{
  const std::lock_guard lock(mutex);
  const auto found = subscriptions.find(id);
  return found == subscriptions.end() ? std::nullopt : std::optional(found->second);
}

// Only what is new: callers may ask again and again.
void RecordingCamera::_describe(const std::string& key, const std::string& value)
{
  Mcap::TextMap all;
  {
    const std::lock_guard lock(mutex);
    if (std::exchange(description[key], value) == value)
      return;
    all = description;
  }
  failures.guard([&] { recorder->describe("cameras", all); });
}

RecordingMotion::RecordingMotion(std::shared_ptr<MotionService> motion_, std::shared_ptr<Recorder> recorder_)
    : motion(notNull(std::move(motion_), "a motion service")), recorder(notNull(std::move(recorder_), "a recorder"))
{
}

std::vector<std::string> RecordingMotion::getSensorNames()
{
  std::vector<std::string> names = motion->getSensorNames();
  failures.guard([&] { recorder->describe("motion", {{"sensors", nlohmann::json(names).dump()}}); });
  return names;
}

std::vector<float> RecordingMotion::getPosition(const std::string& sensor, MotionFrame frame, bool useSensorValues)
{
  std::vector<float> position = motion->getPosition(sensor, frame, useSensorValues);
  failures.guard([&] { recorder->write(PositionKey{sensor, frame, useSensorValues}, position); });
  return position;
}

RecordingAudio::RecordingAudio(std::shared_ptr<AudioService> audio_, std::shared_ptr<Recorder> recorder_)
    : audio(notNull(std::move(audio_), "an audio service")), recorder(notNull(std::move(recorder_), "a recorder"))
{
}

std::vector<std::string> RecordingAudio::getMicrophoneNames()
{
  return audio->getMicrophoneNames();
}

std::string RecordingAudio::subscribeAudio(const std::string& name, int sampleRateHz)
{
  return audio->subscribeAudio(name, sampleRateHz);
}

void RecordingAudio::unsubscribe(const std::string& id)
{
  {
    const std::lock_guard lock(mutex);
    if (recordedId == id)
      recordedId.reset();
  }
  audio->unsubscribe(id);
}

std::shared_ptr<const AudioBlock> RecordingAudio::getBlock(const std::string& id)
{
  auto block = audio->getBlock(id);
  if (block && _isRecorded(id))
    failures.guard([&] { recorder->write(*block); });
  return block;
}

bool RecordingAudio::_isRecorded(const std::string& id)
{
  const std::lock_guard lock(mutex);
  if (!recordedId)
    recordedId = id;
  return recordedId == id;
}
}  // namespace ZR::Replay
