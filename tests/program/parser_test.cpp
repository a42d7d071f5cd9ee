#include "program/parser.h"

#include "program/programkit.h"

#include <gmock/gmock.h>

#include <latch>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(Parser, MakesWhatAProgramSays)
{
  ProgramBench bench;
  EXPECT_TRUE(bench.load(R"(
    # a composite of two library filters
    filter Smooth {
      Dilation d;
      Erosion e;
      d -> e;
      d <= image;
      e => smoothed;
    }
    source frame { }
    source threshold { 0.5 }
    process smoothing(Smooth, 7, 5.0, 100) {
      image <= frame;
      smoothed => result;
    }
    process plain(Threshold) { in <= smoothing:result; ceil <= threshold; out => mask; }
    event plain { smoothing:result }
  )"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
  const FiltrixPrivate& registry = bench.registry;
  EXPECT_TRUE(registry.hasFilter("Smooth"));
  EXPECT_EQ(registry.getSourceData("threshold")->toFloat(), 0.5F);
  EXPECT_EQ(registry.getProcessPriority("smoothing"), 7U);
  EXPECT_EQ(registry.getProcessFrequency("smoothing"), 5.0F);
  EXPECT_EQ(registry.getProcessTolerance("smoothing"), Duration(100));
  EXPECT_EQ(registry.getProcessPriority("plain"), 3U);
  EXPECT_EQ(registry.getProcessFrequency("plain"), 1.0F);
  EXPECT_EQ(registry.getProcessTolerance("plain"), Duration(0));
  EXPECT_THAT(registry.getProcessSources("plain"), ElementsAre("smoothing:result", "threshold"));

  bench.registry.setData("frame", makeData(42));
  EXPECT_EQ(bench.registry.getData("smoothing:result")->toInt(), 42);
}

struct ValueCase
{
  const char* body;
  const char* text;
};

class SourceValueTest : public testing::TestWithParam<ValueCase>
{
};

TEST_P(SourceValueTest, BecomesData)
{
  ProgramBench bench;
  const auto& [body, text] = GetParam();
  EXPECT_TRUE(bench.load(std::string("source x {") + body + "}"));
  const DataPtr value = bench.registry.getSourceData("x");
  EXPECT_EQ(value ? std::string(Type::typeName(value->type())) + " " + Type::toText(*value) : "nothing", text) << body;
}

INSTANTIATE_TEST_SUITE_P(Bodies, SourceValueTest,
                         testing::Values(ValueCase{" ", "nothing"}, ValueCase{"true", "Boolean True"},
                                         ValueCase{"-12", "Integer -12"}, ValueCase{"0.5", "Float 0.5f"},
                                         ValueCase{R"("a } \" b")", R"(String a } " b)"}, ValueCase{"null", "nothing"},
                                         ValueCase{"Erosion", "Lambda {void*}"}));

// The only statement of a program, and the line that tells what is wrong with it. Where the load goes on nevertheless,
// the line is the last of those that it gives.
struct FaultCase
{
  const char* program;
  const char* complaint;
};

class EndOfLoadTest : public testing::TestWithParam<FaultCase>
{
};

class LoadGoesOnTest : public testing::TestWithParam<FaultCase>
{
};

TEST_P(EndOfLoadTest, IsToldWithItsReason)
{
  ProgramBench bench;
  const std::string program = GetParam().program;
  EXPECT_FALSE(bench.load(program));
  EXPECT_THAT(bench.complaints(),
              ElementsAre(std::string("2 filtrix.") + GetParam().complaint,
                          StartsWith("2 filtrix.parser: loadProgram: stopped at program:1:1: \"" +
                                     program.substr(0, program.find(" {")) + "\"; created before: ")));
}

