#include "program/filtrixprivate.h"

#include "filtrix/ku/clock.h"
#include "program/programkit.h"
#include "support/eventually.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A filter whose ports have a type; a program cannot link a `Count` to a `Text`.
std::shared_ptr<FunctionFilter> makeTyped(const std::string& name, TypeTag type)
{
  auto filter = std::make_shared<FunctionFilter>(name, std::vector<std::string>{"?in"}, std::vector<std::string>{"out"},
                                                 [](const DataList& inputs) { return inputs; });
  filter->findInput("in")->addType(type);
  filter->findOutput("out")->addType(type);
  return filter;
}

// A program that fails, and the line that says why.
struct FaultCase
{
  const char* name;
  const char* program;
  const char* message;
};

class FaultTest : public testing::TestWithParam<FaultCase>
{
};

TEST_P(FaultTest, IsToldInTheStatedWordsAndLeavesNothingHalfMade)
{
  ProgramBench bench;
  bench.registry.addFilter(makeTyped("Count", TypeTag::Integer));
  bench.registry.addFilter(makeTyped("Text", TypeTag::String));
  ASSERT_TRUE(bench.load("source s { 1 } process p(Dilation) { in <= s; out => o; }"));
  const auto filters = bench.registry.getFilters();
  const auto processes = bench.registry.getProcesses();
  EXPECT_FALSE(bench.load(GetParam().program));
  EXPECT_THAT(bench.log.texts("filtrix.private"), Contains(HasSubstr(GetParam().message)));
  EXPECT_EQ(bench.registry.getFilters(), filters);
  EXPECT_EQ(bench.registry.getProcesses(), processes);
}

