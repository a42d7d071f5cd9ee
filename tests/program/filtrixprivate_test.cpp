#include "program/filtrixprivate.h"

#include "program/registrytest.h"
#include "support/eventually.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

TEST_F(RegistryTest, ARenamedAliasIsKnownBesideTheSourceThatHasItsOldName)
{
  ASSERT_TRUE(bench.load("source s { 1 }"));
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(registry.renameSourceAlias("a", "b"));
  ASSERT_TRUE(bench.load("source a { 2 } process p(Compare, 3, 7.0) { left <= a; right <= b; out => o; }"));
  EXPECT_FLOAT_EQ(registry.getSourceFrequency("a"), 7.0F);
  EXPECT_FLOAT_EQ(registry.getSourceFrequency("b"), 7.0F);
  EXPECT_FLOAT_EQ(registry.getSourceDemand("s"), 7.0F);
  ASSERT_TRUE(registry.createSourceFromProcessSink("result", "p:o"));
  EXPECT_FALSE(registry.retargetSourceAlias("b", "result")) << "the process would read itself";
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
}  // namespace
}  // namespace ZR::Filtrix::Test