TEST_P(LoadGoesOnTest, AfterAMessage)
{
  ProgramBench bench;
  EXPECT_TRUE(bench.load(GetParam().program));
  ASSERT_THAT(bench.complaints(), Not(IsEmpty()));
  EXPECT_EQ(bench.complaints().back(), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Filters, EndOfLoadTest,
    testing::Values(
        FaultCase{"filter F { Erosion a; Erosion b; a:out -> b -> a; }",
                  "parser: Chain filter can't contain a port. [program:1:34: a:out -> b -> a]"},
        FaultCase{"filter F { Erosion a; a -> b:in -> a; }",
                  "parser: Chain filter can't contain a port. [program:1:23: a -> b:in -> a]"},
        FaultCase{
            "filter F { Nothing a; }",
            R"(private: createFilter("F", filters, links): The filter "a" is declared as "Nothing" but "Nothing" )"
            "has never been declared. [program:1:12: Nothing a]"},
        FaultCase{"filter F { Threshold t; t:ceil(0x10) <= c; }",
                  R"(private: createFilter("F", filters, links): Invalid default value: "0x10". )"
                  "[program:1:25: t:ceil(0x10) <= c]"}));

INSTANTIATE_TEST_SUITE_P(
    Processes, EndOfLoadTest,
    testing::Values(
        FaultCase{"process p {}", R"(parser: createProcess("p", inputs, outputs): Invalid process )"
                                  "declaration [program:1:9: p]"},
        FaultCase{"process p() {}", R"(parser: createProcess("p", priority, frequency, tolerance): expected )"
                                    "at least a filter name. [program:1:9: p()]"},
        FaultCase{"process p(F, 1.5) {}", R"(parser: createProcess("p", priority, frequency, tolerance): )"
                                          R"(priority "1.5" is not a valid integer [program:1:9: p(F, 1.5)])"},
        FaultCase{"process p(F, -1) {}", R"(parser: createProcess("p", priority, frequency, tolerance): )"
                                         R"(priority "-1" is negative, expected 0 to 8. )"
                                         "[program:1:9: p(F, -1)]"},
        FaultCase{"process p(F, 1, x) {}", R"(parser: createProcess("p", priority, frequency, tolerance): )"
                                           R"(frequency "x" is not a valid float. [program:1:9: p(F, 1, x)])"},
        FaultCase{"process p(F, 1, 2, .5) {}",
                  R"(parser: createProcess("p", priority, frequency, tolerance): tolerance ".5" is not a )"
                  "valid duration. [program:1:9: p(F, 1, 2, .5)]"}));

INSTANTIATE_TEST_SUITE_P(
    Scripts, EndOfLoadTest,
    testing::Values(
        FaultCase{"script s {}",
                  R"(parser: createFilterFromScript("s", body): Invalid filter declaration [program:1:8: s])"},
        FaultCase{"script s() {}",
                  R"(parser: createFilterFromScript("s", inputs, outputs): expected language name got )"
                  "nothing. [program:1:8: s()]"},
        FaultCase{"script s(x, a, b) {}", R"(parser: createFilterFromScript("s", inputs, outputs): the language x is )"
                                          "not supported. [program:1:8: s(x, a, b)]"},
        FaultCase{"script s(lua) {}", R"(parser: createFilterFromScript("s", inputs, outputs): expected inputs got )"
                                      "nothing. [program:1:8: s(lua)]"},
        FaultCase{"script s(lua, a b) {}", R"(parser: createFilterFromScript("s", inputs, outputs): expected outputs )"
                                           "got nothing. [program:1:8: s(lua, a b)]"},
        FaultCase{"script s(lua, a, c) {}", "parser: createFilterFromScript(s, script, lua): The language is not "
                                            "supported by filtrix. [program:1:8: s]"},
        FaultCase{"script Erosion(lua, a, c) {}", "parser: createFilterFromScript(Erosion, script, lua): The filter "
                                                  "Erosion already exist. [program:1:8: Erosion]"}));

INSTANTIATE_TEST_SUITE_P(Sources, EndOfLoadTest,
                         testing::Values(FaultCase{"source x { 0x10 }",
                                                   "parser: loadProgram(test, filtrixHandle): The source x has an "
                                                   "invalid body: 0x10 [program:1:12: 0x10]"}));

INSTANTIATE_TEST_SUITE_P(
    Statements, LoadGoesOnTest,
    testing::Values(
        FaultCase{"process p(Invert) { in = 1; in <= 2 }",
                  R"(2 filtrix.parser: createProcess("p(Invert), body): invalid declaration "in = 1" )"
                  "[program:1:21: in = 1]"},
        FaultCase{"delete filter { x }", "3 filtrix.parser: Can't delete filter: x [program:1:1: delete filter]"},
        FaultCase{"delete process { x }", "3 filtrix.parser: Can't delete process: x [program:1:1: delete process]"},
        FaultCase{"delete source { x }", "3 filtrix.parser: Can't delete source: x [program:1:1: delete source]"},
        FaultCase{"event p { x }", "2 filtrix.parser: createEvent(\"p\", \"x\"): expected a process to run, and a sink "
                                   "or source to wait for. [program:1:11: x]"}));

