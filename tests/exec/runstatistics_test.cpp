#include "exec/runstatistics.h"

#include "filtrix/ku/clock.h"
#include "support/graphkit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;
using Outcome = RunStatistics::Outcome;

TEST(RunStatistics, TellsThePercentileToOnePartInSixteenAndNeverTooSmall)
{
  std::mt19937 random(7);
  for (const double decades : {1.0, 4.0, 9.0})
  {
    RunStatistics statistics;
    std::vector<std::int64_t> lengths;
    for (int i = 0; i < 5000; ++i)
    {
      const double exponent = std::uniform_real_distribution(0.0, decades)(random);
      lengths.push_back(static_cast<std::int64_t>(std::pow(10.0, exponent)));
      statistics.addRun({}, std::chrono::nanoseconds(lengths.back()), Outcome::Done);
    }
    std::ranges::sort(lengths);
    const std::int64_t exact = lengths[4949];
    const std::int64_t told = statistics.figures({}).percentile99.count();
    EXPECT_GE(told, exact) << decades;
    EXPECT_LE(told, exact + exact / 16) << decades;
  }
}

TEST(RunStatistics, TakesTheLongestAndTheShortestLengths)
{
  RunStatistics statistics;
  statistics.addRun({}, -5ns, Outcome::Done);
  EXPECT_EQ(statistics.figures({}).percentile99, 0ns);
  statistics.addRun({}, ku::Clock::duration::max(), Outcome::Failed);
  EXPECT_EQ(statistics.figures({}).percentile99, ku::Clock::duration::max());
}

TEST(RunStatistics, FollowsTheRateAndLetsItFallWhenTheRunsEnd)
{
  RunStatistics statistics;
  ku::Clock::time_point now{};
  const auto runAt = [&](std::chrono::milliseconds period, int times)
  {
    for (int i = 0; i < times; ++i)
      statistics.addRun(now += period, 1ms, Outcome::Done);
  };
  runAt(100ms, 50);
  EXPECT_FLOAT_EQ(statistics.figures(now).rate, 10.0F);
  runAt(20ms, 50);
  EXPECT_FLOAT_EQ(statistics.figures(now).rate, 50.0F);
  EXPECT_LT(statistics.figures(now + 10s).rate, 4.0F);
}

// The process counts what becomes of each time that it is asked.
TEST(RunStatistics, IsKeptByTheProcess)
{
  ku::ManualClock clock;
  const NodeSourcePtr source = makeSource("in", makeData(1));
  const auto filter =
      std::make_shared<FunctionFilter>("Slow", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                       [&](const DataList& inputs) -> DataList
                                       {
                                         clock.advance(3ms);
                                         if (inputs[0]->toInt() == 13)
                                           throw std::runtime_error("thirteen");
                                         return {inputs[0]};
                                       });
  const auto node = makeNode("slow", filter);
  link(*source, *node);
  const ProcessPtr process = makeProcess("p", {makeSink("o", *node)});
  process->addNode(node);
  process->addSourceVersion(source);
  process->setFrequency(1.0F);

  process->run(seconds(10));
  process->run(seconds(10) + Duration(1));  // too early
  process->setFrequency(1.0e9F);
  process->run(seconds(10));  // the same time, and nothing has changed
  source->setData(makeData(13));
  EXPECT_THROW(process->run(seconds(20)), std::runtime_error);

  const RunFigures figures = process->getFigures();
  EXPECT_EQ(figures.runs, 1U);
  EXPECT_EQ(figures.early, 1U);
  EXPECT_EQ(figures.unchanged, 1U);
  EXPECT_EQ(figures.failures, 1U);
  EXPECT_EQ(figures.mean, 3ms);
  EXPECT_EQ(node->getFigures().calls, 2U);
  EXPECT_EQ(node->getFigures().time, 3ms);
  process->reset();
  EXPECT_EQ(process->getFigures().runs, 0U);
}

// A light filter is timed now and then; what is told is still its time.
TEST(RunStatistics, SamplesLightFilters)
{
  ku::ManualClock clock;
  const NodeSourcePtr source = makeSource("in", makeData(1));
  const auto filter =
      std::make_shared<FunctionFilter>("Light", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                       [&](const DataList& inputs)
                                       {
                                         clock.advance(2us);
                                         return DataList{inputs[0]};
                                       });
  const auto node = makeNode("light", filter);
  link(*source, *node);
  const ProcessPtr process = makeProcess("p", {makeSink("o", *node)});
  for (int i = 1; i <= 161; ++i)
    process->run(seconds(i));
  EXPECT_EQ(node->getFigures().calls, 161U);
  EXPECT_EQ(node->getFigures().time, 161 * 2us);
  EXPECT_EQ(node->getFigures().longest, 2us);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
