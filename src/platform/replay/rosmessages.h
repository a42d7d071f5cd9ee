#pragma once

#include "platform/replay/bytes.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// The messages of ROS 2 that recordings hold, so that other tools show them too, and one of our own for sound.
namespace ZR::Replay::Ros
{
/// What a channel tells of its messages.
struct MessageType
{
  const char* name;
  const char* definition;  ///< the types that it uses included
};

extern const MessageType imageType;
extern const MessageType poseType;
extern const MessageType audioType;

/// builtin_interfaces/Time: seconds and nanoseconds since 1970, or since what the sender counts from.
struct Stamp
{
  std::int32_t seconds = 0;
  std::uint32_t nanoseconds = 0;

  bool operator==(const Stamp&) const = default;
};

/// Throws `RecordingError` where the seconds do not fit 32 bits.
[[nodiscard]] Stamp toStamp(std::int64_t microseconds);
[[nodiscard]] std::int64_t toMicroseconds(const Stamp& stamp);

/// sensor_msgs/Image. To write one the pixels are only looked at.
struct Image
{
  Stamp stamp;
  std::string frame;
  std::uint32_t height = 0;
  std::uint32_t width = 0;
  std::string encoding;
  bool bigEndian = false;
  std::uint32_t step = 0;  ///< bytes of a row
  ByteSpan data;
};

/// geometry_msgs/PoseStamped: metres and a unit quaternion x, y, z, w.
struct Pose
{
  Stamp stamp;
  std::string frame;
  std::array<double, 3> position{};
  std::array<double, 4> orientation{};
};

/// A stretch of sound, samples of all channels in turn.
struct Audio
{
  Stamp stamp;
  std::int32_t sampleRate = 0;  ///< Hz
  std::vector<std::string> channels;
  std::vector<std::int16_t> samples;
};

[[nodiscard]] Bytes encode(const Image& image);
[[nodiscard]] Bytes encode(const Pose& pose);
[[nodiscard]] Bytes encode(const Audio& audio);

/// These throw `RecordingError` on bytes that are no such message. The image's pixels lie in `message`.
[[nodiscard]] Image decodeImage(ByteSpan message);
[[nodiscard]] Pose decodePose(ByteSpan message);
[[nodiscard]] Audio decodeAudio(ByteSpan message);
}  // namespace ZR::Replay::Ros