INSTANTIATE_TEST_SUITE_P(
    Filters, FaultTest,
    testing::Values(
        FaultCase{"Taken", "filter Dilation { }",
                  "createFilter(\"Dilation\", filters, links): A filter with the name \"Dilation\" already exists."},
        FaultCase{"UnknownType", "filter F { Nothing n; }",
                  "createFilter(\"F\", filters, links): The filter \"n\" is declared as \"Nothing\" but \"Nothing\" "
                  "has never "
                  "been declared."},
        FaultCase{"UnknownNode", "filter F { Dilation d; d -> e; }", "The filter \"e\" is not declared."},
        FaultCase{"UnknownPort", "filter F { Dilation d; Erosion e; d:no -> e:in; }",
                  "The port \"no\" is not declared in \"d"},
        FaultCase{"NamelessPortOfSeveral", "filter F { Dilation d; Compare c; d -> c; }",
                  "The port \"\" is not declared in \"c"},
        FaultCase{"Types", "filter F { Count c; Text t; c -> t; }", "The port \"c:\" has no common type with \"t:"},
        FaultCase{"Input", "filter F { Dilation d; d:no <= x; }", "Invalid exported input: \"d:no"},
        FaultCase{"InputWithDefault", "filter F { Dilation d; d:no(1) <= x; }", "Invalid exported input: \"d:no<=x\"."},
        FaultCase{"HexadecimalDefault", "filter F { Dilation d; d:in(0x10) <= x; }",
                  "Invalid default value: \"0x10\"."},
        FaultCase{"UnreadableDefault", "filter F { Dilation d; d:in(1)(2) <= x; }",
                  "Invalid default value declaration \"d:in(1)(2)\"."},
        FaultCase{"Output", "filter F { Dilation d; d:no => x; }", "Invalid exported output: \""},
        FaultCase{"Ring", "filter F { Dilation a; Dilation b; Compare c; a -> b; b -> c:left; c -> a; }",
                  "createFilter(\"F\", filters, links): The links close a ring: a -> b -> c -> a. [program:1:8: F]"},
        FaultCase{"RingOfOne", "filter F { Compare a; Compare b; b -> a:left; a -> a:right; }",
                  "The links close a ring: a -> a."}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Processes, FaultTest,
    testing::Values(
        FaultCase{
            "UnknownFilter", "process q(Nothing) { }",
            "createProcess(\"q\", \"Nothing\", inputs, outputs): the filter \"Nothing\" is not present in the filter "
            "library."},
        FaultCase{"TakenProcess", "process p(Dilation) { }", "a process with the name \"p\" already exists."},
        FaultCase{"UnknownInput", "process q(Dilation) { no <= s; }", "impossible to find the specified input \"no"},
        FaultCase{"UnknownSource", "process q(Dilation) { in <= nothing; }",
                  "createProcess(\"q\", \"Dilation\", ...): impossible to find the specified source \"nothing"},
        FaultCase{"Hexadecimal", "process q(Dilation) { in <= 0x10; }",
                  "impossible to find the specified source \"0x10"},
        FaultCase{"UnknownLocal", "process q(Dilation) { in <= this:no; }",
                  "impossible to find the local source \"no\" in the current process."},
        FaultCase{"LocalWithColon", "process q(Dilation) { source a; in <= this:a:b; }",
                  "impossible to find the local source \"a:b\" in the current process."},
        FaultCase{"UnknownProcess", "process q(Dilation) { in <= r:o; }",
                  "createProcess(\"q\", \"Dilation\", ...): impossible to find the specified process \"r"},
        FaultCase{"UnknownSink", "process q(Dilation) { in <= p:no; }",
                  "impossible to find the specified sink \"no\" in the process \"p"},
        FaultCase{"Keyword", "process q(Dilation) { my source a; }", "Can't create process: invalid keyword \"my"},
        FaultCase{"PulseDefault", "process q(Dilation) { pulse a(x); }", "Invalid default value: "},
        FaultCase{"AggregateWord", "process q(Dilation) { source a; a ~> me; }", "\"self\" expected instead of \"me"},
        FaultCase{"AggregateSource", "process q(Dilation) { a ~> self; }",
                  "The source \"a\" is not declared in the process."},
        FaultCase{"AggregateProcess", "process q(Dilation) { a ~> r:o; }", "The process \"r\" is not declared."},
        FaultCase{"AggregateSink", "process q(Dilation) { a ~> p:no; }", "The sink \"no\" is not declared in p"},
        FaultCase{"Source", "source s { 2 }", "createSource(\"s\"): source already exists."}),
    [](const auto& test) { return std::string(test.param.name); });

// A program that is loaded, and the one line that warns of it.
class WarningTest : public testing::TestWithParam<FaultCase>
{
};

TEST_P(WarningTest, IsToldOnceAndTheLoadGoesOn)
{
  ProgramBench bench;
  EXPECT_TRUE(bench.load(GetParam().program));
  EXPECT_THAT(bench.complaints(), ElementsAre(HasSubstr(GetParam().message)));
}

INSTANTIATE_TEST_SUITE_P(
    Programs, WarningTest,
    testing::Values(
        FaultCase{"TwoLinks",
                  "filter F { Dilation a; Split b; Compare c;\na -> c:left; b:low -> c:left; b:low -> c:right; }",
                  "3 filtrix.private: createFilter(\"F\"): the input \"c:left\" has two links, \"a:out -> c:left\" and "
                  "\"b:low -> c:left\", and will get no value from either. [program:2:14: b:low -> c:left]"},
        FaultCase{"ThreeLinks", "filter F { Dilation a; Split b; Dilation c; a -> c; b:low -> c:in; b:high -> c; }",
                  "\"a:out -> c:in\" and \"b:low -> c:in\""},
        FaultCase{"OneLinkTwice", "filter F { Dilation a; Dilation b; a -> b; a -> b; }",
                  "\"a:out -> b:in\" and \"a:out -> b:in\""},
        FaultCase{"TwoValues", "process p(Compare) { left <= 1; right <= 2;\n left <= 3; left <= 4; }",
                  "3 filtrix.private: createProcess(\"p\"): the input \"left\" is bound twice, \"left <= 1\" and "
                  "\"left <= 3\", and will get no value from either. [program:2:2: left <= 3]"},
        FaultCase{"SharedHash",
                  "process badu(Dilation) { in <= 1; } process other(Dilation) { in <= 1; }\n"
                  "process banx(Dilation) { in <= 1; }",
                  "3 filtrix.private: createProcess(\"banx\"): the name has the same hash as that of \"badu\": the two "
                  "share what runs and filters keep. [program:2:9: banx(Dilation)]"}),
    [](const auto& test) { return std::string(test.param.name); });

class RegistryTest : public testing::Test
{
protected:
  std::string read(const std::string& sink)
  {
    clock.advance(1s);
    const DataPtr value = bench.registry.getData(sink);
    return value ? Type::toText(*value) : "null";
  }

  ku::ManualClock clock;
  ProgramBench bench;
  FiltrixPrivate& registry = bench.registry;
};

struct ValueCase
{
  const char* value;
  const char* text;
};

TEST_F(RegistryTest, AnInputTakesLocalsSourcesLiteralsAndLambdas)
{
  ASSERT_TRUE(bench.load("source global { 7 } source local { 8 } source Erosion { 9 }"));
  registry.createSourceAlias("alias", "global");
  const ValueCase cases[] = {{"local", "null"}, {"this:local", "null"}, {"global", "7"},       {"alias", "7"},
                             {"12", "12"},      {"12.0", "12f"},        {"true", "True"},      {"\"a\\tb\"", "a\tb"},
                             {"null", "null"},  {"infinity", "inff"},   {"Invert", "{void*}"}, {"Erosion", "9"},
                             {"first:out", "7"}};
  ASSERT_TRUE(bench.load("process first(Dilation) { in <= global; out => out; }"));
  int count = 0;
  for (const auto& [value, text] : cases)
  {
    const std::string name = "p" + std::to_string(count++);
    ASSERT_TRUE(bench.load("process " + name + "(Dilation) { source local; in <= " + value + "; out => o; }")) << value;
    EXPECT_EQ(read(name + ":o"), text) << value;
  }
}

TEST_F(RegistryTest, CreationDefaultsAndTheLineOnANewProcess)
{
  ASSERT_TRUE(bench.load("process p(Dilation, 9, 2.5, 100) { } process q(Dilation) { }"));
  EXPECT_THAT(bench.log.texts("filtrix.private"),
              ElementsAre("new filtrix process: \"p\" priority: 8 frequency: 2.5 tolerance: 100",
                          "new filtrix process: \"q\" priority: 3 frequency: 1 tolerance: 0"));
  EXPECT_EQ(registry.getProcessPriority("p"), 8U);
  EXPECT_EQ(registry.getProcessFrequency("q"), 1.0F);
  EXPECT_EQ(registry.getProcessTolerance("p"), Duration(100));
  EXPECT_THAT(registry.getScheduledJobs(), Contains("p")) << "in the list of jobs when the call returns";
}

TEST_F(RegistryTest, ASinkNameUsedTwiceIsAnAggregationInTheOrderOfTheStatements)
{
  ASSERT_TRUE(bench.load("source s { 5 } process p(Split) { source t; in <= s; high => both; low => both; low => one; "
                         "low => both; all ~> self:one; all ~> self:both; t ~> self; }"));
  EXPECT_THAT(bench.log.texts(), Contains(HasSubstr("impossible to create an aggregation with twice the same sink.")));
  EXPECT_EQ(read("p:both"), "{5;5}");
  EXPECT_EQ(read("p:all"), "{5;5}");
  EXPECT_EQ(read("p:t"), "null") << "the local source has no value yet";
  ASSERT_TRUE(registry.setData("t", "p", makeData(1)));
  EXPECT_EQ(read("p:t"), "{1}");
  EXPECT_THAT(registry.getProcessSinks("p"), ElementsAre("both", "one"));
  EXPECT_THAT(registry.getProcessAggregatedSinks("p"), ElementsAre("all", "both", "t"));

  ASSERT_TRUE(bench.load("process q(Dilation) { in <= 3; out => o; mixed ~> self:o; mixed ~> p:one; }"));
  EXPECT_EQ(read("q:mixed"), "{3;5}");
}

TEST_F(RegistryTest, AnUnknownOutputCostsAWarningOnly)
{
  ASSERT_TRUE(bench.load("process p(Dilation) { in <= 3; no => x; out => o; }"));
  EXPECT_THAT(
      bench.complaints(),
      ElementsAre(HasSubstr("3 filtrix.private: createProcess(\"p\", \"Dilation\", inputs, outputs): impossible to "
                            "find the specified output \"no\" . Please verify the output list.")));
  EXPECT_EQ(read("p:o"), "3");
}

TEST_F(RegistryTest, ADefaultOfAnExportedInputFillsInUntilTheInputIsBound)
{
  ASSERT_TRUE(bench.load("filter F { Dilation d; d:in(\"x\") <= in; d => out; }"
                         "process p(F) { out => o; } process q(F) { in <= 4; out => o; }"));
  EXPECT_EQ(read("p:o"), "x");
  EXPECT_EQ(read("q:o"), "4");
}

TEST_F(RegistryTest, APulseIsReadOnceAndThenItsDefault)
{
  ASSERT_TRUE(bench.load("process p(Dilation) { pulse a; in <= a; out => o; }"
                         "process q(Dilation) { pulse a(7); in <= a; out => o; }"));
  EXPECT_EQ(read("p:o"), "null");
  registry.setData("a", "p", makeData(5));
  registry.setData("a", "q", makeData(5));
  EXPECT_EQ(read("p:o"), "5");
  EXPECT_EQ(read("p:o"), "null");
  EXPECT_EQ(read("q:o"), "5");
  EXPECT_EQ(read("q:o"), "7");
}

TEST_F(RegistryTest, UnknownProcessesAreToldInTheWordsOfEachOperation)
{
  bench.log.clear();
  EXPECT_FALSE(registry.deleteProcess("x"));
  EXPECT_FALSE(registry.renameProcess("x", "y"));
  EXPECT_FALSE(registry.enableProcess("x"));
  EXPECT_FALSE(registry.disableProcess("x"));
  EXPECT_FALSE(registry.isProcessEnable("x"));
  EXPECT_FALSE(registry.isProcessZombie("x"));
  EXPECT_FALSE(registry.resetProcess("x"));
  EXPECT_EQ(registry.getProcessDescription("x"), "");
  EXPECT_FALSE(registry.setProcessDescription("x", ""));
  EXPECT_THAT(registry.getProcessSources("x"), IsEmpty());
  EXPECT_THAT(registry.getProcessSinks("x"), IsEmpty());
  EXPECT_THAT(registry.getProcessAggregatedSinks("x"), IsEmpty());
  EXPECT_EQ(registry.getProcessPriority("x"), 0U);
  EXPECT_EQ(registry.getProcessFrequency("x"), 0.0F);
  EXPECT_FALSE(registry.setProcessPriority("x", 1));
  EXPECT_FALSE(registry.setProcessFrequency("x", 1.0F));
  EXPECT_FALSE(registry.setProcessTolerance("x", Duration(1)));
  EXPECT_EQ(registry.getProcessTolerance("x"), Duration());
  EXPECT_EQ(registry.getFilterDescription("x"), "");
  EXPECT_THAT(registry.getFilterInputs("x"), IsEmpty());
  EXPECT_EQ(registry.createLambda("x"), nullptr);
  EXPECT_FALSE(registry.deleteFilter("x"));
  EXPECT_FALSE(registry.deleteSource("x"));
  EXPECT_FALSE(registry.setData("x", nullptr));
  EXPECT_FALSE(registry.setData("x", "p", nullptr));
  EXPECT_EQ(registry.getSourceData("x"), nullptr);
  EXPECT_EQ(registry.getSourceData("x", "p"), nullptr);
  EXPECT_THAT(
      bench.log.texts(),
      ElementsAre("Can't delete process \"x\": process unknown.", "Can't rename the process \"x\": process unknown.",
                  "Can't enable process \"x\": process unknown.", "Can't disable process \"x\": process unknown.",
                  "Can't test if process \"x\" is enable: process unknown.",
                  "Can't test if process \"x\" is zombie: process unknown.", "Process \"x\" does not exist.",
                  "Can't get description of the process \"x\": process unknown",
                  "Can't set description for the process \"x\": process unknown.",
                  "Can't get sources of the process \"x\": process unknown.",
                  "Can't get sinks of the process \"x\": process unknown.",
                  "Can't get aggregated sinks of the process \"x\": process unknown.",
                  "Can't get priority of the process \"x\": process unknown.",
                  "Can't get frequency of the process \"x\": process unknown.",
                  "Can't set priority for the process \"x\": process unknown.",
                  "Can't set frequency for the process \"x\": process unknown.",
                  "Can't set tolerance for the process \"x\": process unknown.",
                  "Can't set tolerance for the process \"x\": process unknown.",
                  "getFilterDescription(\"x\"): filter not found.", "getFilterInputs(\"x\"): filter not found.",
                  "createLambda(\"x\"): The filter \"x\" has not been found.",
                  "Can't delete source \"x\": source unknown.", "Can't set data for source \"x\": source unknown.",
                  "Can't set data for source \"x\": process \"p\" not found.",
                  "Can't get data from source \"x\": source unknown.",
                  "Can't get data from source \"x\": process \"p\" unknown."));
}

TEST_F(RegistryTest, ReadingASinkThatIsNotThereThrowsTheLoggedText)
{
  ASSERT_TRUE(bench.load("process p(Dilation) { out => o; }"));
  bench.log.clear();
  const auto textOf = [](const std::function<void()>& call) -> std::string
  {
    try
    {
      call();
    }
    catch (const std::runtime_error& error)
    {
      return error.what();
    }
    return "nothing thrown";
  };
  const std::string malformed =
      "Can't get last data(\"abc\"):the sink is not correctly formated (\"process:sink\" expected).";
  const std::vector<std::string> thrown = {
      textOf([&] { (void)registry.getData("abc"); }), textOf([&] { (void)registry.getLastData("abc"); }),
      textOf([&] { (void)registry.getData("q:o"); }), textOf([&] { (void)registry.getLastData("q:o"); }),
      textOf([&] { (void)registry.getData("p:x"); })};
  EXPECT_THAT(thrown, ElementsAre(malformed, malformed, "Can't get data(\"q:o\"):the process \"q\" does not exist.",
                                  "Can't get last data(\"q:o\"):the process \"q\" does not exist.",
                                  "Can't get data(\"x\"): the process p doesn't own this sink node."));
  EXPECT_EQ(bench.log.texts(), thrown);
}

TEST_F(RegistryTest, SourcesAndAliasesShareOneSpaceOfNames)
{
  ASSERT_TRUE(bench.load("source s { 1 } source t { 2 } process p(Dilation) { out => o; }"));
  bench.log.clear();
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  EXPECT_FALSE(registry.createSource("a"));
  EXPECT_FALSE(registry.createSourceAlias("b", "nothing"));
  EXPECT_FALSE(registry.createSourceAlias("b", "a")) << "an alias of an alias";
  EXPECT_FALSE(registry.createSourceAlias("t", "s"));
  EXPECT_FALSE(registry.renameSourceAlias("nothing", "b"));
  EXPECT_FALSE(registry.renameSourceAlias("a", "t"));
  EXPECT_FALSE(registry.retargetSourceAlias("nothing", "s"));
  EXPECT_FALSE(registry.retargetSourceAlias("a", "nothing"));
  EXPECT_FALSE(registry.createSourceFromProcessSink("s", "p:o"));
  EXPECT_FALSE(registry.createSourceFromProcessSink("u", "p"));
  EXPECT_FALSE(registry.createSourceFromProcessSink("u", "q:o"));
  EXPECT_FALSE(registry.createSourceFromProcessSink("u", "p:x"));
  EXPECT_THAT(
      bench.log.texts(),
      ElementsAre(
          "createSource(\"a\"): source already exists.", "Can't create alias \"b\": source \"nothing\" not found.",
          "Can't create alias \"b\": source \"a\" not found.",
          "Can't create alias \"t\": source or alias is already present.",
          "Can't rename alias \"nothing\": alias unknown.", "Can't rename alias \"a\": \"t\" is already in use.",
          "Can't retarget alias \"nothing\" to  \"s\": alias or target unknown",
          "Can't retarget alias \"a\" to  \"nothing\": alias or target unknown",
          "createSourceFromProcessSink(\"s\"): source already exists.",
          "createSourceFromProcessSink(\"u\", \"p\"):impossible to find the specified process sink. Please make sure "
          "to write the sink name as \"process_name:sink_name\".",
          "createSourceFromProcessSink(\"u\", \"q:o\"):impossible to find the specified process \"q\".",
          "createSourceFromProcessSink(\"u\", \"p:x\"):impossible to find the specified sink \"x\" in the process "
          "\"p\"."));

  ASSERT_TRUE(registry.renameSourceAlias("a", "b"));
  ASSERT_TRUE(registry.retargetSourceAlias("b", "t"));
  EXPECT_EQ(Type::toText(*registry.getSourceData("b")), "2");
  EXPECT_THAT(registry.getSources(), ElementsAre("b", "s", "t"));
  ASSERT_TRUE(registry.deleteSource("t"));
  EXPECT_THAT(registry.getSources(), ElementsAre("s")) << "an alias goes with its target";
}

TEST_F(RegistryTest, AnAliasThatWouldLetAProcessReadItselfIsNotRetargeted)
{
  ASSERT_TRUE(bench.load("source s { 1 }"));
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(bench.load("process p(Dilation) { in <= a; out => o; } process q(Dilation) { in <= p:o; out => o; }"));
  ASSERT_TRUE(registry.createSourceFromProcessSink("result", "q:o"));
  bench.log.clear();
  EXPECT_FALSE(registry.retargetSourceAlias("a", "result"));
  EXPECT_THAT(bench.log.texts(), ElementsAre("Can't retarget alias \"a\" to  \"result\": a process would read itself"));
  EXPECT_EQ(read("q:o"), "1");
}

TEST_F(RegistryTest, FrequencyOfASourceIsTheHighestOfItsLiveReaders)
{
  ASSERT_TRUE(bench.load("source s { 1 }"));
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  EXPECT_EQ(registry.getSourceFrequency("s"), 0.0F);
  EXPECT_FALSE(registry.isSourceBinded("s"));
  ASSERT_TRUE(bench.load("process p(Dilation, 1, 5.0) { in <= s; } process q(Dilation, 1, 20.0) { in <= s; }"
                         "process r(Dilation, 1, 30.0) { in <= a; }"));
  EXPECT_EQ(registry.getSourceFrequency("s"), 20.0F);
  EXPECT_EQ(registry.getSourceFrequency("a"), 30.0F);
  EXPECT_TRUE(registry.isSourceBinded("s"));
  registry.disableProcess("q");
  registry.deleteProcess("r");
  EXPECT_EQ(registry.getSourceFrequency("s"), 5.0F);
  EXPECT_EQ(registry.getSourceFrequency("a"), 5.0F) << "an alias stands for its target";
}

TEST_F(RegistryTest, ADisabledProcessLivesOnWhileALiveOneReadsIt)
{
  ASSERT_TRUE(bench.load("source s { 1 } process a(Dilation) { in <= s; out => o; }"
                         "process b(Dilation) { in <= a:o; out => o; } process c(Dilation) { in <= b:o; out => o; }"));
  registry.disableProcess("a");
  registry.disableProcess("b");
  EXPECT_TRUE(registry.isProcessZombie("a")) << "through b, which c reads";
  EXPECT_TRUE(registry.isProcessZombie("b"));
  EXPECT_FALSE(registry.isProcessEnable("a"));
  EXPECT_EQ(read("c:o"), "1");
  registry.disableProcess("c");
  EXPECT_FALSE(registry.isProcessZombie("a"));
  EXPECT_EQ(read("a:o"), "null");
  registry.enableProcess("c");
  EXPECT_TRUE(registry.isProcessZombie("a"));
  ASSERT_TRUE(registry.renameProcess("a", "z"));
  registry.disableProcess("b");
  EXPECT_TRUE(registry.isProcessZombie("z")) << "under its new name too";
}

// Counts its runs in its memory.
class Counter final : public UserFilter
{
public:
  std::string getName() override { return "Counter"; }

  std::string getDescription() override { return "counts"; }

  std::vector<std::string> getInputs() override { return {}; }

  std::vector<std::string> getOutputs() override { return {"count"}; }

  bool isStateful() override { return true; }

  DataList run(const DataList&) override
  {
    setMemory(makeData(getMemory() ? getMemory()->toInt() + 1 : 1));
    return {getMemory()};
  }
};

TEST_F(RegistryTest, RenamingKeepsTheFiltersStateAndResettingDropsIt)
{
  ASSERT_TRUE(registry.addFilter(std::make_shared<Counter>()));
  ASSERT_TRUE(bench.load("filter C { Counter c; c => n; } process p(C) { n => n; }"));
  EXPECT_EQ(read("p:n"), "1");
  EXPECT_EQ(read("p:n"), "2");
  ASSERT_TRUE(registry.renameProcess("p", "q"));
  EXPECT_EQ(read("q:n"), "3");
  EXPECT_FALSE(registry.isProcess("p"));
  ASSERT_TRUE(registry.resetProcess("q"));
  EXPECT_EQ(registry.getLastData("q:n"), nullptr);
  EXPECT_EQ(read("q:n"), "1");
  ASSERT_TRUE(bench.load("process p(C) { n => n; }"));
  EXPECT_FALSE(registry.renameProcess("p", "q")) << "taken";
  ASSERT_TRUE(registry.deleteProcess("q"));
  ASSERT_TRUE(registry.renameProcess("p", "q"));
  EXPECT_EQ(read("q:n"), "1");
}

TEST_F(RegistryTest, TheReaderOfADeletedProcessReadsNothing)
{
  ASSERT_TRUE(bench.load("source s { 1 } process a(Dilation) { in <= s; out => o; }"
                         "process b(Dilation) { in <= a:o; out => o; }"));
  EXPECT_EQ(read("b:o"), "1");
  ASSERT_TRUE(registry.deleteProcess("a"));
  EXPECT_EQ(read("b:o"), "null");
}

// Keeps a state, in a run that lasts until the gate is opened.
class SlowKeeper final : public UserFilter
{
public:
  std::string getName() override { return "SlowKeeper"; }

  std::string getDescription() override { return "keeps a state"; }

  std::vector<std::string> getInputs() override { return {}; }

  std::vector<std::string> getOutputs() override { return {"out"}; }

  bool isStateful() override { return true; }

  DataList run(const DataList&) override
  {
    begun.count_down();
    gate.wait();
    const DataPtr state = makeData(1);
    kept = state;
    setMemory(state);
    return {makeData(2)};
  }

  std::latch begun{1};
  std::latch gate{1};
  std::weak_ptr<const Data> kept;
};

TEST_F(RegistryTest, WhatARunKeepsOfADeletedProcessGoesWithTheNextDeletion)
{
  const auto keeper = std::make_shared<SlowKeeper>();
  ASSERT_TRUE(registry.addFilter(keeper));
  ASSERT_TRUE(bench.load("source s { 1 } filter K { SlowKeeper k; k => o; } process p(K) { o => o; }"
                         "process q(Dilation) { in <= s; out => o; }"));
  std::thread caller([&] { static_cast<void>(registry.getData("p:o")); });
  keeper->begun.wait();
  ASSERT_TRUE(registry.deleteProcess("p"));
  keeper->gate.count_down();
  caller.join();
  keeper->setMemory(nullptr);  // the filter's own hand on it
  EXPECT_FALSE(keeper->kept.expired());
  ASSERT_TRUE(registry.deleteProcess("q"));
  EXPECT_TRUE(keeper->kept.expired());
}

TEST_F(RegistryTest, EventsRunProcessesAndCallFunctions)
{
  ASSERT_TRUE(bench.load("source s { } process p(Dilation, 0, 10.0) { in <= s; out => o; }"
                         "process q(Dilation, 0, 10.0) { source t; in <= p:o; out => o; }"
                         "event p { s } event q { p:o }"));
  std::atomic<int> fromSink{0};
  std::atomic<int> fromSource{0};
  ASSERT_TRUE(registry.createEvent("callback", "q:o", [&](const DataPtr& value) { fromSink = number(value); }));
  ASSERT_TRUE(
      registry.createSourceEvent("callback", "t", "q", [&](const DataPtr& value) { fromSource = number(value); }));
  EXPECT_FALSE(registry.createEvent("nobody", "p:o"));
  EXPECT_FALSE(registry.createSourceEvent("p", "nothing", ""));
  EXPECT_FALSE(registry.createSourceEvent("p", "t", "p"));
  EXPECT_THAT(bench.log.texts("filtrix.private"),
              Contains("Can't access source \"t\": process \"p\" don't own this source."));

  ASSERT_TRUE(registry.setData("t", "q", makeData(3)));
  registry.startScheduler();
  const DataPtr value = makeData(5);
  value->setTimestamp(seconds(50));
  ASSERT_TRUE(registry.setData("s", value));
  EXPECT_TRUE(eventually([&] { return fromSink != 0; }));
  registry.stopScheduler();
  EXPECT_EQ(fromSource, 3);
  EXPECT_EQ(fromSink, 5);
  EXPECT_EQ(registry.getLastData("p:o")->timestamp(), seconds(50));
}

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

// What is listed is whole: who finds a process, a filter or an alias finds all of it, or that it is gone.
TEST_F(RegistryTest, AReaderNeverSeesAHalfMadeObject)
{
  constexpr int rounds = 600;
  clock.advance(1s);
  ASSERT_TRUE(bench.load("source s { 5 }"));
  std::latch start(3);
  std::atomic<int> writing{2};
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 2; ++writer)
  {
    threads.emplace_back(
        [&]
        {
          start.arrive_and_wait();
          for (int i = 0; i < rounds; ++i)
          {
            registry.createSourceAlias("a", "s");
            registry.loadProgram("filter F { Split x; x <= in; x:low => low; x:high => high; }");
            registry.loadProgram(
                "process p(F, 3, 1000.0) { in <= s; low => one; high => two; low => both; high => both; }");
            registry.renameProcess("p", "q");
            registry.renameSourceAlias("a", "b");
            registry.deleteProcess(i % 2 == 0 ? "q" : "p");
            registry.deleteFilter("F");
            registry.deleteSource("b");
          }
          --writing;
        });
  }

  // How many of the looks found nothing; as many lines of the log must say why.
  std::map<std::string, std::size_t> missed;
  std::size_t found = 0;
  const auto look = [&](const std::string& failure, const auto& seen, const auto& whole)
  {
    if (seen == whole)
      ++found;
    else if (seen == std::decay_t<decltype(seen)>())
      ++missed[failure];
    else
      ADD_FAILURE() << "half of it, where one would be told: " << failure;
  };
  const std::vector<std::string> sinks{"both", "one", "two"};
  const auto lookAtAll = [&]
  {
    for (const std::string name : {"p", "q"})
    {
      look("Can't get sinks of the process \"" + name + "\": process unknown.", registry.getProcessSinks(name), sinks);
      look("Can't get sources of the process \"" + name + "\": process unknown.", registry.getProcessSources(name),
           std::vector<std::string>{"s"});
      try
      {
        const DataPtr value = registry.getData(name + ":two");
        EXPECT_TRUE(!value || Type::toText(*value) == "5");  // none once it is deleted
      }
      catch (const std::runtime_error& error)
      {
        EXPECT_EQ(error.what(), "Can't get data(\"" + name + ":two\"):the process \"" + name + "\" does not exist.");
      }
    }
    look("getFilterInputs(\"F\"): filter not found.", registry.getFilterInputs("F").size(), std::size_t{1});
    look("getFilterOutputs(\"F\"): filter not found.", registry.getFilterOutputs("F").size(), std::size_t{2});
    for (const std::string name : {"a", "b"})
      look("Can't get data from source \"" + name + "\": source unknown.", number(registry.getSourceData(name)) == 5,
           true);
  };
  start.arrive_and_wait();
  while (writing > 0)
    lookAtAll();
  for (std::thread& thread : threads)
    thread.join();
  const std::vector<std::string> lines = bench.log.texts("filtrix.private");
  for (const auto& [failure, count] : missed)
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(lines, failure)), count) << failure;

  for (const std::string& name : registry.getProcesses())
    registry.deleteProcess(name);
  for (const char* const name : {"a", "b"})
    registry.deleteSource(name);
  found = 0;
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(bench.load("filter F { Split x; x <= in; x:low => low; x:high => high; } process q(F) { in <= s; "
                         "low => one; high => two; low => both; high => both; }"));
  lookAtAll();
  EXPECT_EQ(found, 5U) << "the looks find what is there";
}

