// Values carry the times that somebody has stamped on them: the last that a number can hold, none at all, or long ago.

#include "exec/event.h"
#include "exec/scheduler.h"
#include "filtrix/ku/clock.h"
#include "support/graphkit.h"
#include "support/testregistry.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;

constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t longAgo = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t year = std::int64_t{365} * 24 * 3600 * 1'000'000;

struct StampCase
{
  const char* name;
  std::int64_t stamp;
};

class StampTest : public testing::TestWithParam<StampCase>
{
protected:
  StampTest() { link(*source, *node); }

  ku::ManualClock clock;
  TestRegistry registry;
  const std::shared_ptr<Scheduler> scheduler = std::make_shared<Scheduler>(registry, 1);
  const NodeSourcePtr source = makeSource("s");
  const FunctionFilterPtr filter = makeIncrement();
  const std::shared_ptr<NodeFilter> node = makeNode("n", filter);
  const NodeSinkPtr sink = makeSink("sink", *node);
};

// The run that such a value causes takes place, and the next one at the usual time.
TEST_P(StampTest, HoldsNobodyUp)
{
  for (const float frequency : {0.001F, 1.0F, 1000.0F, std::numeric_limits<float>::infinity()})
  {
    const auto process = std::make_shared<Process>("p", 1, frequency, Duration(never));
    process->addSink(sink);
    registry.add(process);
    Event event(scheduler, process);
    const DataPtr value = makeData(1);
    value->setTimestamp(Time(GetParam().stamp));
    source->setData(value);
    event.fire(value);
    const Job job = scheduler->nextJob();
    ASSERT_EQ(job.process, process);
    EXPECT_EQ(job.time, value->timestamp());
    ASSERT_TRUE(process->run(job.time.isSet() ? job.time : Time::now()));
    EXPECT_EQ(number(sink->getLastData()), 2) << frequency;
    scheduler->finishJob(process);

    source->setData(makeData(5));
    clock.advance(frequency < 1.0F ? 1000s : 1s);
    ASSERT_TRUE(process->run(Time::now()));
    EXPECT_EQ(number(sink->getLastData()), 6) << frequency << ": it must not wait longer than a period";
    registry.remove("p");
    sink->reset();
  }
  EXPECT_EQ(node->getActiveScopes(), 0U);
}

// As for the scheduler: whoever has run at such a time comes up again.
TEST_P(StampTest, KeepsItsTurn)
{
  const auto process = std::make_shared<Process>("p", 1, 10.0F, Duration());
  process->addSink(sink);
  registry.add(process);
  source->setData(makeData(1));
  ASSERT_TRUE(process->run(Time(GetParam().stamp)));
  clock.advance(1s);
  EXPECT_EQ(scheduler->nextJob().process, nullptr) << "the first call fills the queue";
  EXPECT_EQ(scheduler->nextJob().process, process);
}

INSTANTIATE_TEST_SUITE_P(Times, StampTest,
                         testing::Values(StampCase{"Greatest", never}, StampCase{"Least", longAgo},
                                         StampCase{"Unset", 0},
                                         StampCase{"AYearAhead", Time::now().microseconds() + year},
                                         StampCase{"AnHourAgo", Time::now().microseconds() - 3'600'000'000}),
                         [](const auto& test) { return std::string(test.param.name); });
}  // namespace
}  // namespace ZR::Filtrix::Test
