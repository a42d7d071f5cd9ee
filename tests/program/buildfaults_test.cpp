#include "program/filtrixprivate.h"

#include "program/programkit.h"

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
}  // namespace
}  // namespace ZR::Filtrix::Test
