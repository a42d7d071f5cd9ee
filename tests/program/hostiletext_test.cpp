// Program text that nobody would write by hand: bytes of every kind, names that mean something to others, and sizes
// that a careless reader would choke on.

#include "filtrix/ku/clock.h"
#include "foundation/ku/temporaryfolder.h"
#include "program/programkit.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::string_literals;
namespace fs = std::filesystem;

struct BytesCase
{
  const char* name;
  std::string text;
  std::size_t sources;
};

class BytesTest : public testing::TestWithParam<BytesCase>
{
};

// A file is its bytes: neither zeros nor long lines nor strange line ends cut it short.
TEST_P(BytesTest, MeanTheSameInAFileAndInAString)
{
  const auto& [name, text, sources] = GetParam();
  const ku::TemporaryFolder folder;
  ProgramBench fromFile;
  ProgramBench fromText;
  const bool loaded = fromFile.registry.loadProgramFromFile(folder.write("a.fxs", text).string());
  EXPECT_EQ(fromText.registry.loadProgram(text), loaded);
  EXPECT_EQ(fromFile.registry.getSources(), fromText.registry.getSources());
  EXPECT_THAT(fromFile.registry.getSources(), SizeIs(sources));
  EXPECT_EQ(fromFile.complaints().size(), fromText.complaints().size());
}

