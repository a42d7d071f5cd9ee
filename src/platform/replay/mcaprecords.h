#pragma once

#include "platform/replay/bytes.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

/// The records of the MCAP container: a file of `magic`, records, `magic`. A record is an opcode, the length of its
/// content in 64 bits, and the content, all little-endian. Times are nanoseconds.
///
/// A struct lists its fields in the order of the file; reading and writing both go by that list ("mcapfields.h").
namespace ZR::Replay::Mcap
{
inline constexpr std::uint8_t magic[] = {0x89, 'M', 'C', 'A', 'P', '0', '\r', '\n'};
inline constexpr std::size_t recordHeadSize = 1 + 8;

enum class Opcode : std::uint8_t
{
  Header = 0x01,
  Footer = 0x02,
  Schema = 0x03,
  Channel = 0x04,
  Message = 0x05,
  Chunk = 0x06,
  MessageIndex = 0x07,
  ChunkIndex = 0x08,
  Attachment = 0x09,
  AttachmentIndex = 0x0A,
  Statistics = 0x0B,
  Metadata = 0x0C,
  MetadataIndex = 0x0D,
  SummaryOffset = 0x0E,
  DataEnd = 0x0F
};

using TextMap = std::map<std::string, std::string>;

struct Header
{
  std::string profile;
  std::string library;

  static constexpr Opcode opcode = Opcode::Header;
  static constexpr auto fields = std::make_tuple(&Header::profile, &Header::library);
};

struct Footer
{
  std::uint64_t summaryStart = 0;        ///< 0 when there is no summary
  std::uint64_t summaryOffsetStart = 0;  ///< 0 when there are no summary offsets
  std::uint32_t summaryCrc = 0;          ///< from `summaryStart` to here; 0 when it was not computed

  static constexpr Opcode opcode = Opcode::Footer;
  static constexpr auto fields =
      std::make_tuple(&Footer::summaryStart, &Footer::summaryOffsetStart, &Footer::summaryCrc);
  static constexpr std::size_t size = 8 + 8 + 4;
};

struct Schema
{
  std::uint16_t id = 0;
  std::string name;
  std::string encoding;
  Bytes data;

  static constexpr Opcode opcode = Opcode::Schema;
  static constexpr auto fields = std::make_tuple(&Schema::id, &Schema::name, &Schema::encoding, &Schema::data);
};

struct Channel
{
  std::uint16_t id = 0;
  std::uint16_t schemaId = 0;  ///< 0 for none
  std::string topic;
  std::string messageEncoding;
  TextMap metadata;

  static constexpr Opcode opcode = Opcode::Channel;
  static constexpr auto fields =
      std::make_tuple(&Channel::id, &Channel::schemaId, &Channel::topic, &Channel::messageEncoding, &Channel::metadata);
};

/// Before the data of a message, which is the rest of its record.
struct MessageHead
{
  std::uint16_t channelId = 0;
  std::uint32_t sequence = 0;
  std::uint64_t logTime = 0;
  std::uint64_t publishTime = 0;

  static constexpr Opcode opcode = Opcode::Message;
  static constexpr auto fields = std::make_tuple(&MessageHead::channelId, &MessageHead::sequence, &MessageHead::logTime,
                                                 &MessageHead::publishTime);
};

/// Before the records of a chunk, which are the rest of its record.
struct ChunkHead
{
  std::uint64_t startTime = 0;
  std::uint64_t endTime = 0;
  std::uint64_t size = 0;  ///< bytes of the records, uncompressed
  std::uint32_t crc = 0;   ///< of the records, uncompressed; 0 when it was not computed
  std::string compression;
  std::uint64_t storedSize = 0;  ///< bytes of the records as they stand in the file

  static constexpr Opcode opcode = Opcode::Chunk;
  static constexpr auto fields = std::make_tuple(&ChunkHead::startTime, &ChunkHead::endTime, &ChunkHead::size,
                                                 &ChunkHead::crc, &ChunkHead::compression, &ChunkHead::storedSize);
};

struct MessageIndex
{
  std::uint16_t channelId = 0;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> entries;  ///< log time, offset in the uncompressed chunk

