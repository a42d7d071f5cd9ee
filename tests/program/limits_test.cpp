#include "program/filtrixprivate.h"

#include "program/registrytest.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Each limit at its last allowed step and one beyond.
TEST_F(RegistryTest, ProgramsCannotAskForTooMuch)
{
  const auto nest = [&](std::size_t depth)
  {
    return bench.load("filter N" + std::to_string(depth) + " { " +
                      (depth == 1 ? std::string("Dilation") : "N" + std::to_string(depth - 1)) +
                      " n; n <= in; n => out; }");
  };
  for (std::size_t depth = 1; depth <= Limits::nesting; ++depth)
    ASSERT_TRUE(nest(depth)) << depth;
  EXPECT_FALSE(nest(Limits::nesting + 1));
  EXPECT_THAT(bench.complaints(),
              Contains(HasSubstr("Composite filters stand 65 deep in one another, expected at most 64.")));

  const auto chain = [&](std::size_t length)
  {
    std::string program = "filter Chain" + std::to_string(length) + " { ";
    std::string links;
    for (std::size_t i = 0; i < length; ++i)
    {
      program += "Dilation d" + std::to_string(i) + "; ";
      links += (i == 0 ? "d" : " -> d") + std::to_string(i);
    }
    return bench.load(program + links + "; }");
  };
  EXPECT_TRUE(chain(Limits::chainLength));
  EXPECT_FALSE(chain(Limits::chainLength + 1));
  EXPECT_THAT(bench.complaints(), Contains(HasSubstr("A chain of nodes is longer than 1000")));

  // Each uses the one before twice, so that the sixteenth would run through more than 2^16 nodes and their composites.
  std::size_t made = 0;
  const auto twice = [&](const std::string& inner, const std::string& ports)
  { return bench.load("filter D" + std::to_string(made) + " { " + inner + " a; " + inner + " b; " + ports + " }"); };
  ASSERT_TRUE(twice("Dilation", "a => x; b => y;"));
  do
    ++made;
  while (made < 40 && twice("D" + std::to_string(made - 1), "a:x => x; b:y => y;"));
  EXPECT_EQ(made, 15U);
  EXPECT_THAT(bench.complaints(), Contains(HasSubstr("The filter would run through more than 100000 nodes")));
}

// A reader runs what it reads on its own stack, with its locks held.
class ReadingTest : public RegistryTest
{
protected:
  // `count` processes of that name, each of which reads the one before it; the first reads `source`.
  bool chain(const std::string& name, const std::string& source, std::size_t count)
  {
    std::string program;
    for (std::size_t i = 0; i < count; ++i)
      program += fmt::format("process {0}{1}(Dilation) {{ in <= {2}; out => o; }}\n", name, i,
                             i == 0 ? source : fmt::format("{}{}:o", name, i - 1));
    return bench.load(program);
  }

  bool isDeep(std::size_t depth, const std::string& who, const std::string& sink)
  {
    const bool loaded = bench.load("process " + who + "(Dilation) { in <= " + sink + "; out => o; }");
    EXPECT_EQ(bench.log.texts("filtrix.private").front(),
              loaded
                  ? "new filtrix process: \"" + who + "\" priority: 3 frequency: 1 tolerance: 0"
                  : fmt::format("createProcess(\"{}\", \"Dilation\", inputs, outputs): processes read one another {} "
                                "deep, expected at most 64. [program:1:9: {}(Dilation)]",
                                who, depth, who));
    return loaded == (depth <= Limits::readingDepth);
  }
};

// The thread sanitizer follows 64 locks of a thread at once and no more; each reader holds five.
#ifdef __SANITIZE_THREAD__
constexpr std::size_t deepestRun = 12;
#else
constexpr std::size_t deepestRun = Limits::readingDepth;
#endif

TEST_F(ReadingTest, GoesThroughProcessesToALimit)
{
  std::uintptr_t lowest = 0;
  const auto addressOfFrame = [] { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); };
  registry.addFilter(std::make_shared<FunctionFilter>("Mark", std::vector<std::string>{"in"},
                                                      std::vector<std::string>{"out"},
                                                      [&](const DataList& inputs)
                                                      {
                                                        lowest = addressOfFrame();
                                                        return inputs;
                                                      }));
  ASSERT_TRUE(bench.load("source s { 7 } process mark(Mark) { in <= s; out => o; }"));
  ASSERT_TRUE(chain("p", "mark:o", Limits::readingDepth - 1));
  EXPECT_TRUE(isDeep(Limits::readingDepth + 1, "tooDeep", "p62:o"));
  EXPECT_FALSE(registry.isProcess("tooDeep"));
  EXPECT_EQ(read(fmt::format("p{}:o", deepestRun - 2)), "7");
  EXPECT_LT(addressOfFrame() - lowest, std::uintptr_t{1} << 20U) << "of the eight megabytes of a thread";

  // What is read by way of a source is read all the same, whatever becomes of the names.
  ASSERT_TRUE(registry.createSourceFromProcessSink("last", "p62:o"));
  ASSERT_TRUE(registry.renameProcess("p62", "renamed"));
  EXPECT_TRUE(isDeep(Limits::readingDepth + 1, "tooDeep", "last"));
  ASSERT_TRUE(registry.deleteProcess("renamed"));
  EXPECT_TRUE(isDeep(Limits::readingDepth + 1, "tooDeep", "last"));
  EXPECT_TRUE(isDeep(Limits::readingDepth, "deepest", "p61:o"));

  for (const std::string& name : registry.getProcesses())
    registry.deleteProcess(name);
  registry.deleteSource("last");
  EXPECT_TRUE(chain("p", "s", Limits::readingDepth)) << "what is gone is in nobody's way";
}

