#pragma once

#include "filtrix/zrimage.h"
#include "platform/audioservice.h"
#include "platform/replay/positionkey.h"
#include "platform/replay/timeline.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ZR::Replay
{
/// The frames of one camera in one format.
struct ImageTrack
{
  std::string topic;
  int camera = 0;
  ZRImageHeader header;            ///< of every frame, but the time stamp
  std::vector<Nanoseconds> times;  ///< from the start of the recording, rising; so for all tracks
};

struct PositionTrack
{
  PositionKey key;
  std::vector<Nanoseconds> times;
};

struct AudioTrack
{
  int sampleRate = 0;  ///< Hz
  std::vector<std::string> microphones;
  std::vector<Nanoseconds> times;
};

/// What a recording holds. Tracks are known by their place in these lists.
struct RecordingContents
{
  Nanoseconds start{0};   ///< of the first message, since 1970; 0 where nobody knows
  Nanoseconds length{0};  ///< from the first message to the last
  std::vector<ImageTrack> images;
  std::vector<PositionTrack> positions;
  std::vector<AudioTrack> audio;

  std::optional<bool> hasDepthCamera;
  std::map<int, int> cameraModels;   ///< of those that are known
  std::vector<std::string> sensors;  ///< of the motion service

  /// A still picture: played for ever, one lap this long.
  std::optional<Nanoseconds> stillLap;
};

/// A recording that can be played. Thread-safe.
class Recording
{
public:
  Recording() = default;
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;
  virtual ~Recording() = default;

  [[nodiscard]] virtual const RecordingContents& contents() const = 0;

  /// The items of a track, which throw `RecordingError` when they are damaged.
  [[nodiscard]] virtual std::shared_ptr<const ZRImage> image(std::size_t track, std::size_t item) = 0;
  [[nodiscard]] virtual std::vector<float> position(std::size_t track, std::size_t item) = 0;
  [[nodiscard]] virtual std::shared_ptr<const AudioBlock> audio(std::size_t track, std::size_t item) = 0;
};

/// Opens a recorded file, or a folder of pictures. Throws `RecordingError` on what is neither.
[[nodiscard]] std::unique_ptr<Recording> openRecording(const std::filesystem::path& path);
[[nodiscard]] std::unique_ptr<Recording> openMcapRecording(const std::filesystem::path& file);
[[nodiscard]] std::unique_ptr<Recording> openFolderRecording(const std::filesystem::path& folder);
}  // namespace ZR::Replay
