#include "platform/replay/mcapreader.h"

#include "platform/replay/chunkcodec.h"
#include "platform/replay/crc32.h"
#include "platform/replay/mcapfields.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <tuple>
#include <utility>

namespace ZR::Replay
{
using Mcap::Opcode;

namespace
{
constexpr std::size_t maxProblems = 20;
constexpr std::size_t tailSize = Mcap::recordHeadSize + Mcap::Footer::size + std::size(Mcap::magic);

// The records of a chunk or a summary one after the other; `use` gets the opcode, the content and the offset.
template <typename Use>
void forEachRecord(ByteSpan bytes, const Use& use)
{
  for (ByteReader from(bytes); from.left() > 0;)
  {
    const std::size_t offset = from.position();
    const auto opcode = static_cast<Opcode>(from.number<std::uint8_t>());
    use(opcode, from.raw(from.number<std::uint64_t>()), offset);
  }
}

bool endsWithMagic(ByteSpan bytes)
{
  return std::ranges::equal(bytes.last(std::size(Mcap::magic)), Mcap::magic);
}

McapMessage messageOf(ByteSpan content)
{
  ByteReader from(content);
  const auto head = Mcap::takeFields<Mcap::MessageHead>(from);
  const ByteSpan data = from.raw(from.left());
  return {head.channelId, head.sequence, head.logTime, head.publishTime, {data.begin(), data.end()}};
}

void requireCrc(std::uint32_t expected, ByteSpan bytes, const char* what)
{
  const std::uint32_t came = expected == 0 ? 0 : crc32(bytes);
  if (came != expected)
    throw RecordingError(fmt::format("{} has the check {:08x}, expected {:08x}", what, came, expected));
}
}  // namespace

McapReader::McapReader(const std::filesystem::path& path, McapReaderOptions options_)
    : options(options_), file(path, options.maxBytes)
{
  if (!_readSummary())
    _scan();
  _finish();
}

const Mcap::Schema* McapReader::schemaOf(const Mcap::Channel& channel) const
{
  const auto found = schemasById.find(channel.schemaId);
  return found == schemasById.end() ? nullptr : &found->second;
}

std::span<const McapEntry> McapReader::entries(std::uint64_t from, std::uint64_t before) const
{
  const auto first = std::ranges::lower_bound(index, from, {}, &McapEntry::logTime);
  const auto last = std::ranges::lower_bound(first, index.end(), before, {}, &McapEntry::logTime);
  return {first, last};
}

McapMessage McapReader::read(const McapEntry& entry)
{
  if (entry.chunk == 0)
    return messageOf(file.content(file.record(entry.offset), Opcode::Message));

  const std::shared_ptr<const Bytes> records = _chunk(entry.chunk);
  ByteReader from(*records);
  static_cast<void>(from.raw(entry.offset));
  if (static_cast<Opcode>(from.number<std::uint8_t>()) != Opcode::Message)
    throw RecordingError(fmt::format("{}: chunk at byte {}: no message at byte {} of it", getPath().string(),
                                     entry.chunk, entry.offset));
  return messageOf(from.raw(from.number<std::uint64_t>()));
}

Bytes McapReader::attachment(const Mcap::AttachmentIndex& entry)
{
  const Bytes content = file.content(file.record(entry.offset), Opcode::Attachment);
  ByteReader from(content);
  const auto head = Mcap::takeFields<Mcap::AttachmentHead>(from);
  const ByteSpan data = from.raw(head.size);
  const ByteSpan checked = ByteSpan(content).first(from.position());
  requireCrc(from.number<std::uint32_t>(), checked, "the attachment");
  return {data.begin(), data.end()};
}

// True when the summary and the indexes agree with each other. Otherwise nothing of them is kept.
bool McapReader::_readSummary()
try
{
  if (file.size() < std::size(Mcap::magic) + tailSize)
    return false;
  const std::uint64_t footerAt = file.size() - tailSize;
  const Bytes tail = file.read(footerAt, tailSize);
  const McapRecord record = file.record(footerAt);
  if (!endsWithMagic(tail) || record.opcode != Opcode::Footer || record.length != Mcap::Footer::size)
    return false;

  const auto footer = Mcap::takeFields<Mcap::Footer>(ByteSpan(tail).subspan(Mcap::recordHeadSize));
  if (footer.summaryStart == 0 || footer.summaryStart > footerAt)
    return false;
  const std::uint64_t checkedEnd = footerAt + Mcap::recordHeadSize + Mcap::Footer::size - sizeof footer.summaryCrc;
  const Bytes summary = file.read(footer.summaryStart, checkedEnd - footer.summaryStart);
  requireCrc(footer.summaryCrc, summary, "the summary");
  _readSummaryRecords(ByteSpan(summary).first(static_cast<std::size_t>(footerAt - footer.summaryStart)));
  complete = true;
  return true;
}

catch (const RecordingError& error)
{
  _forget();
  _noteProblem(fmt::format("the summary is passed over: {}", error.what()));
  return false;
}

void McapReader::_readSummaryRecords(ByteSpan summary)
{
  std::vector<Mcap::ChunkIndex> chunks;
  std::vector<Mcap::MetadataIndex> metadataIndexes;
  std::optional<Mcap::Statistics> statistics;
  forEachRecord(summary,
                [&](Opcode opcode, ByteSpan content, std::size_t offset)
                {
                  if (opcode == Opcode::ChunkIndex)
                    chunks.push_back(Mcap::takeFields<Mcap::ChunkIndex>(content));
                  else if (opcode == Opcode::AttachmentIndex)
                    attachmentIndex.push_back(Mcap::takeFields<Mcap::AttachmentIndex>(content));
                  else if (opcode == Opcode::MetadataIndex)
                    metadataIndexes.push_back(Mcap::takeFields<Mcap::MetadataIndex>(content));
                  else if (opcode == Opcode::Statistics)
                    statistics = Mcap::takeFields<Mcap::Statistics>(content);
                  else
                    _scanChunkRecord(opcode, content, 0, offset);
                });
  _readMessageIndexes(std::move(chunks));
  _readMetadata(std::move(metadataIndexes));

  // Indexes are voluntary, statistics too; without both nobody tells whether there are messages.
  if (!statistics)
    throw RecordingError("it has no statistics");
  if (index.size() != statistics->messageCount || attachmentIndex.size() != statistics->attachmentCount ||
      metadataRecords.size() != statistics->metadataCount)
    throw RecordingError(fmt::format("it counts {} messages, {} are indexed", statistics->messageCount, index.size()));
}

// Each record once: an index that names a large one again and again would take memory beyond the file's size.
void McapReader::_readMetadata(std::vector<Mcap::MetadataIndex> indexes)
{
  std::ranges::sort(indexes, {}, &Mcap::MetadataIndex::offset);
  std::uint64_t end = 0;
  for (const Mcap::MetadataIndex& entry : indexes)
  {
    const McapRecord record = file.record(entry.offset);
    if (entry.offset < end)
      throw RecordingError(fmt::format("the metadata at byte {} is indexed twice", entry.offset));
    metadataRecords.push_back(Mcap::takeFields<Mcap::Metadata>(file.content(record, Opcode::Metadata)));
    end = record.end();
  }
}

// Chunks may not overlap: an index that names one of them again and again would grow beyond the file.
void McapReader::_readMessageIndexes(std::vector<Mcap::ChunkIndex> chunks)
{
  std::ranges::sort(chunks, {}, &Mcap::ChunkIndex::chunkOffset);
  std::uint64_t end = std::size(Mcap::magic);
  for (const Mcap::ChunkIndex& chunk : chunks)
  {
    const McapRecord record = file.record(chunk.chunkOffset);
    if (chunk.chunkOffset < end || record.opcode != Opcode::Chunk ||
        chunk.chunkLength != record.length + Mcap::recordHeadSize)
      throw RecordingError(fmt::format("no chunk of {} bytes at byte {}", chunk.chunkLength, chunk.chunkOffset));
    _addMessageIndexes(chunk);
    end = record.end() + chunk.messageIndexLength;
  }
}

void McapReader::_addMessageIndexes(const Mcap::ChunkIndex& chunk)
{
  const Bytes indexes = file.read(chunk.chunkOffset + chunk.chunkLength, chunk.messageIndexLength);
  forEachRecord(indexes,
                [&](Opcode opcode, ByteSpan content, std::size_t)
                {
                  if (opcode != Opcode::MessageIndex)
                    throw RecordingError(
                        fmt::format("no message index behind the chunk at byte {}", chunk.chunkOffset));
                  const auto messages = Mcap::takeFields<Mcap::MessageIndex>(content);
                  for (const auto& [time, offset] : messages.entries)
                    index.push_back({time, chunk.chunkOffset, offset, messages.channelId});
                });
}

void McapReader::_scan()
{
  for (std::uint64_t offset = std::size(Mcap::magic); offset < file.size();)
  {
    try
    {
      const McapRecord record = file.record(offset);
      if (!_scanRecord(record, offset))
        return;
      offset = record.end();
    }
    catch (const RecordingError& error)
    {
      _noteProblem(error.what());
      return;
    }
  }
}

// False at the end of the data. A record that is whole but wrong inside is noted and passed over.
bool McapReader::_scanRecord(const McapRecord& record, std::uint64_t offset)
try
{
  switch (record.opcode)
  {
  case Opcode::DataEnd:
  case Opcode::Footer:
    complete = true;
    return false;
  case Opcode::Chunk:
    _scanChunk(record, offset);
    return true;
  case Opcode::Schema:
  case Opcode::Channel:
  case Opcode::Message:
    _scanChunkRecord(record.opcode, file.content(record, record.opcode), 0, offset);
    return true;
  case Opcode::Attachment:
    _addAttachment(record, offset);
    return true;
  case Opcode::Metadata:
    metadataRecords.push_back(Mcap::takeFields<Mcap::Metadata>(file.content(record, Opcode::Metadata)));
    return true;
  default:
    return true;
  }
}

catch (const RecordingError& error)
{
  _noteProblem(fmt::format("the record at byte {} is passed over: {}", offset, error.what()));
  return true;
}

void McapReader::_scanChunk(const McapRecord& record, std::uint64_t offset)
{
  const Bytes records = _readChunk(record);
  forEachRecord(records, [&](Opcode opcode, ByteSpan content, std::size_t at)
                { _scanChunkRecord(opcode, content, offset, at); });
}

void McapReader::_scanChunkRecord(Opcode opcode, ByteSpan content, std::uint64_t chunk, std::uint64_t offset)
{
  if (opcode == Opcode::Schema)
  {
    auto schema = Mcap::takeFields<Mcap::Schema>(content);
    schemasById.insert_or_assign(schema.id, std::move(schema));
  }
  else if (opcode == Opcode::Channel)
  {
    auto channel = Mcap::takeFields<Mcap::Channel>(content);
    channelsById.insert_or_assign(channel.id, std::move(channel));
  }
  else if (opcode == Opcode::Message)
  {
    const auto head = Mcap::takeFields<Mcap::MessageHead>(content);
    index.push_back({head.logTime, chunk, offset, head.channelId});
  }
}

void McapReader::_addAttachment(const McapRecord& record, std::uint64_t offset)
{
  const Bytes content = file.content(record, Opcode::Attachment);
  auto head = Mcap::takeFields<Mcap::AttachmentHead>(content);
  attachmentIndex.push_back({offset, record.length + Mcap::recordHeadSize, head.logTime, head.createTime, head.size,
                             std::move(head.name), std::move(head.mediaType)});
}

void McapReader::_forget()
{
  schemasById.clear();
  channelsById.clear();
  index.clear();
  attachmentIndex.clear();
  metadataRecords.clear();
}

void McapReader::_finish()
{
  const auto orphans =
      std::erase_if(index, [&](const McapEntry& entry) { return !channelsById.contains(entry.channel); });
  if (orphans > 0)
    _noteProblem(fmt::format("{} messages of channels that are not described", orphans));
  std::ranges::sort(index, {},
                    [](const McapEntry& entry)
                    { return std::tuple(entry.logTime, entry.chunk == 0 ? entry.offset : entry.chunk, entry.offset); });
}

void McapReader::_noteProblem(std::string text)
{
  if (problemLines.size() < maxProblems)
    problemLines.push_back(std::move(text));
  else if (problemLines.size() == maxProblems)
    problemLines.emplace_back("and more");
}

std::shared_ptr<const Bytes> McapReader::_chunk(std::uint64_t offset)
{
  const auto found = std::ranges::find(openChunks, offset, &OpenChunk::offset);
  if (found != openChunks.end())
  {
    std::rotate(openChunks.begin(), found, found + 1);
    return openChunks.front().records;
  }
  auto records = std::make_shared<const Bytes>(_readChunk(file.record(offset)));
  openChunks.push_front({offset, records});
  if (openChunks.size() > options.cachedChunks)
    openChunks.pop_back();
  return records;
}

Bytes McapReader::_readChunk(const McapRecord& record)
{
  const Bytes content = file.content(record, Opcode::Chunk);
  ByteReader from(content);
  const auto head = Mcap::takeFields<Mcap::ChunkHead>(from);
  if (head.size > options.maxBytes)
    throw RecordingError(fmt::format("a chunk of {} bytes, expected at most {}", head.size, options.maxBytes));
  Bytes records = decompress(head.compression, from.raw(head.storedSize), head.size);
  requireCrc(head.crc, records, "the chunk");
  return records;
}
}  // namespace ZR::Replay
