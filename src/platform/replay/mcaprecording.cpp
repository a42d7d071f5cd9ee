#include "filtrix/ku/log.h"
#include "filtrix/zrmath/rotation.h"
#include "platform/replay/mcaptracks.h"
#include "platform/replay/recording.h"
#include "platform/replay/rosmessages.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <mutex>
#include <utility>

namespace ZR::Replay
{
namespace
{
// Null stands for what is no number.
std::vector<float> exactPosition(ByteSpan message)
{
  const auto value = nlohmann::json::parse(message.begin(), message.end(), nullptr, false);
  if (!value.is_object() || !value.contains("position") || !value["position"].is_array())
    throw RecordingError("a position without the list \"position\"");
  std::vector<float> position;
  for (const auto& item : value["position"])
    position.push_back(item.is_number() ? item.get<float>() : std::numeric_limits<float>::quiet_NaN());
  return position;
}

std::vector<float> positionOfPose(ByteSpan message)
try
{
  const Ros::Pose pose = Ros::decodePose(message);
  const auto& [x, y, z, w] = pose.orientation;
  const auto angles = ZRMath::Rotation::fromQuaternion({w, x, y, z}).toRollPitchYaw();
  std::vector<float> position;
  for (const double value :
       {pose.position[0], pose.position[1], pose.position[2], angles.roll, angles.pitch, angles.yaw})
    position.push_back(static_cast<float>(value));
  return position;
}

catch (const std::invalid_argument& error)
{
  throw RecordingError(error.what());
}

class McapRecording final : public Recording
{
public:
  explicit McapRecording(const std::filesystem::path& path) : reader(path), tracks(readTracks(reader))
  {
    for (const std::string& problem : reader.problems())
      ku::log::warning("replay", "{}: {}", path.string(), problem);
  }

  [[nodiscard]] const RecordingContents& contents() const override { return tracks.contents; }

  [[nodiscard]] std::shared_ptr<const ZRImage> image(std::size_t track, std::size_t item) override
  {
    const TrackMessages& messages = tracks.images.at(track);
    const McapEntry& entry = messages.entries.at(item);
    return decodeFrame(messages.imageChannels.at(entry.channel), _read(entry));
  }

  [[nodiscard]] std::vector<float> position(std::size_t track, std::size_t item) override
  {
    const TrackMessages& messages = tracks.positions.at(track);
    const Bytes data = _read(messages.entries.at(item));
    return messages.exact ? exactPosition(data) : positionOfPose(data);
  }

  [[nodiscard]] std::shared_ptr<const AudioBlock> audio(std::size_t track, std::size_t item) override
  {
    Ros::Audio audio = Ros::decodeAudio(_read(tracks.audio.at(track).entries.at(item)));
    return std::make_shared<AudioBlock>(AudioBlock{Ros::toMicroseconds(audio.stamp), audio.sampleRate,
                                                   std::move(audio.channels), std::move(audio.samples)});
  }

private:
  [[nodiscard]] Bytes _read(const McapEntry& entry)
  {
    const std::lock_guard lock(mutex);
    return reader.read(entry).data;
  }

  std::mutex mutex;  // guards the reader once this is made; a leaf
  McapReader reader;
  const McapTracks tracks;
};
}  // namespace

std::unique_ptr<Recording> openMcapRecording(const std::filesystem::path& file)
{
  return std::make_unique<McapRecording>(file);
}
}  // namespace ZR::Replay
