#include "platform/replay/mcapfile.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace ZR::Replay
{
McapFile::McapFile(std::filesystem::path path_, std::uint64_t maxBytes_)
    : path(std::move(path_)), maxBytes(maxBytes_), file(path, std::ios::binary)
{
  std::error_code error;
  if (!file || !std::filesystem::is_regular_file(path, error))
    throw RecordingError(fmt::format("{}: cannot be opened as a file", path.string()));
  fileSize = std::filesystem::file_size(path, error);
  if (error)
    throw RecordingError(fmt::format("{}: {}", path.string(), error.message()));
  if (fileSize < std::size(Mcap::magic) || !std::ranges::equal(read(0, std::size(Mcap::magic)), Mcap::magic))
    throw RecordingError(fmt::format("{}: expected a recording, which begins with the bytes 89 \"MCAP0\" 0D 0A, came "
                                     "{} other bytes",
                                     path.string(), fileSize));
}

McapRecord McapFile::record(std::uint64_t offset)
{
  const Bytes head = read(offset, Mcap::recordHeadSize);
  ByteReader from(head);
  McapRecord record;
  record.opcode = static_cast<Mcap::Opcode>(from.number<std::uint8_t>());
  record.length = from.number<std::uint64_t>();
  record.content = offset + Mcap::recordHeadSize;
  if (record.length > fileSize - record.content)
    throw RecordingError(fmt::format("{}: byte {}: a record of {} bytes, {} are left", path.string(), offset,
                                     record.length, fileSize - record.content));
  return record;
}

Bytes McapFile::content(const McapRecord& record, Mcap::Opcode expected)
{
  if (record.opcode != expected)
    throw RecordingError(fmt::format("{}: byte {}: a record of kind {}, expected {}", path.string(),
                                     record.content - Mcap::recordHeadSize, static_cast<int>(record.opcode),
                                     static_cast<int>(expected)));
  return read(record.content, record.length);
}

Bytes McapFile::read(std::uint64_t offset, std::uint64_t length)
{
  if (offset > fileSize || length > fileSize - offset)
    throw RecordingError(fmt::format("{}: byte {}: expected {} bytes, {} are left", path.string(), offset, length,
                                     offset > fileSize ? 0 : fileSize - offset));
  if (length > maxBytes)
    throw RecordingError(
        fmt::format("{}: byte {}: a piece of {} bytes, expected at most {}", path.string(), offset, length, maxBytes));
  Bytes bytes(static_cast<std::size_t>(length));
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length));
  if (!file)
    throw RecordingError(fmt::format("{}: byte {}: {} bytes cannot be read", path.string(), offset, length));
  return bytes;
}
}  // namespace ZR::Replay
