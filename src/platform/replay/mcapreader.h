#pragma once

#include "platform/replay/mcapfile.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ZR::Replay
{
/// Where a message is.
struct McapEntry
{
  std::uint64_t logTime = 0;  ///< nanoseconds since 1970
  std::uint64_t chunk = 0;    ///< offset of its chunk in the file, 0 for a message outside of chunks
  std::uint64_t offset = 0;   ///< of its record in the chunk's records, or in the file
  std::uint16_t channel = 0;
};

struct McapMessage
{
  std::uint16_t channel = 0;
  std::uint32_t sequence = 0;
  std::uint64_t logTime = 0;      ///< nanoseconds since 1970
  std::uint64_t publishTime = 0;  ///< nanoseconds since 1970
  Bytes data;
};

struct McapReaderOptions
{
  /// No record that is read at once, and no chunk's content, may be larger than this: a hostile file cannot ask for
  /// more memory.
  std::uint64_t maxBytes = std::uint64_t{256} << 20U;

  /// So many chunks are kept open, for tracks that are read side by side.
  std::size_t cachedChunks = 4;
};

/// Reads an MCAP file. Opening it makes an index of its messages, by the summary and the indexes of the chunks; where
/// those are missing or wrong, since the writer crashed, all whole records are gone through instead. Memory is needed
/// for the index, 32 bytes a message, and a few chunks.
///
/// Opening throws `RecordingError` only for what is no MCAP file at all. A damaged one gives what is whole, and
/// `problems` tells of the rest.
class McapReader final
{
public:
  explicit McapReader(const std::filesystem::path& path, McapReaderOptions options_ = {});

  [[nodiscard]] const std::filesystem::path& getPath() const { return file.getPath(); }

  /// False for a file that was cut short.
  [[nodiscard]] bool isComplete() const { return complete; }

  /// What could not be read, a line each.
  [[nodiscard]] const std::vector<std::string>& problems() const { return problemLines; }

  [[nodiscard]] const std::map<std::uint16_t, Mcap::Channel>& channels() const { return channelsById; }

  /// The schema of a channel, or null.
  [[nodiscard]] const Mcap::Schema* schemaOf(const Mcap::Channel& channel) const;

  /// All messages by rising log time, those of one time in the order of the file.
  [[nodiscard]] const std::vector<McapEntry>& entries() const { return index; }

  /// Those from a log time on, and before another.
  [[nodiscard]] std::span<const McapEntry> entries(std::uint64_t from, std::uint64_t before) const;

  /// Throws `RecordingError` for a message whose chunk is damaged.
  [[nodiscard]] McapMessage read(const McapEntry& entry);

  [[nodiscard]] const std::vector<Mcap::AttachmentIndex>& attachments() const { return attachmentIndex; }

  /// The data of an attachment. Throws `RecordingError` when it is damaged.
  [[nodiscard]] Bytes attachment(const Mcap::AttachmentIndex& entry);

  [[nodiscard]] const std::vector<Mcap::Metadata>& metadata() const { return metadataRecords; }

private:
  struct OpenChunk
  {
    std::uint64_t offset = 0;
    std::shared_ptr<const Bytes> records;
  };

  bool _readSummary();
  void _readSummaryRecords(ByteSpan summary);
  void _readMetadata(std::vector<Mcap::MetadataIndex> indexes);
  void _readMessageIndexes(std::vector<Mcap::ChunkIndex> chunks);
  void _addMessageIndexes(const Mcap::ChunkIndex& chunk);
  void _scan();
  bool _scanRecord(const McapRecord& record, std::uint64_t offset);
  void _scanChunk(const McapRecord& record, std::uint64_t offset);
  void _scanChunkRecord(Mcap::Opcode opcode, ByteSpan content, std::uint64_t chunk, std::uint64_t offset);
  void _addAttachment(const McapRecord& record, std::uint64_t offset);
  void _forget();
  void _finish();
  void _noteProblem(std::string text);
  [[nodiscard]] std::shared_ptr<const Bytes> _chunk(std::uint64_t offset);
  [[nodiscard]] Bytes _readChunk(const McapRecord& record);

  const McapReaderOptions options;
  McapFile file;
  bool complete = false;
  std::vector<std::string> problemLines;
  std::map<std::uint16_t, Mcap::Schema> schemasById;
  std::map<std::uint16_t, Mcap::Channel> channelsById;
  std::vector<McapEntry> index;
  std::vector<Mcap::AttachmentIndex> attachmentIndex;
  std::vector<Mcap::Metadata> metadataRecords;
  std::deque<OpenChunk> openChunks;  // the last used first
};
}  // namespace ZR::Replay