INSTANTIATE_TEST_SUITE_P(
    Files, BytesTest,
    testing::Values(BytesCase{"ZeroInAString", "source a { \"x\0y\" } source b { }"s, 2},
                    BytesCase{"ZeroInAName", "source a\0b { } source c { }"s, 2},
                    BytesCase{"ZeroBetween", "source a { } \0 source b { } source c { }"s, 2},
                    BytesCase{"InvalidUtf8", "source \xff\xfe { \"\xc0\x80\" } source b { }", 2},
                    BytesCase{"OldLineEnds", "# one\rsource a { 1 }\r# two\rsource b { 2 }\r", 2},
                    BytesCase{"NoLineEnd", "source a { 1 }\n# the last", 1},
                    BytesCase{"ALineOfFourMegabytes",
                              "source a { \"" + std::string(std::size_t{4} << 20U, 'x') + "\" } source b { }", 2},
                    BytesCase{"ALongComment", "#" + std::string(100'000, '{') + "\nsource a { }", 1}),
    [](const auto& test) { return std::string(test.param.name); });

class NameTest : public testing::TestWithParam<const char*>
{
};

// Names come from anywhere and go everywhere: into lines of the log, drawings, messages and other programs.
TEST_P(NameTest, IsNothingButData)
{
  const std::string name = GetParam();
  ProgramBench bench;
  FiltrixPrivate& registry = bench.registry;
  ASSERT_TRUE(registry.createSource(name));
  EXPECT_FALSE(registry.createSource(name));
  EXPECT_EQ(bench.log.texts().back(), "createSource(\"" + name + "\"): source already exists.");
  EXPECT_FALSE(registry.deleteProcess(name));
  EXPECT_EQ(bench.log.texts().back(), "Can't delete process \"" + name + "\": process unknown.");
  EXPECT_FALSE(registry.resetProcess(name));
  EXPECT_EQ(bench.log.texts().back(), "Process \"" + name + "\" does not exist.");
  EXPECT_TRUE(registry.setData(name, makeData(5)));
  EXPECT_EQ(number(registry.getSourceData(name)), 5);
  EXPECT_TRUE(registry.deleteSource(name));

  ASSERT_TRUE(registry.addFilter(makeIncrement(name)));
  const std::string drawn = registry.getDotGraph(name, -1);
  EXPECT_THAT(drawn, HasSubstr("digraph"));
  // Within the quotes of a label, a quote of the name and a line of it are escaped.
  const std::string plain = "\"" + name + "\"";
  EXPECT_EQ(drawn.find(plain) == std::string::npos, name.find_first_of("\"\n\\") != std::string::npos) << drawn;
}

INSTANTIATE_TEST_SUITE_P(Names, NameTest,
                         testing::Values("%s%n%x", "{}", "{0}{1:>1000000}", "a\"b", "a\nb", "\\", "a;b -> c", "\xff"));

struct RefusedNameCase
{
  const char* name;
  std::string text;
};

class RefusedNameTest : public testing::TestWithParam<RefusedNameCase>
{
};

TEST_P(RefusedNameTest, MakesNothing)
{
  ProgramBench bench;
  const auto filters = bench.registry.getFilters();
  EXPECT_FALSE(bench.load(GetParam().text));
  EXPECT_THAT(bench.complaints(), testing::Not(IsEmpty()));
  for (const std::string& line : bench.complaints())
    EXPECT_LT(line.size(), 20'000U) << "a line of the log is for people";
  EXPECT_EQ(bench.registry.getFilters(), filters);
  EXPECT_THAT(bench.registry.getSources(), IsEmpty());
  EXPECT_THAT(bench.registry.getProcesses(), IsEmpty());
}

const std::string huge(std::size_t{1} << 20U, 'n');

INSTANTIATE_TEST_SUITE_P(Names, RefusedNameTest,
                         testing::Values(RefusedNameCase{"HugeSource", "source " + huge + " { }"},
                                         RefusedNameCase{"HugeFilter", "filter " + huge + " { }"},
                                         RefusedNameCase{"HugeProcess", "process " + huge + "(Dilation) { }"},
                                         RefusedNameCase{"HugeType", "filter F { " + huge + " a; }"},
                                         RefusedNameCase{"HugeLibraryFilter", "process p(" + huge + ") { }"},
                                         RefusedNameCase{"HugeBinding", "process p(Dilation) { in <= " + huge + "; }"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(HostileText, TellsOfAnEmptyValueThatCountsAsZero)
{
  ProgramBench bench;
  ASSERT_TRUE(bench.load("process p(Threshold) { in <= ; ceil <= 1; out => o; }"));
  EXPECT_THAT(bench.complaints(), Contains(HasSubstr("the input \"in\" has an empty value, which counts as 0.0")));
  EXPECT_EQ(bench.registry.getData("p:o")->toFloat(), 0.0F);
}

TEST(HostileText, ReadsNoDevices)
{
  const ku::TemporaryFolder folder;
  ProgramBench bench;
  for (const char* const device : {"/dev/zero", "/dev/full", "/dev/tty"})
  {
    const fs::path link = folder.path() / "device.fxs";
    fs::create_symlink(device, link);
    bench.log.clear();
    EXPECT_FALSE(bench.registry.loadProgramFromFile(link.string())) << device;
    EXPECT_THAT(bench.complaints(), ElementsAre(HasSubstr("device.fxs"))) << device;
    fs::remove(link);
  }
}

// Each filter holds the one before twice. What can be loaded can also be drawn.
TEST(HostileText, DrawsTheLargestFilterThatItTakes)
{
  ProgramBench bench;
  std::string last = "Dilation";
  for (int i = 0; i < 40; ++i)
  {
    const std::string name = "D" + std::to_string(i);
    if (!bench.load("filter " + name + " { " + last + " a; " + last + " b; }"))
      break;
    last = name;
  }
  ASSERT_EQ(last, "D14");
  const std::string drawn = bench.registry.getDotGraph(last, -1);
  EXPECT_LT(drawn.size(), std::size_t{100} << 20U);
  EXPECT_THAT(drawn, HasSubstr("digraph"));
}

// The time that a text of this size takes, the shortest of some.
std::chrono::nanoseconds timeFor(const std::string& text)
{
  ProgramBench bench;
  auto shortest = std::chrono::nanoseconds::max();
  for (int i = 0; i < 3; ++i)
  {
    const auto start = std::chrono::steady_clock::now();
    static_cast<void>(bench.registry.loadProgram(text));
    shortest = std::min<std::chrono::nanoseconds>(shortest, std::chrono::steady_clock::now() - start);
  }
  return shortest;
}

struct SizeCase
{
  const char* name;
  std::string (*make)(std::size_t size);
};

class SizeTest : public testing::TestWithParam<SizeCase>
{
};

std::string repeat(std::string_view piece, std::size_t size)
{
  std::string text;
  while (text.size() < size)
    text += piece;
  return text;
}

// Sixteen times the text would take 256 times as long, were the time to grow with the square.
TEST_P(SizeTest, CostsTimeInProportion)
{
  constexpr std::size_t small = std::size_t{1} << 16U;
  const auto few = std::max<std::chrono::nanoseconds>(timeFor(GetParam().make(small)), std::chrono::milliseconds(1));
  EXPECT_LT(timeFor(GetParam().make(16 * small)), 100 * few);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SizeTest,
    testing::Values(SizeCase{"RandomBytes",
                             [](std::size_t size)
                             {
                               std::mt19937 random(3);
                               std::string text(size, ' ');
                               for (char& byte : text)
                                 byte = static_cast<char>(random() % 256);
                               return text;
                             }},
                    SizeCase{"RandomMarks",
                             [](std::size_t size)
                             {
                               std::mt19937 random(4);
                               std::string text(size, ' ');
                               for (char& byte : text)
                                 byte = "{}\"#;\n a->:<=()"[random() % 15];
                               return text;
                             }},
                    SizeCase{"EmptyStatements",
                             [](std::size_t size) { return "process p(Dilation) { " + repeat("; ", size) + " }"; }},
                    SizeCase{"EmptyBlocks", [](std::size_t size) { return repeat("source { } ", size); }},
                    SizeCase{"Comments", [](std::size_t size) { return repeat("#\n", size); }},
                    SizeCase{"OpenBlocks", [](std::size_t size) { return repeat("{", size); }},
                    SizeCase{"OpenStrings", [](std::size_t size) { return repeat("\"\\", size); }},
                    SizeCase{"ManyErrors", [](std::size_t size)
                             { return "process p(Dilation) { " + repeat("a = b; ", size) + " }"; }},
                    SizeCase{"ManyNodes",
                             [](std::size_t size)
                             {
                               std::string text = "filter F { ";
                               for (std::size_t i = 0; text.size() < size / 4; ++i)
                                 text += "Dilation d" + std::to_string(i) + "; ";
                               return text + "} delete filter { F }";
                             }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(HostileText, AMegabyteOfRandomBytesTakesNoSecond)
{
  const ku::log::Capture log(ku::log::Level::Error);
  std::mt19937 random(9);
  std::string text(std::size_t{1} << 20U, ' ');
  for (char& byte : text)
    byte = static_cast<char>(random() % 256);
  EXPECT_LT(timeFor(text), std::chrono::seconds(1));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
