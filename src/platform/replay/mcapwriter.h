#pragma once

#include "platform/replay/crc32.h"
#include "platform/replay/mcaprecords.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace ZR::Replay
{
struct McapWriterOptions
{
  std::size_t chunkBytes = std::size_t{1} << 20U;                ///< a chunk ends once it has this many
  std::chrono::nanoseconds chunkSpan = std::chrono::seconds(1);  ///< or when its messages span this much of log time
  bool compress = true;
};

/// Writes an MCAP file as a stream: messages gather in a chunk, which is compressed, checked and flushed when it is
/// full. So a crash costs the messages of the last chunk, and a reader finds the others without the summary, which
/// `close` writes. Schemas and channels stand outside of the chunks: a damaged chunk costs its own messages only.
///
/// What cannot be written throws `RecordingError`; nothing can be written any more after that.
class McapWriter final
{
public:
  /// Replaces a file that is there.
  explicit McapWriter(std::filesystem::path path_, McapWriterOptions options_ = {});

  /// Closes; a failure is logged.
  ~McapWriter();
  McapWriter(const McapWriter&) = delete;
  McapWriter& operator=(const McapWriter&) = delete;

  /// Gives the number by which a channel names the schema.
  std::uint16_t addSchema(std::string name, std::string encoding, ByteSpan data);

  /// Gives the number by which a message names the channel. Topics may repeat. Throws std::invalid_argument on a schema
  /// that is not there.
  std::uint16_t addChannel(std::string topic, std::uint16_t schema, std::string messageEncoding,
                           Mcap::TextMap metadata);

  /// Times are nanoseconds since 1970. Throws std::invalid_argument on a channel that is not there.
  void write(std::uint16_t channel, std::uint64_t logTime, std::uint64_t publishTime, ByteSpan data);

  /// A file within the file.
  void attach(std::string name, std::string mediaType, std::uint64_t time, ByteSpan data);

  void addMetadata(std::string name, Mcap::TextMap values);

  /// Ends the chunk and hands it to the system.
  void flush();

  /// Ends the chunk and writes the summary. Again does nothing.
  void close();

private:
  struct Chunk
  {
    ByteWriter records;
    std::uint64_t startTime = 0;
    std::uint64_t endTime = 0;
    std::map<std::uint16_t, Mcap::MessageIndex> index;
  };

  void _put(ByteSpan bytes);
  void _requireOpen() const;
  void _noteMessage(std::uint16_t channel, std::uint64_t logTime);
  void _putMessageIndexes(Mcap::ChunkIndex& index);
  void _putSummary();

  template <typename Record>
  void _putRecord(const Record& record);
  template <typename Records>
  void _putGroup(ByteWriter& summary, std::uint64_t start, const Records& records);

  const std::filesystem::path path;
  const McapWriterOptions options;
  std::ofstream file;
  std::uint64_t position = 0;
  Crc32 crc;  // of all that has been written
  bool closed = false;
  bool failed = false;

  Chunk chunk;
  std::vector<Mcap::Schema> schemas;     // number 1 first
  std::vector<Mcap::Channel> channels;   // number 1 first
  std::vector<std::uint32_t> sequences;  // of the channels

  // What the summary tells.
  Mcap::Statistics statistics;
  std::vector<Mcap::ChunkIndex> chunkIndexes;
  std::vector<Mcap::AttachmentIndex> attachmentIndexes;
  std::vector<Mcap::MetadataIndex> metadataIndexes;
  std::vector<Mcap::SummaryOffset> summaryOffsets;
};
}  // namespace ZR::Replay
