#include "graph/lambda.h"

#include "support/graphkit.h"

#include <gmock/gmock.h>

#include <latch>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using Type::Lambda;

// Two outputs: the sum of three inputs, and the last one.
FilterPtr makeSum()
{
  return std::make_shared<FunctionFilter>("Sum", std::vector<std::string>{"?a", "?b", "?c"},
                                          std::vector<std::string>{"sum", "last"},
                                          [](const DataList& inputs)
                                          {
                                            std::int32_t sum = 0;
                                            for (const DataPtr& input : inputs)
                                              sum += input ? input->toInt() : 0;
                                            return DataList{makeData(sum), inputs.back()};
                                          });
}

std::vector<int> numbers(const DataList& values)
{
  std::vector<int> out;
  for (const DataPtr& value : values)
    out.push_back(number(value));
  return out;
}

DataArray array(std::initializer_list<int> values)
{
  DataArray out;
  for (const int value : values)
    out.push_back(makeData(value));
  return out;
}

TEST(Lambda, EveryApplicationGivesItsOwnResults)
{
  const ku::log::Capture log;
  Lambda sum(makeSum());
  EXPECT_THAT(numbers(sum.apply(array({1, 2, 4}))), ElementsAre(7, 4));
  EXPECT_THAT(numbers(sum.apply(array({10, 20, 40}))), ElementsAre(70, 40));
  EXPECT_THAT(numbers(sum.apply(array({1}))), ElementsAre(61, 40)) << "parameters not given keep their last value";
  EXPECT_THAT(numbers(sum.apply(array({1, 1, 1, 99}))), ElementsAre(3, 1));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Lambda, CurryingBindsTheFirstFreeParametersOfACopy)
{
  Lambda sum(makeSum());
  const auto plusOne = sum.curry(array({1}));
  const auto plusThree = plusOne->curry(array({2}));
  EXPECT_EQ(sum.getFreeParameters(), 3U);
  EXPECT_EQ(plusOne->getFreeParameters(), 2U);
  EXPECT_EQ(plusThree->getFreeParameters(), 1U);
  EXPECT_THAT(numbers(plusThree->apply(array({4}))), ElementsAre(7, 4));
  EXPECT_THAT(numbers(plusOne->apply(array({20, 40}))), ElementsAre(61, 40));
  EXPECT_EQ(plusThree->curry(array({4, 5, 6}))->getFreeParameters(), 0U);
}

TEST(Lambda, TwoWorkersAtOnceEachGetTheirOwnResult)
{
  Lambda sum(makeSum());
  std::latch start(2);
  std::array<int, 2> wrong{};
  const auto work = [&](std::size_t worker)
  {
    start.arrive_and_wait();
    for (int i = 0; i < 2000; ++i)
    {
      const int base = static_cast<int>(worker) * 100'000 + i;
      if (numbers(sum.apply(array({base, 1, 2}))) != std::vector<int>{base + 3, 2})
        ++wrong.at(worker);
    }
  };
  std::thread other(work, 1);
  work(0);
  other.join();
  EXPECT_THAT(wrong, ElementsAre(0, 0));
}

TEST(Lambda, AnExceptionLeavesNothingBehind)
{
  const ku::log::Capture log;
  bool broken = true;
  Lambda lambda(std::make_shared<FunctionFilter>("F", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                                 [&](const DataList& inputs) -> DataList
                                                 {
                                                   if (broken)
                                                     throw std::runtime_error("broken");
                                                   return {inputs[0]};
                                                 }));
  EXPECT_THROW((void)lambda.apply(array({1})), std::runtime_error);
  broken = false;
  EXPECT_THAT(numbers(lambda.apply(array({2}))), ElementsAre(2));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Lambda, ApplyingItselfIsRefusedInsteadOfLocking)
{
  const ku::log::Capture log;
  std::weak_ptr<Lambda> itself;
  const auto lambda = std::make_shared<Lambda>(
      std::make_shared<FunctionFilter>("Loop", std::vector<std::string>(), std::vector<std::string>{"out"},
                                       [&](const DataList&) { return itself.lock()->apply({}); }));
  itself = lambda;
  EXPECT_THAT(numbers(lambda->apply({})), ElementsAre(-1));
  EXPECT_THAT(log.texts(), ElementsAre("The lambda of \"Loop\" is applied within itself."));
}

TEST(Lambda, ChainsOfLambdasEndAtTheirGreatestDepth)
{
  const ku::log::Capture log;
  std::function<DataList()> deeper;
  const auto filter = std::make_shared<FunctionFilter>(
      "Deep", std::vector<std::string>(), std::vector<std::string>{"out"}, [&](const DataList&) { return deeper(); });
  int depth = 0;
  deeper = [&]
  {
    ++depth;
    Lambda next(filter);
    return next.apply({});
  };
  Lambda first(filter);
  (void)first.apply({});
  EXPECT_EQ(depth, Lambda::maxDepth);
  EXPECT_THAT(log.texts(), ElementsAre("The lambda of \"Deep\" is applied within 32 others, expected at most 31."));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