// Callers, programs and the scheduler at once: what is checked is that nothing breaks, and that the registry is sound
// after.
TEST_F(RegistryTest, ManyThreadsMayDoAnythingAtOnce)
{
  ASSERT_TRUE(bench.load("source s { 1 } source t { 2 }"));
  registry.createSourceAlias("a", "s");
  registry.startScheduler();
  std::latch start(4);
  std::vector<std::thread> threads;
  for (int worker = 0; worker < 4; ++worker)
  {
    threads.emplace_back(
        [&, worker]
        {
          start.arrive_and_wait();
          for (int i = 0; i < 60; ++i)
          {
            const std::string name = "p" + std::to_string((i + worker) % 5);
            registry.loadProgram("process " + name + "(Dilation, 3, 1000.0) { in <= a; out => o; }");
            registry.setData("s", makeData(i));
            registry.retargetSourceAlias("a", i % 2 == 0 ? "t" : "s");
            registry.setProcessPriority(name, static_cast<std::uint32_t>(i % 9));
            registry.renameProcess(name, "p" + std::to_string(i % 7));
            (void)registry.getProcessSinks(name);
            (void)registry.getSourceFrequency("a");
            try
            {
              (void)registry.getData(name + ":o");
            }
            catch (const std::runtime_error&)
            {
              continue;  // renamed or deleted by another thread
            }
            if (i % 3 == 0)
              registry.deleteProcess(name);
            else
              registry.resetProcess(name);
          }
        });
  }
  for (std::thread& thread : threads)
    thread.join();
  registry.stopScheduler();
  for (const std::string& name : registry.getProcesses())
    registry.deleteProcess(name);
  ASSERT_TRUE(bench.load("process last(Dilation) { in <= a; out => o; }"));
  registry.setData("a", makeData(42));
  EXPECT_EQ(read("last:o"), "42");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