INSTANTIATE_TEST_SUITE_P(
    LostText, LoadGoesOnTest,
    testing::Values(FaultCase{"source a { 1 }\nsource b { 2",
                              "3 filtrix.parser: loadProgram: the block that opens at program:2:10 is not closed; its "
                              "text is lost."},
                    FaultCase{"source a { { 1 }", "3 filtrix.parser: loadProgram: the block that opens at program:1:10 "
                                                  "is not closed; its text is lost."},
                    FaultCase{"source a { \"x # y\" }\n}",
                              "3 filtrix.parser: loadProgram: the string that opens at program:1:12 is not closed; its "
                              "text is lost."},
                    FaultCase{"source a",
                              "3 filtrix.parser: loadProgram: \"source a\" at program:1:1 is not followed by "
                              "a block; it is lost."}));

// A header that is none is passed over; the block behind it is then the next header. So a block can be a statement.
TEST(Parser, PassesOverHeadersThatAreNone)
{
  ProgramBench bench;
  EXPECT_TRUE(
      bench.load("foo bar { } source a { 1 }  Source b { 2 }  import thing { source c } { 3 } delete sauce { a }"));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("a", "c"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
}

TEST(Parser, TellsAFailedLoadWhatItLeavesBehind)
{
  ProgramBench bench;
  EXPECT_FALSE(bench.load("source a { }  filter F { Erosion e; e <= in; e => out; }\n"
                          "source b { }  # not for long\n  process p ( F ) { in <= a; }\n"
                          "delete source { b }\n"
                          "  process\n  q(G) { }\nsource c { }"));
  EXPECT_EQ(bench.complaints().back(),
            "2 filtrix.parser: loadProgram: stopped at program:5:3: \"process q(G)\"; created before: source a, "
            "filter F, process p");
}

TEST(Parser, TellsWhereAnExceptionStoppedIt)
{
  ProgramBench bench;
  EXPECT_THROW(bench.load("source a { }\nprocess p(Invert, 1, 1, -1) { }"), std::runtime_error);
  EXPECT_EQ(bench.complaints().back(),
            "2 filtrix.parser: loadProgram: stopped at program:2:1: \"process p(Invert, 1, 1, -1)\"; created before: "
            "source a");
}

TEST(Parser, CutsALongListOfWhatWasCreated)
{
  ProgramBench bench;
  std::string program;
  for (int count = 0; count < 60; ++count)
    program += "source s" + std::to_string(count) + " { }";
  EXPECT_FALSE(bench.load(program + "source s0 { }"));
  EXPECT_TRUE(bench.complaints().back().ends_with("source s48, source s49 and 10 more"));
}

TEST(Parser, HoldsPrioritiesOfAnyLengthToTheHighest)
{
  ProgramBench bench;
  EXPECT_TRUE(bench.load("process a(Invert, 8) { } process b(Invert, 9) { } process c(Invert, 4294967297) { }"
                         "process d(Invert, 0000000000000000000002) { }"));
  for (const char* name : {"a", "b", "c"})
    EXPECT_EQ(bench.registry.getProcessPriority(name), 8U) << name;
  EXPECT_EQ(bench.registry.getProcessPriority("d"), 2U);
}

// A chain is a shorthand for its links.
TEST(Parser, ReadsAChainAsItsLinks)
{
  ProgramBench bench;
  const std::string nodes = "Erosion a; Dilation b; Invert c; Erosion d; a <= in; d => out;";
  EXPECT_TRUE(bench.load("filter Chain { " + nodes + " a -> b -> c->d }"));
  const std::string chain = bench.registry.getDotGraph("Chain", 1);
  EXPECT_TRUE(bench.load("delete filter { Chain } filter Chain { " + nodes + " a:out -> b:in; b->c; c -> d:in; }"));
  EXPECT_EQ(bench.registry.getDotGraph("Chain", 1), chain);
  EXPECT_NE(chain.find("->"), std::string::npos);
}

// An event on a source of a process, whatever the first attempt to find a sink of that name complains.
TEST(Parser, RunsAProcessOnTheEventsOfSourcesAndSinks)
{
  std::latch ran(3);  // outlives the workers
  ProgramBench bench;
  bench.registry.addFilter(std::make_shared<FunctionFilter>("Count", std::vector<std::string>{"in"},
                                                            std::vector<std::string>{"out"},
                                                            [&](const DataList& inputs)
                                                            {
                                                              ran.count_down();
                                                              return DataList{inputs[0]};
                                                            }));
  EXPECT_TRUE(bench.load("source frame { 1 }"
                         "process a(Invert, 0) { source own; in <= own; out => sink; }"
                         "process onSource(Count, 0, infinity) { in <= frame; out => o; } event onSource { frame }"
                         "process onOwn(Count, 0, infinity) { in <= frame; out => o; } event onOwn { a:own }"
                         "process onSink(Count, 0, infinity) { in <= frame; out => o; } event onSink { a : sink }"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre("2 filtrix.private: createEvent(\"onSource\", callback):invalid sink format expected "
                          "\"process:sink\".",
                          "2 filtrix.private: createEvent(\"onOwn\", callback):unknown sink \"own"));
  bench.registry.startScheduler();
  bench.registry.setData("frame", makeData(2));
  bench.registry.setData("own", "a", makeData(3));
  EXPECT_EQ(bench.registry.getData("a:sink")->toInt(), 3);
  ran.wait();
}

// Text from anywhere: neither its length nor its nesting may cost more than the text itself.
TEST(Parser, RefusesBodiesBeyondItsLimit)
{
  ProgramBench bench;
  std::string body;
  for (std::size_t count = 0; count < Parser::maxStatements; ++count)
    body += "x;";
  EXPECT_TRUE(bench.load("process p(Invert) { in <= 1 } delete process { p }"));
  EXPECT_FALSE(bench.load("filter F { " + body + "x; }"));
  EXPECT_EQ(bench.complaints().front(),
            "2 filtrix.parser: createFilter(\"F\", body): the body has more than 250000 statements. [program:1:8: F]");
  std::string chain = "a";
  for (std::size_t count = 0; count <= Parser::maxStatements; ++count)
    chain += "->a";
  EXPECT_FALSE(bench.load("filter F { " + chain + " }"));
  EXPECT_EQ(bench.complaints().front(),
            "2 filtrix.parser: createFilter(\"F\", body): the body has more than 250000 statements. [program:1:8: F]");
  EXPECT_FALSE(bench.load("process p(Invert) { " + body + "x; }"));
  EXPECT_THAT(bench.complaints(), Contains("2 filtrix.parser: createProcess(\"p(Invert), body): the body has more than "
                                           "250000 statements. [program:1:9: p(Invert)]"));
  EXPECT_TRUE(bench.load(std::string(1'000'000, '{')));
  EXPECT_TRUE(bench.load(std::string(1'000'000, '"')));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
