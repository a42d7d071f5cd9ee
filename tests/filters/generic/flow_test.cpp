#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/mandatory.h"
#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using testing::ElementsAre;
using testing::IsEmpty;

const DataPtr one = makeData(1);
const DataPtr two = makeData(2);
const DataPtr three = makeData(3);
const DataPtr none;
const DataPtr yes = makeData(true);
const DataPtr no = makeData(false);
const DataPtr pair = makeData(DataArray{one, none});
const DataPtr empty = makeData(DataArray{});

// What the routing filters give are the very objects that came in.
struct RoutingCase
{
  const char* name;
  FilterPtr (*make)();
  DataList inputs;
  DataList outputs;
};

class RoutingTest : public testing::TestWithParam<RoutingCase>
{
};

TEST_P(RoutingTest, GivesTheValuesThemselves)
{
  const RoutingCase& given = GetParam();
  EXPECT_EQ(FilterBench(given.make())(given.inputs), given.outputs);
}

FilterPtr makeTriple()
{
  return makeMandatory(3);
}

INSTANTIATE_TEST_SUITE_P(
    Flow, RoutingTest,
    testing::Values(RoutingCase{"DispatchOnTrue", &makeDispatch, {one, yes}, {one, none}},
                    RoutingCase{"DispatchOnFalse", &makeDispatch, {one, no}, {none, one}},
                    RoutingCase{"DispatchWithoutValue", &makeDispatch, {none, yes}, {none, none}},
                    RoutingCase{"DispatchWithoutState", &makeDispatch, {one}, {none, none}},
                    RoutingCase{"DispatchWithANullState", &makeDispatch, {one, none}, {none, none}},
                    RoutingCase{"DispatchOnANumber", &makeDispatch, {one, two}, {none, none}},
                    RoutingCase{"Duplicate", &makeDuplicate, {one}, {one, one}},
                    RoutingCase{"DuplicateOfTwo", &makeDuplicate, {one, two}, {}},
                    RoutingCase{"HeadOfSome", &makeHead, {pair}, {one}},
                    RoutingCase{"HeadOfNone", &makeHead, {empty}, {none}},
                    RoutingCase{"HeadOfANumber", &makeHead, {one}, {}},
                    RoutingCase{"HeadOfTwoInputs", &makeHead, {pair, pair}, {}},
                    RoutingCase{"HeadOfNull", &makeHead, {none}, {}},
                    RoutingCase{"IdentityOfMany", &makeIdentity, {one, none, two}, {one, none, two}},
                    RoutingCase{"MandatoryWithAll", &makeTriple, {one, two, three}, {one, two, three}},
                    RoutingCase{"MandatoryWithALastNull", &makeTriple, {one, two, none}, {none, none, none}},
                    RoutingCase{"MandatoryWithTooFew", &makeTriple, {one, two}, {none, none, none}},
                    RoutingCase{"MandatoryWithTooMany", &makeMandatory, {one, two, none}, {one, two}},
                    RoutingCase{"MultiplexPrefersTheMaster", &makeMultiplex, {one, two}, {one}},
                    RoutingCase{"MultiplexTakesTheSlave", &makeMultiplex, {none, two}, {two}},
                    RoutingCase{"MultiplexOfNulls", &makeMultiplex, {none, none}, {none}},
                    RoutingCase{"MultiplexOfNothing", &makeMultiplex, {}, {none}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Mandatory, NamesItsPortsByTheirNumber)
{
  const auto names = [](const FilterPtr& filter)
  {
    std::string text;
    for (const PortList& ports : {filter->getInputs(), filter->getOutputs()})
      for (const PortPtr& port : ports)
        text += port->getName() + ' ';
    return text;
  };
  EXPECT_EQ(names(makeMandatory()), "in1 in2 out1 out2 ");
  EXPECT_EQ(names(makeMandatory(1)), "in out ");
}

TEST(Append, LeavesTheArrayAsItIs)
{
  FilterBench append(makeAppend());
  const DataPtr longer = append.first({two, pair});
  EXPECT_THAT(longer->toArray(), ElementsAre(one, none, two));
  EXPECT_THAT(pair->toArray(), ElementsAre(one, none));
  for (const DataList& without : {DataList{two}, DataList{two, none}})
    EXPECT_THAT(append.first(without)->toArray(), ElementsAre(two));
  EXPECT_THAT(append({one, two}), IsEmpty()) << "what is no array";
  EXPECT_THAT(append({}), IsEmpty());
}

TEST(IfChanged, LetsEachObjectThroughOnceInEachScope)
{
  FilterBench ifChanged(makeIfChanged());
  EXPECT_THAT(ifChanged({one}), ElementsAre(one));
  EXPECT_THAT(ifChanged({one}), IsEmpty());
  EXPECT_THAT(ifChanged({one}, "another scope"), ElementsAre(one));

  const DataPtr equal = makeData(1);
  EXPECT_THAT(ifChanged({equal}), ElementsAre(equal)) << "an equal value is another one";
  EXPECT_THAT(ifChanged({one}), ElementsAre(one)) << "only the last one counts";
  EXPECT_THAT(ifChanged({one, two}), IsEmpty());
  EXPECT_TRUE((*ifChanged).isStateful());
}

TEST(Print, WritesEachValueAtInfoAndGivesItOn)
{
  using ku::log::Level;
  const ku::log::Capture log;
  FilterBench print(makePrint());
  EXPECT_THAT(print({one, none, makeData("two")}), testing::SizeIs(3));
  EXPECT_THAT(log.entries(),
              ElementsAre(ku::log::Entry{Level::Info, "Filtrix", "1"}, ku::log::Entry{Level::Info, "Filtrix", "two"}));
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
