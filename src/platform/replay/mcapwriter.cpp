#include "platform/replay/mcapwriter.h"

#include "filtrix/ku/log.h"
#include "platform/replay/chunkcodec.h"
#include "platform/replay/mcapfields.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr std::size_t maxNumbers = std::numeric_limits<std::uint16_t>::max();  // 0 is "none"

template <typename Rows>
std::uint16_t nextNumber(const Rows& rows, const char* what)
{
  if (rows.size() >= maxNumbers)
    throw std::invalid_argument(fmt::format("{} {}s, expected at most {}", rows.size() + 1, what, maxNumbers));
  return static_cast<std::uint16_t>(rows.size() + 1);
}

template <typename Rows>
void requireNumber(const Rows& rows, std::uint16_t number, const char* what)
{
  if (number == 0 || number > rows.size())
    throw std::invalid_argument(fmt::format("no {} {}, expected 1 to {}", what, number, rows.size()));
}
}  // namespace

McapWriter::McapWriter(std::filesystem::path path_, McapWriterOptions options_)
    : path(std::move(path_)), options(options_), file(path, std::ios::binary | std::ios::trunc)
{
  ByteWriter start;
  start.raw(Mcap::magic);
  Mcap::putRecord(start, Mcap::Header{"", "filtrix"});
  _put(start.bytes);
}

McapWriter::~McapWriter()
{
  try
  {
    close();
  }
  catch (const std::exception& error)
  {
    ku::log::error("replay", "{}", error.what());
  }
}

std::uint16_t McapWriter::addSchema(std::string name, std::string encoding, ByteSpan data)
{
  _requireOpen();
  const std::uint16_t id = nextNumber(schemas, "schema");
  schemas.push_back({id, std::move(name), std::move(encoding), {data.begin(), data.end()}});
  _putRecord(schemas.back());
  return id;
}

std::uint16_t McapWriter::addChannel(std::string topic, std::uint16_t schema, std::string messageEncoding,
                                     Mcap::TextMap metadata)
{
  _requireOpen();
  requireNumber(schemas, schema, "schema");
  const std::uint16_t id = nextNumber(channels, "channel");
  channels.push_back({id, schema, std::move(topic), std::move(messageEncoding), std::move(metadata)});
  sequences.push_back(0);
  _putRecord(channels.back());
  return id;
}

void McapWriter::write(std::uint16_t channel, std::uint64_t logTime, std::uint64_t publishTime, ByteSpan data)
{
  _requireOpen();
  requireNumber(channels, channel, "channel");
  _noteMessage(channel, logTime);
  Mcap::putRecord(chunk.records, Mcap::MessageHead{channel, sequences[channel - 1U]++, logTime, publishTime}, data);

  const auto span = static_cast<std::uint64_t>(options.chunkSpan.count());
  if (chunk.records.bytes.size() >= options.chunkBytes || chunk.endTime - chunk.startTime >= span)
    flush();
}

// Before the message is written, whose place in the chunk goes into the index.
void McapWriter::_noteMessage(std::uint16_t channel, std::uint64_t logTime)
{
  const bool first = chunk.index.empty();
  chunk.startTime = first ? logTime : std::min(chunk.startTime, logTime);
  chunk.endTime = first ? logTime : std::max(chunk.endTime, logTime);
  Mcap::MessageIndex& index = chunk.index[channel];
  index.channelId = channel;
  index.entries.emplace_back(logTime, chunk.records.bytes.size());

  const bool firstOfAll = statistics.messageCount == 0;
  statistics.startTime = firstOfAll ? logTime : std::min(statistics.startTime, logTime);
  statistics.endTime = firstOfAll ? logTime : std::max(statistics.endTime, logTime);
  ++statistics.messageCount;
  ++statistics.channelMessageCounts[channel];
}

void McapWriter::flush()
{
  _requireOpen();
  const Bytes& records = chunk.records.bytes;
  if (records.empty())
    return;

  const Bytes packed = options.compress ? compressZstd(records) : Bytes();
  const ByteSpan stored = options.compress ? ByteSpan(packed) : ByteSpan(records);
  const std::string compression(options.compress ? Compression::zstd : Compression::none);
  ByteWriter record;
  Mcap::putRecord(
      record,
      Mcap::ChunkHead{chunk.startTime, chunk.endTime, records.size(), crc32(records), compression, stored.size()},
      stored);

  Mcap::ChunkIndex index;
  index.startTime = chunk.startTime;
  index.endTime = chunk.endTime;
  index.chunkOffset = position;
  index.chunkLength = record.bytes.size();
  index.compression = compression;
  index.storedSize = stored.size();
  index.size = records.size();
  _put(record.bytes);
  _putMessageIndexes(index);
  chunkIndexes.push_back(std::move(index));
  chunk = Chunk();

  file.flush();
  _put({});
}

