#pragma once

#include "filtrix/ku/clock.h"
#include "filtrix/zrimage.h"
#include "platform/audioservice.h"
#include "platform/motionservice.h"
#include "platform/replay/imagechannel.h"
#include "platform/replay/mcapwriter.h"
#include "platform/replay/positionkey.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

namespace ZR::Replay
{
struct RecorderOptions
{
  McapWriterOptions file = {};

  /// Nanoseconds since 1970 at which the recording starts; the machine's time when not told. From there on `ku::Clock`
  /// counts, so a recording of a manual clock is the same on every run.
  std::optional<std::chrono::nanoseconds> start = {};
};

/// A kind of value that is recorded as JSON.
struct JsonKind
{
  std::string name;                             ///< of its schema, such as "filtrix/Zone"
  std::string schema = R"({"type":"object"})";  ///< a JSON schema
};

/// Records what a robot saw, heard and did into an MCAP file that this and other tools read:
///
/// | What      | Messages                                             | Schema                                    |
/// |-----------|------------------------------------------------------|-------------------------------------------|
/// | images    | CDR                                                  | sensor_msgs/msg/Image                     |
/// | positions | CDR, and JSON beside it for the floats as they were  | geometry_msgs/msg/PoseStamped             |
/// | sound     | CDR                                                  | filtrix/msg/AudioBlock                    |
/// | values    | JSON                                                 | that of the `JsonKind`                    |
/// | files     | attachments: program text, calibration               |                                           |
///
/// A message's log time is that of the call. The caller's thread compresses a chunk when it is full, a few milliseconds
/// a megabyte. Failures throw `RecordingError`. Thread-safe.
class Recorder final
{
public:
  explicit Recorder(std::filesystem::path path, RecorderOptions options = {});

  /// A frame of a camera. One with the time of the last frame of the same camera, colour space and size is passed over:
  /// it is that very frame, which a second subscription got.
  void write(int camera, const ZRImage& frame);

  /// What `MotionService::getPosition` gave.
  void write(const PositionKey& key, std::span<const float> position);

  void write(const AudioBlock& block);

  /// Any other value. A topic keeps its first kind.
  void write(const std::string& topic, const JsonKind& kind, const nlohmann::json& value);

  /// A file beside the messages. `mediaType` is such as "text/plain".
  void attach(const std::string& name, const std::string& mediaType, std::string_view content);

  /// What holds for the whole recording; told again under the same name it replaces what was told before.
  void describe(const std::string& name, const Mcap::TextMap& values);

  /// Ends the recording, which the destructor does too.
  void close();

private:
  struct ImageTopic
  {
    ImageChannel channel;
    std::uint16_t id = 0;
    std::int64_t lastTime = 0;  // the frame's
  };

  struct PositionTopics
  {
    std::uint16_t pose = 0;
    std::uint16_t exact = 0;
  };

  using ImageKey = std::tuple<int, int, int, int>;  // camera, colour space, width, height

  [[nodiscard]] std::uint64_t _now() const;
  [[nodiscard]] std::uint16_t _schema(const std::string& name, const std::string& encoding, std::string_view text);
  [[nodiscard]] ImageTopic* _topicFor(const ImageChannel& channel, std::int64_t time);
  [[nodiscard]] const PositionTopics& _topicsFor(const PositionKey& key);
  [[nodiscard]] std::uint16_t _topicFor(const AudioBlock& block);
  [[nodiscard]] std::uint16_t _jsonTopic(const std::string& topic, const JsonKind& kind, const Mcap::TextMap& metadata);

  const std::chrono::nanoseconds start;
  const ku::Clock::time_point clockStart = ku::Clock::now();

  std::mutex mutex;  // guards the rest; a leaf
  McapWriter file;
  std::map<std::string, std::uint16_t> schemas;
  std::map<ImageKey, ImageTopic> imageTopics;
  std::map<PositionKey, PositionTopics> positionTopics;
  std::map<std::string, std::uint16_t> audioTopics;  // by rate and microphones
  std::map<std::string, std::uint16_t> jsonTopics;
};
}  // namespace ZR::Replay