TEST_F(ReadingTest, GoesToTheSameLimitThroughAnAliasThatIsTurned)
{
  ASSERT_TRUE(bench.load("source s { 7 }"));
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(chain("below", "s", 32));
  ASSERT_TRUE(chain("above", "a", 33));
  ASSERT_TRUE(registry.createSourceFromProcessSink("far", "below31:o"));
  ASSERT_TRUE(registry.createSourceFromProcessSink("near", "below30:o"));
  bench.log.clear();
  EXPECT_FALSE(registry.retargetSourceAlias("a", "far"));
  EXPECT_THAT(bench.log.texts(), ElementsAre("Can't retarget alias \"a\" to  \"far\": processes would read one another "
                                             "65 deep, expected at most 64."));
  EXPECT_EQ(number(registry.getSourceData("a")), 7) << "it leads where it led";
  EXPECT_TRUE(isDeep(34, "short", "above32:o"));

  EXPECT_TRUE(registry.deleteProcess("short"));
  ASSERT_TRUE(registry.retargetSourceAlias("a", "near"));
  EXPECT_TRUE(isDeep(65, "long", "above32:o"));
  ASSERT_TRUE(registry.retargetSourceAlias("a", "s"));
  EXPECT_TRUE(isDeep(34, "long", "above32:o"));
}

TEST_F(RegistryTest, ARenameToANameOfTheSameHashIsWarnedOf)
{
  ASSERT_EQ(ProcessKey("badu").getHash(), ProcessKey("banx").getHash());
  ASSERT_TRUE(bench.load("process badu(Dilation) { in <= 1; } process p(Dilation) { in <= 1; }"));
  bench.log.clear();
  ASSERT_TRUE(registry.renameProcess("p", "q"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
  ASSERT_TRUE(registry.renameProcess("q", "banx"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre("3 filtrix.private: renameProcess(\"q\", \"banx\"): the name has the same hash as that of "
                          "\"badu\": the two share what runs and filters keep."));
  bench.log.clear();
  ASSERT_TRUE(registry.renameProcess("badu", "r"));
  EXPECT_THAT(bench.complaints(), IsEmpty()) << "the one hash is free again";
}

// Who loads without end is told before memory ends, and goes on once something is deleted.
TEST(Registry, HoldsNoMoreThanItsCapacity)
{
  const ku::log::Capture log(ku::log::Level::Error);
  FiltrixPrivate registry(1, {.filters = 3, .pieces = 8, .sources = 3, .processes = 2});
  registry.addFilter(makeIncrement("Dilation"));

  ASSERT_TRUE(registry.loadProgram("filter F { Dilation a; Dilation b; a -> b; a <= in; b => out; }"));
  EXPECT_FALSE(registry.loadProgram("filter G { Dilation a; Dilation b; Dilation c; a -> b; b -> c; Dilation d; }"));
  EXPECT_THAT(log.texts(),
              Contains(HasSubstr("All composite filters together would have 9 nodes and links, expected at most 8.")));
  ASSERT_TRUE(registry.loadProgram("filter G { }"));
  EXPECT_FALSE(registry.loadProgram("filter H { }"));
  EXPECT_THAT(log.texts(), Contains(HasSubstr("There are 3 filters, expected at most that many.")));
  EXPECT_FALSE(registry.addFilter(makeIncrement("I")));
  ASSERT_TRUE(registry.deleteFilter("G"));
  EXPECT_TRUE(registry.loadProgram("filter H { Dilation a; }"));

  ASSERT_TRUE(registry.loadProgram("source r { 1 } process p(F) { in <= r; out => o; }"));
  ASSERT_TRUE(registry.createSourceAlias("s", "r"));
  ASSERT_TRUE(registry.createSourceFromProcessSink("t", "p:o"));
  EXPECT_FALSE(registry.createSource("u"));
  EXPECT_FALSE(registry.createSourceAlias("u", "r"));
  EXPECT_FALSE(registry.createSourceFromProcessSink("u", "p:o"));
  EXPECT_EQ(log.texts().back(), "createSourceFromProcessSink(\"u\"): there are 3 sources, expected at most that many.");
  ASSERT_TRUE(registry.deleteSource("t"));
  EXPECT_TRUE(registry.createSource("u"));

  ASSERT_TRUE(registry.loadProgram("process q(F) { in <= r; out => o; }"));
  EXPECT_FALSE(registry.loadProgram("process r(F) { in <= r; out => o; }"));
  EXPECT_THAT(log.texts(), Contains(HasSubstr("there are 2 processes, expected at most that many.")));
  EXPECT_EQ(number(registry.getData("q:o")), 3) << "what is there goes on";
  ASSERT_TRUE(registry.deleteProcess("p"));
  EXPECT_TRUE(registry.loadProgram("process r(F) { in <= r; out => o; }"));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