void McapWriter::_putMessageIndexes(Mcap::ChunkIndex& index)
{
  const std::uint64_t start = position;
  for (const auto& [channel, messages] : chunk.index)
  {
    index.messageIndexOffsets[channel] = position;
    _putRecord(messages);
  }
  index.messageIndexLength = position - start;
}

void McapWriter::attach(std::string name, std::string mediaType, std::uint64_t time, ByteSpan data)
{
  _requireOpen();
  const Mcap::AttachmentHead head{time, time, name, mediaType, data.size()};
  ByteWriter checked;
  Mcap::putFields(checked, head);
  checked.raw(data);
  ByteWriter tail;
  tail.raw(data);
  tail.number(crc32(checked.bytes));
  ByteWriter record;
  Mcap::putRecord(record, head, tail.bytes);

  attachmentIndexes.push_back(
      {position, record.bytes.size(), time, time, data.size(), std::move(name), std::move(mediaType)});
  _put(record.bytes);
}

void McapWriter::addMetadata(std::string name, Mcap::TextMap values)
{
  _requireOpen();
  ByteWriter record;
  Mcap::putRecord(record, Mcap::Metadata{name, std::move(values)});
  metadataIndexes.push_back({position, record.bytes.size(), std::move(name)});
  _put(record.bytes);
}

void McapWriter::close()
{
  if (closed || failed)
    return;
  flush();
  _putRecord(Mcap::DataEnd{crc.value()});
  _putSummary();
  file.close();
  _put({});
  closed = true;
}

void McapWriter::_putSummary()
{
  statistics.schemaCount = static_cast<std::uint16_t>(schemas.size());
  statistics.channelCount = static_cast<std::uint32_t>(channels.size());
  statistics.attachmentCount = static_cast<std::uint32_t>(attachmentIndexes.size());
  statistics.metadataCount = static_cast<std::uint32_t>(metadataIndexes.size());
  statistics.chunkCount = static_cast<std::uint32_t>(chunkIndexes.size());

  const std::uint64_t start = position;
  ByteWriter summary;
  _putGroup(summary, start, schemas);
  _putGroup(summary, start, channels);
  _putGroup(summary, start, std::vector{statistics});
  _putGroup(summary, start, chunkIndexes);
  _putGroup(summary, start, attachmentIndexes);
  _putGroup(summary, start, metadataIndexes);
  Mcap::Footer footer{start, start + summary.bytes.size(), 0};
  for (const Mcap::SummaryOffset& offset : summaryOffsets)
    Mcap::putRecord(summary, offset);

  Mcap::putRecord(summary, footer);
  const std::size_t crcAt = summary.bytes.size() - sizeof footer.summaryCrc;
  summary.overwrite(crcAt, crc32(ByteSpan(summary.bytes).first(crcAt)));
  summary.raw(Mcap::magic);
  _put(summary.bytes);
}

template <typename Records>
void McapWriter::_putGroup(ByteWriter& summary, std::uint64_t start, const Records& records)
{
  if (records.empty())
    return;
  const std::uint64_t from = start + summary.bytes.size();
  for (const auto& record : records)
    Mcap::putRecord(summary, record);
  const auto opcode = static_cast<std::uint8_t>(Records::value_type::opcode);
  summaryOffsets.push_back({opcode, from, start + summary.bytes.size() - from});
}

template <typename Record>
void McapWriter::_putRecord(const Record& record)
{
  ByteWriter bytes;
  Mcap::putRecord(bytes, record);
  _put(bytes.bytes);
}

void McapWriter::_put(ByteSpan bytes)
{
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file)
  {
    failed = true;
    throw RecordingError(fmt::format("{}: cannot be written at byte {}", path.string(), position));
  }
  position += bytes.size();
  crc.add(bytes);
}

void McapWriter::_requireOpen() const
{
  if (closed || failed)
    throw RecordingError(fmt::format("{}: {}", path.string(), failed ? "an earlier write failed" : "already closed"));
}
}  // namespace ZR::Replay
