#pragma once

#include "platform/replay/mcaprecords.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace ZR::Replay
{
/// Where the content of a record lies in a file.
struct McapRecord
{
  Mcap::Opcode opcode{};
  std::uint64_t content = 0;  ///< offset
  std::uint64_t length = 0;   ///< bytes, all within the file

  [[nodiscard]] std::uint64_t end() const { return content + length; }
};

/// Reads pieces of an MCAP file. A piece that does not lie within the file, or is larger than the limit, is refused
/// before memory is taken. All failures throw `RecordingError` with the file's name.
class McapFile final
{
public:
  /// Throws when the file cannot be opened or does not begin as an MCAP file does.
  McapFile(std::filesystem::path path_, std::uint64_t maxBytes_);

  [[nodiscard]] const std::filesystem::path& getPath() const { return path; }

  [[nodiscard]] std::uint64_t size() const { return fileSize; }

  /// The record that begins at an offset.
  [[nodiscard]] McapRecord record(std::uint64_t offset);

  /// Its content, which must be of the kind that is asked for.
  [[nodiscard]] Bytes content(const McapRecord& record, Mcap::Opcode expected);

  [[nodiscard]] Bytes read(std::uint64_t offset, std::uint64_t length);

private:
  const std::filesystem::path path;
  const std::uint64_t maxBytes;
  std::ifstream file;
  std::uint64_t fileSize = 0;
};
}  // namespace ZR::Replay