  static constexpr Opcode opcode = Opcode::MessageIndex;
  static constexpr auto fields = std::make_tuple(&MessageIndex::channelId, &MessageIndex::entries);
};

struct ChunkIndex
{
  std::uint64_t startTime = 0;
  std::uint64_t endTime = 0;
  std::uint64_t chunkOffset = 0;
  std::uint64_t chunkLength = 0;  ///< of the whole record
  std::map<std::uint16_t, std::uint64_t> messageIndexOffsets;
  std::uint64_t messageIndexLength = 0;  ///< of all message indexes, which follow the chunk
  std::string compression;
  std::uint64_t storedSize = 0;
  std::uint64_t size = 0;

  static constexpr Opcode opcode = Opcode::ChunkIndex;
  static constexpr auto fields =
      std::make_tuple(&ChunkIndex::startTime, &ChunkIndex::endTime, &ChunkIndex::chunkOffset, &ChunkIndex::chunkLength,
                      &ChunkIndex::messageIndexOffsets, &ChunkIndex::messageIndexLength, &ChunkIndex::compression,
                      &ChunkIndex::storedSize, &ChunkIndex::size);
};

/// Before the data of an attachment; a check of all of the record follows the data.
struct AttachmentHead
{
  std::uint64_t logTime = 0;
  std::uint64_t createTime = 0;
  std::string name;
  std::string mediaType;
  std::uint64_t size = 0;  ///< bytes

  static constexpr Opcode opcode = Opcode::Attachment;
  static constexpr auto fields =
      std::make_tuple(&AttachmentHead::logTime, &AttachmentHead::createTime, &AttachmentHead::name,
                      &AttachmentHead::mediaType, &AttachmentHead::size);
};

struct AttachmentIndex
{
  std::uint64_t offset = 0;
  std::uint64_t length = 0;  ///< of the whole record
  std::uint64_t logTime = 0;
  std::uint64_t createTime = 0;
  std::uint64_t size = 0;  ///< of the data
  std::string name;
  std::string mediaType;

  static constexpr Opcode opcode = Opcode::AttachmentIndex;
  static constexpr auto fields = std::make_tuple(
      &AttachmentIndex::offset, &AttachmentIndex::length, &AttachmentIndex::logTime, &AttachmentIndex::createTime,
      &AttachmentIndex::size, &AttachmentIndex::name, &AttachmentIndex::mediaType);
};

struct Statistics
{
  std::uint64_t messageCount = 0;
  std::uint16_t schemaCount = 0;
  std::uint32_t channelCount = 0;
  std::uint32_t attachmentCount = 0;
  std::uint32_t metadataCount = 0;
  std::uint32_t chunkCount = 0;
  std::uint64_t startTime = 0;
  std::uint64_t endTime = 0;
  std::map<std::uint16_t, std::uint64_t> channelMessageCounts;

  static constexpr Opcode opcode = Opcode::Statistics;
  static constexpr auto fields =
      std::make_tuple(&Statistics::messageCount, &Statistics::schemaCount, &Statistics::channelCount,
                      &Statistics::attachmentCount, &Statistics::metadataCount, &Statistics::chunkCount,
                      &Statistics::startTime, &Statistics::endTime, &Statistics::channelMessageCounts);
};

struct Metadata
{
  std::string name;
  TextMap values;

  static constexpr Opcode opcode = Opcode::Metadata;
  static constexpr auto fields = std::make_tuple(&Metadata::name, &Metadata::values);
};

struct MetadataIndex
{
  std::uint64_t offset = 0;
  std::uint64_t length = 0;  ///< of the whole record
  std::string name;

  static constexpr Opcode opcode = Opcode::MetadataIndex;
  static constexpr auto fields = std::make_tuple(&MetadataIndex::offset, &MetadataIndex::length, &MetadataIndex::name);
};

struct SummaryOffset
{
  std::uint8_t group = 0;  ///< the opcode of the records
  std::uint64_t start = 0;
  std::uint64_t length = 0;

  static constexpr Opcode opcode = Opcode::SummaryOffset;
  static constexpr auto fields = std::make_tuple(&SummaryOffset::group, &SummaryOffset::start, &SummaryOffset::length);
};

struct DataEnd
{
  std::uint32_t crc = 0;  ///< of all that comes before this record; 0 when it was not computed

  static constexpr Opcode opcode = Opcode::DataEnd;
  static constexpr auto fields = std::make_tuple(&DataEnd::crc);
};
}  // namespace ZR::Replay::Mcap
