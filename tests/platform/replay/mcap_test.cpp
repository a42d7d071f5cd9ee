#include "platform/replay/mcapreader.h"
#include "platform/replay/mcapwriter.h"

#include "platform/replay/chunkcodec.h"
#include "platform/replay/crc32.h"
#include "platform/replay/mcapfields.h"
#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <boost/crc.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace ZR::Replay
{
namespace
{
using testing::HasSubstr;

constexpr std::uint64_t startTime = 1'700'000'000'000'000'000;
constexpr std::uint64_t step = 50'000'000;
constexpr std::uint32_t messageCount = 40;

Bytes payload(std::uint32_t number)
{
  Bytes data(30 + number % 7);
  std::mt19937 random(number);
  for (auto& byte : data)
    byte = static_cast<std::uint8_t>(random());
  return data;
}

// Two channels in turn, a file and metadata, in many small chunks.
void writeSample(const std::filesystem::path& path, McapWriterOptions options)
{
  McapWriter writer(path, options);
  const auto schema = writer.addSchema("numbers", "jsonschema", bytesOf("{}"));
  const std::uint16_t channels[] = {writer.addChannel("/even", schema, "json", {{"unit", "1"}}),
                                    writer.addChannel("/odd", schema, "json", {})};
  writer.attach("walk.fxs", "text/plain", startTime, bytesOf("in >> out"));
  for (std::uint32_t i = 0; i < messageCount; ++i)
    writer.write(channels[i % 2], startTime + i * step, startTime, payload(i));
  writer.addMetadata("robot", {{"name", "anna"}});
}

McapWriterOptions smallChunks(bool compress = true)
{
  return {200, std::chrono::seconds(1), compress};
}

// The messages that a damaged copy still gives must be those that were written.
std::size_t countGoodMessages(const std::filesystem::path& path)
{
  McapReader reader(path);
  std::size_t good = 0;
  for (const McapEntry& entry : reader.entries())
  {
    try
    {
      const McapMessage message = reader.read(entry);
      good += message.data == payload(static_cast<std::uint32_t>((message.logTime - startTime) / step)) ? 1 : 0;
    }
    catch (const RecordingError&)
    {
    }
  }
  return good;
}

// Where the file's records end.
std::vector<std::uint64_t> boundaries(const std::filesystem::path& path)
{
  McapFile file(path, 1U << 20U);
  std::vector<std::uint64_t> offsets;
  for (std::uint64_t at = std::size(Mcap::magic); at + std::size(Mcap::magic) < file.size(); at = file.record(at).end())
    offsets.push_back(at);
  offsets.push_back(file.size() - std::size(Mcap::magic));
  return offsets;
}

class McapRoundTrip : public testing::TestWithParam<bool>
{
};

TEST_P(McapRoundTrip, GivesBackWhatWasWritten)
{
  const TempFolder folder;
  writeSample(folder / "a.mcap", smallChunks(GetParam()));
  McapReader reader(folder / "a.mcap");
  EXPECT_TRUE(reader.isComplete());
  EXPECT_THAT(reader.problems(), testing::IsEmpty());
  ASSERT_EQ(reader.entries().size(), messageCount);
  for (std::uint32_t i = 0; i < messageCount; ++i)
  {
    const McapMessage message = reader.read(reader.entries()[i]);
    EXPECT_EQ(message.logTime, startTime + i * step);
    EXPECT_EQ(message.sequence, i / 2);
    EXPECT_EQ(message.data, payload(i));
    EXPECT_EQ(reader.channels().at(message.channel).topic, i % 2 == 0 ? "/even" : "/odd");
  }
  ASSERT_EQ(reader.attachments().size(), 1U);
  EXPECT_EQ(reader.attachment(reader.attachments()[0]),
            Bytes(bytesOf("in >> out").begin(), bytesOf("in >> out").end()));
  ASSERT_EQ(reader.metadata().size(), 1U);
  EXPECT_EQ(reader.metadata()[0].values.at("name"), "anna");
  EXPECT_EQ(reader.schemaOf(reader.channels().at(1))->name, "numbers");
}

INSTANTIATE_TEST_SUITE_P(Mcap, McapRoundTrip, testing::Bool(),
                         [](const auto& row) { return row.param ? "Compressed" : "Plain"; });

TEST(Mcap, SeeksByTime)
{
  const TempFolder folder;
  writeSample(folder / "a.mcap", smallChunks());
  const McapReader reader(folder / "a.mcap");
  const auto some = reader.entries(startTime + 5 * step - 1, startTime + 8 * step);
  ASSERT_EQ(some.size(), 3U);
  EXPECT_EQ(some.front().logTime, startTime + 5 * step);
  EXPECT_TRUE(reader.entries(startTime + 100 * step, startTime).empty());
}

// A crash leaves a file that ends anywhere.
TEST(Mcap, ReadsAllWholeRecordsOfAFileThatWasCutShort)
{
  const TempFolder folder;
  writeSample(folder / "a.mcap", smallChunks());
  const auto whole = readBytes(folder / "a.mcap");
  const auto ends = boundaries(folder / "a.mcap");
  std::size_t before = 0;
  for (const std::uint64_t end : ends)
  {
    for (const std::uint64_t size : {end, end + 5})
    {
      writeBytes(folder / "b.mcap", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
      const std::size_t good = countGoodMessages(folder / "b.mcap");
      EXPECT_GE(good, before) << "cut at " << size;
      before = good;
    }
  }
  EXPECT_EQ(before, messageCount);
}

TEST(Mcap, SurvivesFlippedBytes)
{
  const TempFolder folder;
  writeSample(folder / "a.mcap", smallChunks());
  const auto whole = readBytes(folder / "a.mcap");
  std::mt19937 random(7);
  for (int round = 0; round < 600; ++round)
  {
    auto bytes = whole;
    for (int flips = 1 + round % 3; flips > 0; --flips)
      bytes[8 + random() % (bytes.size() - 8)] = static_cast<char>(random());
    writeBytes(folder / "b.mcap", bytes);
    EXPECT_LE(countGoodMessages(folder / "b.mcap"), messageCount) << "round " << round;
  }
}

struct Hostile
{
  const char* name;
  void (*build)(ByteWriter& file);
  const char* problem;
};

class McapHostile : public testing::TestWithParam<Hostile>
{
};

TEST_P(McapHostile, IsRefusedBeforeMemoryIsTaken)
{
  const TempFolder folder;
  ByteWriter file;
  file.raw(Mcap::magic);
  GetParam().build(file);
  writeBytes(folder / "a.mcap", {file.bytes.begin(), file.bytes.end()});
  const McapReader reader(folder / "a.mcap");
  EXPECT_TRUE(reader.entries().empty());
  ASSERT_FALSE(reader.problems().empty());
  EXPECT_THAT(reader.problems().back(), HasSubstr(GetParam().problem));
}

INSTANTIATE_TEST_SUITE_P(
    Mcap, McapHostile,
    testing::Values(
        Hostile{"RecordLargerThanTheFile",
                [](ByteWriter& file)
                {
                  file.number(std::uint8_t{6});
                  file.number(~std::uint64_t{0} - 8);
                },
                "a record of 18446744073709551607 bytes, 0 are left"},
        Hostile{
            "ChunkOfManyGigabytes",
            [](ByteWriter& file)
            {
              const Bytes packed = compressZstd(Bytes(1000));
              Mcap::putRecord(file, Mcap::ChunkHead{0, 1, std::uint64_t{1} << 40U, 0, "zstd", packed.size()}, packed);
            },
            "a chunk of 1099511627776 bytes, expected at most 268435456"},
        Hostile{"ChunkThatIsSmallerThanItsContent",
                [](ByteWriter& file)
                {
                  const Bytes packed = compressZstd(Bytes(1000));
                  Mcap::putRecord(file, Mcap::ChunkHead{0, 1, 10, 0, "zstd", packed.size()}, packed);
                },
                "expected a chunk of 10 bytes, came 1000"},
        Hostile{"StoredSizeBeyondTheRecord",
                [](ByteWriter& file) {
                  Mcap::putRecord(file, Mcap::ChunkHead{0, 1, 10, 0, "", ~std::uint64_t{0}}, Bytes(10));
                },
                "expected 18446744073709551615 bytes"},
        Hostile{"UnknownCompression",
                [](ByteWriter& file) {
                  Mcap::putRecord(file, Mcap::ChunkHead{0, 1, 10, 0, "lz5", 10}, Bytes(10));
                },
                "unknown compression \"lz5\""},
        Hostile{"TextLargerThanTheRecord",
                [](ByteWriter& file)
                {
                  file.number(std::uint8_t{3});
                  file.number(std::uint64_t{6});
                  file.number(std::uint16_t{1});
                  file.number(~std::uint32_t{0});
                },
                "expected 4294967295 bytes"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Mcap, RefusesWhatIsNoRecording)
{
  const TempFolder folder;
  writeText(folder / "a.txt", "a text");
  EXPECT_THAT(errorOf([&] { McapReader(folder / "a.txt"); }),
              HasSubstr("expected a recording, which begins with the bytes 89 \"MCAP0\" 0D 0A, came 6 other bytes"));
  EXPECT_THAT(errorOf([&] { McapReader(folder / "none"); }), HasSubstr("cannot be opened as a file"));
  EXPECT_THAT(errorOf([&] { McapReader(folder.path()); }), HasSubstr("cannot be opened as a file"));
}

TEST(Mcap, TellsWhatCannotBeWritten)
{
  EXPECT_THAT(errorOf([] { McapWriter("/dev/full/no.mcap"); }), HasSubstr("cannot be written at byte 0"));
  const TempFolder folder;
  McapWriter writer(folder / "a.mcap");
  EXPECT_EQ(errorOf([&] { writer.write(1, 0, 0, {}); }), "no channel 1, expected 1 to 0");
  writer.close();
  EXPECT_THAT(errorOf([&] { writer.flush(); }), HasSubstr("already closed"));
}

TEST(Crc32, IsTheUsualOneInPiecesToo)
{
  const Bytes bytes = payload(5);
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
  {
    boost::crc_32_type expected;
    expected.process_bytes(bytes.data(), bytes.size());
    Crc32 crc;
    crc.add(ByteSpan(bytes).first(cut));
    crc.add(ByteSpan(bytes).subspan(cut));
    EXPECT_EQ(crc.value(), expected.checksum()) << "cut at " << cut;
  }
}
}  // namespace
}  // namespace ZR::Replay
