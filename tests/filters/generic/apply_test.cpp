#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "graph/lambda.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::FunctionFilter;
using testing::ElementsAre;
using testing::IsEmpty;

DataPtr lambdaOf(const FilterPtr& filter)
{
  return makeData(std::make_shared<Type::Lambda>(filter));
}

DataPtr arrayOf(std::initializer_list<int> values)
{
  DataArray elements;
  for (const int value : values)
    elements.push_back(makeData(value));
  return makeData(elements);
}

// a - b, and the number of inputs that have a value.
FilterPtr makeDifference()
{
  return std::make_shared<FunctionFilter>(
      "Difference", std::vector<std::string>{"?a", "?b"}, std::vector<std::string>{"difference", "given"},
      [](const DataList& inputs)
      {
        const auto number = [&](std::size_t i) { return inputs[i] ? inputs[i]->toInt() : 0; };
        return DataList{makeData(number(0) - number(1)), makeData((inputs[0] ? 1 : 0) + (inputs[1] ? 1 : 0))};
      });
}

std::vector<int> numbers(const DataList& values)
{
  std::vector<int> out;
  for (const DataPtr& value : values)
    out.push_back(value->toInt());
  return out;
}

TEST(Apply, GivesWhatTheFilterGivesForTheElements)
{
  FilterBench apply(makeApply());
  const DataPtr difference = lambdaOf(makeDifference());
  EXPECT_THAT(numbers(apply({difference, arrayOf({7, 2})})), ElementsAre(5, 2));
  EXPECT_THAT(numbers(apply({difference, arrayOf({1, 2, 3})})), ElementsAre(-1, 2));
  EXPECT_THAT(numbers(apply({lambdaOf(makeDifference()), arrayOf({})})), ElementsAre(0, 0));
}

TEST(Apply, AppliesWhatCurryHasMade)
{
  FilterBench curry(makeCurry());
  FilterBench apply(makeApply());
  const DataPtr difference = lambdaOf(makeDifference());
  const DataPtr tenMinus = curry.first({difference, arrayOf({10})});
  const DataPtr seven = curry.first({tenMinus, arrayOf({3, 99})});
  EXPECT_THAT(numbers(apply({tenMinus, arrayOf({4})})), ElementsAre(6, 2));
  EXPECT_THAT(numbers(apply({seven, arrayOf({4})})), ElementsAre(7, 2));
  EXPECT_THAT(numbers(apply({difference, arrayOf({4, 1})})), ElementsAre(3, 2)) << "the first one stays as it was";
}

// The library's own Apply as the applied filter: Apply(Apply, [difference, [7, 2]]).
TEST(Apply, CanBeAppliedItself)
{
  const DataPtr inner = makeData(DataArray{lambdaOf(makeDifference()), arrayOf({7, 2})});
  EXPECT_THAT(numbers(FilterBench(makeApply())({lambdaOf(makeApply()), inner})), ElementsAre(5));
}

TEST(Apply, RefusesAFilterThatAppliesItself)
{
  const ku::log::Capture log;
  const DataPtr itself = lambdaOf(makeApply());
  const DataPtr arguments = makeData(DataArray{itself, arrayOf({1})});
  EXPECT_THAT(FilterBench(makeApply())({itself, arguments}), ElementsAre(DataPtr()));
  EXPECT_THAT(log.texts(), ElementsAre("The lambda of \"Apply\" is applied within itself."));

  // A lambda keeps its last arguments: one that holds itself would never end.
  EXPECT_THAT(FilterBench(makeApply())({itself, makeData(DataArray(2))}), ElementsAre(DataPtr()));
}

TEST(Apply, PassesOnWhatTheFilterThrowsAndIsFitForTheNextRun)
{
  const ku::log::Capture log;
  bool fails = true;
  const DataPtr unsteady = lambdaOf(std::make_shared<FunctionFilter>(
      "Unsteady", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
      [&](const DataList& inputs) { return fails ? throw std::runtime_error("unsteady") : inputs; }));
  FilterBench apply(makeApply());
  EXPECT_THROW(apply({unsteady, arrayOf({1})}), std::runtime_error);
  fails = false;
  EXPECT_THAT(numbers(apply({unsteady, arrayOf({2})})), ElementsAre(2));
}

TEST(Apply, GivesNothingOnWrongInputs)
{
  const DataPtr lambda = lambdaOf(makeDifference());
  const DataPtr withoutPayload = makeData(std::shared_ptr<Type::Lambda>());
  const DataList wrong[] = {{},
                            {lambda},
                            {nullptr, arrayOf({1})},
                            {lambda, nullptr},
                            {lambda, makeData(1)},
                            {makeData(1), arrayOf({1})},
                            {withoutPayload, arrayOf({1})}};
  for (const auto make : {&makeApply, &makeCurry})
    for (const DataList& inputs : wrong)
      EXPECT_THAT(FilterBench(make())(inputs), IsEmpty()) << make()->getName() << ", case " << &inputs - wrong;
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
