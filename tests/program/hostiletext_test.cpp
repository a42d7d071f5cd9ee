// Program text that nobody would write by hand: bytes of every kind, names that mean something to others, and sizes
// that a careless reader would choke on.

#include "filtrix/ku/clock.h"
#include "foundation/ku/temporaryfolder.h"
#include "program/programkit.h"

#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <random>
#include <tuple>

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

// A program with a name in it, by the texts before and behind the name.
struct RefusedNameCase
{
  const char* name;
  std::string before;
  std::string behind;
  bool isNew = true;  // else it is that of something that would have to be there
};

class RefusedNameTest : public testing::TestWithParam<RefusedNameCase>
{
protected:
  // What a program leaves that is refused for a name of this size.
  void refuse(std::size_t size)
  {
    ProgramBench bench;
    const auto filters = bench.registry.getFilters();
    EXPECT_FALSE(bench.load(GetParam().before + std::string(size, 'n') + GetParam().behind));
    ASSERT_THAT(bench.complaints(), testing::Not(IsEmpty()));
    if (GetParam().isNew)
    {
      EXPECT_THAT(bench.complaints().front(), HasSubstr(fmt::format("name has {} bytes, expected at most 256.", size)));
    }
    for (const std::string& line : bench.complaints())
      EXPECT_LT(line.size(), 20'000U) << "a line of the log is for people";
    EXPECT_EQ(bench.registry.getFilters(), filters);
    EXPECT_THAT(bench.registry.getSources(), IsEmpty());
    EXPECT_THAT(bench.registry.getProcesses(), IsEmpty());
  }
};

TEST_P(RefusedNameTest, MakesNothing)
{
  refuse(std::size_t{1} << 20U);
  if (!GetParam().isNew)
    return;
  refuse(Limits::nameBytes + 1);
  ProgramBench bench;
  EXPECT_TRUE(bench.load(GetParam().before + std::string(Limits::nameBytes, 'n') + GetParam().behind));
  EXPECT_THAT(bench.complaints(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Names, RefusedNameTest,
    testing::Values(RefusedNameCase{"Source", "source ", " { }"}, RefusedNameCase{"Filter", "filter ", " { }"},
                    RefusedNameCase{"Node", "filter F { Dilation ", "; }"},
                    RefusedNameCase{"ExportedInput", "filter F { Dilation d; d <= ", "; }"},
                    RefusedNameCase{"ExportedInputWithDefault", "filter F { Dilation d; d:in(1) <= ", "; }"},
                    RefusedNameCase{"ExportedOutput", "filter F { Dilation d; d => ", "; }"},
                    RefusedNameCase{"Process", "process ", "(Dilation) { }"},
                    RefusedNameCase{"LocalSource", "process p(Dilation) { source ", "; }"},
                    RefusedNameCase{"Pulse", "process p(Dilation) { pulse ", "; }"},
                    RefusedNameCase{"PulseWithDefault", "process p(Dilation) { pulse ", "(1); }"},
                    RefusedNameCase{"Sink", "process p(Dilation) { out => ", "; }"},
                    RefusedNameCase{"Aggregation", "process p(Dilation) { out => o; ", " ~> self:o; }"},
                    RefusedNameCase{"Type", "filter F { ", " a; }", false},
                    RefusedNameCase{"LibraryFilter", "process p(", ") { }", false},
                    RefusedNameCase{"Binding", "process p(Dilation) { in <= ", "; }", false}),
    [](const auto& test) { return std::string(test.param.name); });

struct CalledNameCase
{
  const char* name;
  bool (*call)(FiltrixPrivate& registry, const std::string& name);
};

class CalledNameTest : public testing::TestWithParam<CalledNameCase>
{
};

// Callers have the same limit as programs.
TEST_P(CalledNameTest, IsRefusedBeyondTheLimit)
{
  ProgramBench bench;
  FiltrixPrivate& registry = bench.registry;
  ASSERT_TRUE(bench.load("source s { 1 } process p(Dilation) { in <= s; out => o; }"));
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  const auto all = [&] { return std::tuple(registry.getFilters(), registry.getSources(), registry.getProcesses()); };
  const auto before = all();
  for (const std::size_t size : {Limits::nameBytes + 1, std::size_t{1} << 20U})
  {
    bench.log.clear();
    EXPECT_FALSE(GetParam().call(registry, std::string(size, 'n')));
    EXPECT_THAT(bench.complaints(),
                ElementsAre(HasSubstr(fmt::format("name has {} bytes, expected at most 256", size))));
    EXPECT_LT(bench.complaints().front().size(), 1'000U);
    EXPECT_EQ(all(), before);
  }
  EXPECT_TRUE(GetParam().call(registry, std::string(Limits::nameBytes, 'n')));
  EXPECT_NE(all(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, CalledNameTest,
    testing::Values(CalledNameCase{"AddFilter", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.addFilter(makeIncrement(name)); }},
                    CalledNameCase{"CreateSource", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.createSource(name); }},
                    CalledNameCase{"CreateSourceFromProcessSink", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.createSourceFromProcessSink(name, "p:o"); }},
                    CalledNameCase{"CreateSourceAlias", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.createSourceAlias(name, "s"); }},
                    CalledNameCase{"RenameSourceAlias", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.renameSourceAlias("a", name); }},
                    CalledNameCase{"RenameProcess", [](FiltrixPrivate& registry, const std::string& name)
                                   { return registry.renameProcess("p", name); }}),
    [](const auto& test) { return std::string(test.param.name); });

struct EmptyValueCase
{
  const char* name;
  const char* program;
  const char* message;
};

class EmptyValueTest : public testing::TestWithParam<EmptyValueCase>
{
};

TEST_P(EmptyValueTest, CountsAsZeroAndIsToldOf)
{
  ProgramBench bench;
  ASSERT_TRUE(bench.load(GetParam().program));
  EXPECT_THAT(bench.complaints(), ElementsAre(HasSubstr(GetParam().message)));
  const DataPtr value = bench.registry.getData("p:o");
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(Type::toText(*value), "0f");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, EmptyValueTest,
    testing::Values(
        EmptyValueCase{"Input", "process p(Threshold) { in <= ; ceil <= 1; out => o; }",
                       "3 filtrix.private: createProcess(\"p\"): the input \"in\" has an empty value, which "
                       "counts as 0.0. [program:1:24: in <=]"},
        EmptyValueCase{"Default", "filter F { Dilation d; d:in() <= x; d => y; }\nprocess p(F) { y => o; }",
                       "3 filtrix.private: createFilter(\"F\"): the input \"d:in\" has an empty default, which "
                       "counts as 0.0. [program:1:24: d:in() <= x]"},
        EmptyValueCase{"BlankDefault", "filter F { Dilation d; d:in( ) <= x; d => y; }\nprocess p(F) { y => o; }",
                       "the input \"d:in\" has an empty default, which counts as 0.0."},
        EmptyValueCase{"Pulse", "process p(Dilation) { pulse a(); in <= a; out => o; }",
                       "3 filtrix.private: createProcess(\"p\"): the pulse \"a\" has an empty default, which "
                       "counts as 0.0. [program:1:23: pulse a()]"}),
    [](const auto& test) { return std::string(test.param.name); });

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

// The time of this thread's processor: what else the machine does is not counted.
std::chrono::nanoseconds processorTime()
{
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// The time that a text of this size takes, the shortest of some.
std::chrono::nanoseconds timeFor(const std::string& text)
{
  ProgramBench bench;
  auto shortest = std::chrono::nanoseconds::max();
  for (int i = 0; i < 3; ++i)
  {
    const auto start = processorTime();
    static_cast<void>(bench.registry.loadProgram(text));
    shortest = std::min(shortest, processorTime() - start);
    bench.log.clear();
  }
  return shortest;
}

std::string randomBytes(std::size_t size, std::uint32_t seed)
{
  std::mt19937 random(seed);
  std::string text(size, ' ');
  for (char& byte : text)
    byte = static_cast<char>(random() % 256);
  return text;
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
    testing::Values(SizeCase{"RandomBytes", [](std::size_t size) { return randomBytes(size, 3); }},
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
  EXPECT_LT(timeFor(randomBytes(std::size_t{1} << 20U, 9)), std::chrono::seconds(1));
}

// The largest texts against a tenth of each: ten times the time is in proportion, a hundred times would be the square.
TEST(HostileText, TheLargestTextsCostTimeInProportion)
{
  const auto statements = [](std::size_t count)
  { return "process p(Dilation) { " + repeat("; ", 2 * count) + " } delete process { p }"; };
  const std::pair<std::string, std::string> texts[] = {
      {randomBytes(1'000'000, 5), randomBytes(10'000'000, 5)},
      {statements(100'000), statements(1'000'000)},
  };
  for (const auto& [small, large] : texts)
    EXPECT_LT(timeFor(large), 20 * timeFor(small)) << large.size() << " bytes";
}
}  // namespace
}  // namespace ZR::Filtrix::Test
