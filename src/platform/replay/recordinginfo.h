#pragma once

#include "platform/replay/timeline.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace ZR::Replay
{
struct TopicInfo
{
  std::string topic;
  std::string schema;
  std::string encoding;
  std::uint64_t count = 0;
  Nanoseconds first{0};  ///< from the start of the recording
  Nanoseconds last{0};
  double rateHz = 0;  ///< between the first and the last; 0 for fewer than two
};

struct AttachmentInfo
{
  std::string name;
  std::string mediaType;
  std::uint64_t size = 0;  ///< bytes
};

/// What a recording holds, for people.
struct RecordingInfo
{
  std::string path;
  bool complete = true;               ///< false for a file that was cut short
  std::vector<std::string> problems;  ///< what could not be read
  Nanoseconds start{0};               ///< since 1970; 0 where nobody knows
  Nanoseconds length{0};
  std::vector<TopicInfo> topics;  ///< by their names
  std::vector<AttachmentInfo> attachments;
};

/// Of a recorded file or a folder of pictures. Throws `RecordingError` on what is neither.
[[nodiscard]] RecordingInfo info(const std::filesystem::path& path);

/// A table, one line a topic.
[[nodiscard]] std::string toText(const RecordingInfo& recording);
}  // namespace ZR::Replay
