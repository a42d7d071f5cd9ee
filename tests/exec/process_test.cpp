#include "exec/process.h"

#include "exec/event.h"
#include "graph/nodeprocesssource.h"
#include "graph/sourceadapter.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cmath>
#include <limits>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ProcessTest : public testing::Test
{
protected:
  ku::log::Capture log;
  const FunctionFilterPtr filter = makeIncrement();
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const std::shared_ptr<NodeFilter> node = makeNode("n", filter);
  NodeSinkPtr sink;

  void SetUp() override
  {
    link(*source, *node);
    sink = makeSink("sink", *node);
  }

  ProcessPtr make(float frequency)
  {
    const auto process = std::make_shared<Process>("p", 3, frequency, Duration(10));
    process->addSink(sink);
    return process;
  }
};

struct EarlyCase
{
  float frequency;
  std::int64_t last;
  std::int64_t now;
  bool early;
  std::int64_t wait;
};

TEST_F(ProcessTest, FrequencyGatesTheRuns)
{
  constexpr auto forever = std::numeric_limits<std::int64_t>::max();
  const EarlyCase cases[] = {
      {10.0F, 5'000'000, 5'099'999, true, 1},
      {10.0F, 5'000'000, 5'100'000, false, 0},
      {10.0F, 5'000'000, 5'300'000, false, -200'000},
      {10.0F, 5'000'000, 4'900'001, true, 199'999},
      {10.0F, 5'000'000, 4'900'000, false, 200'000},  // a clock set back by a period
      {3.0F, 5'000'000, 5'333'332, true, 1},          // a third of a second, truncated
      {0.0F, 5'000'000, 9'000'000, true, forever},
      {1.0e-30F, 5'000'000, 9'000'000, true, forever},  // a period longer than time can count
  };
  for (const EarlyCase& c : cases)
  {
    const ProcessPtr process = make(1000.0F);
    ASSERT_TRUE(process->run(Time(c.last)));
    process->setFrequency(c.frequency);
    const int before = filter->applied;
    EXPECT_EQ(process->isTooEarly(Time(c.now)), c.early) << c.frequency << " " << c.now;
    EXPECT_TRUE(process->run(Time(c.now))) << "too early is no failure";
    EXPECT_EQ(filter->applied - before, c.early ? 0 : 1) << c.frequency << " " << c.now;
    if (c.early && c.frequency > 1.0F)
    {
      EXPECT_EQ(process->timeToNextRun(Time(c.now)), Duration(c.wait));
    }
  }
  EXPECT_EQ(make(10.0F)->timeToNextRun(Time(300'000)), Duration(-200'000));
  EXPECT_GT(make(0.0F)->timeToNextRun(seconds(1)), Duration(1'000'000'000'000)) << "never due";
}

TEST_F(ProcessTest, TheSameTimeRunsAgainOnlyWhenASourceHasChanged)
{
  // As for the jobs of events that carry one time stamp.
  const ProcessPtr process = make(std::numeric_limits<float>::infinity());
  EXPECT_FALSE(process->addSourceVersion(source));
  EXPECT_TRUE(process->addSourceVersion(source)) << "known already";
  const auto runs = [&](std::int64_t second)
  {
    const int before = filter->applied;
    EXPECT_TRUE(process->run(seconds(second)));
    return filter->applied - before;
  };
  EXPECT_EQ(runs(1), 1);
  EXPECT_EQ(runs(1), 0);
  source->setData(nullptr);
  source->setData(makeData(2));
  EXPECT_EQ(runs(1), 1);
  EXPECT_EQ(runs(2), 1) << "any new time passes";
  EXPECT_EQ(runs(1), 1) << "an older one too";

  process->reset();
  EXPECT_EQ(sink->getLastData(), nullptr);
  EXPECT_EQ(process->getLastRun(), Time());
  EXPECT_EQ(runs(1), 1);

  class Zero final : public UserSource
  {
  public:
    std::string getName() override { return "zero"; }

    void setData(const DataPtr&) override {}

    DataPtr getData(Time, Duration) override { return nullptr; }
  };

  process->addSourceVersion(std::make_shared<SourceAdapter>(std::make_shared<Zero>()));
  EXPECT_EQ(runs(1), 1) << "a source without versions may always have something new";
}

TEST_F(ProcessTest, ReadingASink)
{
  const ProcessPtr process = make(10.0F);
  EXPECT_EQ(number(process->getData("sink", seconds(1))), 2);
  source->setData(makeData(5));
  EXPECT_EQ(number(process->getData("sink", Time(1'050'000))), 2) << "too early, so the last value";
  EXPECT_EQ(number(process->getData("sink", Time(1'100'000))), 6);

  process->setEnable(false);
  EXPECT_EQ(process->getData("sink", seconds(9)), nullptr);
  EXPECT_EQ(process->getLastData("sink"), nullptr);
  EXPECT_FALSE(process->run(seconds(9)));
  process->setZombie(true);
  EXPECT_EQ(number(process->getData("sink", seconds(9))), 6);

  const auto aggregated = std::make_shared<AggregatedSink>("sink");
  ASSERT_TRUE(aggregated->addSink("1", sink));
  process->addAggregatedSink(aggregated);
  process->run(seconds(20));
  EXPECT_EQ(Type::toText(*process->getLastData("sink")), "{6}") << "a name of both is the aggregated sink";
}

TEST_F(ProcessTest, InterfaceErrorsAreThrownAndLogged)
{
  const ProcessPtr process = make(10.0F);
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
  const std::vector<std::string> thrown = {
      textOf([&] { process->getData("x", seconds(1)); }),
      textOf([&] { (void)process->getLastData("x"); }),
      textOf([&] { process->setTolerance(Duration(-1)); }),
  };
  EXPECT_THAT(thrown, ElementsAre("Can't get data(\"x\"): the process p doesn't own this sink node.",
                                  "Can't get last data(\"x\"): the process p doesn't own this sink node.",
                                  "Can't set tolerance for process \"p\":tolerance must be positive."));
  EXPECT_EQ(log.texts("filtrix.process"), thrown);
  EXPECT_EQ(process->getTolerance(), Duration(10));
  process->setTolerance(Duration(0));
  EXPECT_EQ(process->getTolerance(), Duration(0));

  log.clear();
  process->addSink(std::make_shared<NodeSink>("sink"));
  process->addAggregatedSink(std::make_shared<AggregatedSink>("all"));
  process->addAggregatedSink(std::make_shared<AggregatedSink>("all"));
  process->addSink(nullptr);
  EXPECT_THAT(log.texts(), ElementsAre("Can't add sink to process. Sink already present.",
                                       "Can't add aggregated sink to process. Aggregated sink already present.",
                                       "Can't add sink to process. Sink is null."));
  EXPECT_EQ(process->getSinks().at("sink"), sink);
}

TEST_F(ProcessTest, PropertiesAreClamped)
{
  constexpr float inf = std::numeric_limits<float>::infinity();
  const ProcessPtr process = make(10.0F);
  process->setPriority(9);
  EXPECT_EQ(process->getPriority(), 8U);
  EXPECT_EQ(std::make_shared<Process>("q", 100, 1.0F, Duration())->getPriority(), 8U);
  for (const auto& [given, kept] : std::vector<std::pair<float, float>>{
           {-1.0F, 0.0F}, {-inf, 0.0F}, {-0.0F, 0.0F}, {30.0F, 30.0F}, {NAN, 0.0F}, {inf, inf}})
  {
    process->setFrequency(given);
    EXPECT_EQ(process->getFrequency(), kept) << given;
    EXPECT_TRUE(process->run(seconds(1000))) << given;
  }
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("got nan; 0 is used")));
}

TEST_F(ProcessTest, ANameOfAnyLengthWorks)
{
  for (const std::size_t length : {std::size_t{0}, std::size_t{1} << 20U})
  {
    const auto process = std::make_shared<Process>(std::string(length, 'x'), 1, 10.0F, Duration());
    process->addSink(sink);
    EXPECT_EQ(number(process->getData("sink", seconds(1))), 2);
  }
}

TEST_F(ProcessTest, AProcessSourceRunsItsProcessInlineAtTheReadersTime)
{
  const ProcessPtr upstream = make(10.0F);
  const auto reading = std::make_shared<NodeProcessSource>("p:sink", upstream, "sink");
  const FunctionFilterPtr second = makeIncrement();
  const auto readerNode = makeNode("reader", second);
  link(*reading, *readerNode);
  const NodeSinkPtr out = makeSink("out", *readerNode);
  const ProcessPtr reader = makeProcess("reader", {out});
  reader->addSourceVersion(reading);

  EXPECT_EQ(number(reader->getData("out", seconds(1))), 3);
  EXPECT_EQ(upstream->getLastRun(), seconds(1));
  source->setData(makeData(10));
  EXPECT_EQ(number(reader->getData("out", Time(1'050'000))), 3) << "upstream is not due yet";
  EXPECT_EQ(number(reader->getData("out", Time(1'100'000))), 12);
  EXPECT_EQ(reading->getVersion(), 0U);
}

TEST_F(ProcessTest, ARunWithinItselfIsRefusedInsteadOfLocking)
{
  const ProcessPtr process = make(1000.0F);
  int seen = 0;
  sink->addEvent(std::make_shared<Event>(
      [&](const DataPtr&)
      {
        process->reset();
        process->recover();
        seen = number(process->getData("sink", seconds(2)));
      }));
  process->run(seconds(1));
  EXPECT_EQ(seen, 2) << "the value that has just come";
  EXPECT_THAT(log.texts(), ElementsAre("reset(\"p\"): the process is asked to reset within its own run.",
                                       "run(\"p\"): the process is asked to run within its own run."));
}

// Each of two callbacks asks for the process whose callback asks for its own.
TEST(Callbacks, ThatWaitForOneAnotherGoOn)
{
  const ku::log::Capture log;
  const NodeSourcePtr source = makeSource("s", makeData(1));
  std::barrier both(2);
  std::array<ProcessPtr, 2> processes;
  std::array<DataPtr, 2> seen;
  std::array<std::atomic<bool>, 2> isCalled{};
  std::vector<std::shared_ptr<NodeFilter>> nodes;
  for (std::size_t i = 0; i < 2; ++i)
  {
    nodes.push_back(makeNode("n", makeIncrement()));
    link(*source, *nodes.back());
    const NodeSinkPtr sink = makeSink("sink", *nodes.back());
    processes[i] = makeProcess(i == 0 ? "a" : "b", {sink});
    sink->addEvent(std::make_shared<Event>(
        [&, i](const DataPtr&)
        {
          if (isCalled[i].exchange(true))
            return;  // by the other one, who got through in the end
          both.arrive_and_wait();
          seen[i] = processes[1 - i]->getData("sink", seconds(9));
        }));
  }
  {
    const std::jthread one([&] { EXPECT_TRUE(processes[0]->run(seconds(1))); });
    const std::jthread two([&] { EXPECT_TRUE(processes[1]->run(seconds(1))); });
  }
  EXPECT_EQ(number(seen[0]), 2);
  EXPECT_EQ(number(seen[1]), 2);
  ASSERT_THAT(log.texts(), Not(IsEmpty()));
  EXPECT_THAT(log.texts(), Each(EndsWith("): the process has been running for a second while a callback within another "
                                         "one's run waits for it; the callback goes on without.")));
}

// What must hold after a run that threw, wherever the filter stands.
struct BreakCase
{
  const char* name;
  bool inComposite;
  bool besideSecondSink;
  bool underProcessSource;
};

class BrokenRunTest : public testing::TestWithParam<BreakCase>
{
};

TEST_P(BrokenRunTest, LosesExactlyThatRun)
{
  const auto& [name, inComposite, besideSecondSink, underProcessSource] = GetParam();
  const ku::log::Capture log;
  int calls = 0;
  const auto thrower = std::make_shared<FunctionFilter>("Thrower", std::vector<std::string>{"in", "?side"},
                                                        std::vector<std::string>{"out"},
                                                        [&](const DataList& inputs) -> DataList
                                                        {
                                                          if (++calls == 3)
                                                            throw std::runtime_error("broken");
                                                          return {inputs[0]};
                                                        });
  FilterPtr filter = thrower;
  if (inComposite)
  {
    const auto composite = std::make_shared<FilterComposite>("Around");
    const auto first = makeNode("first", makeIncrement());
    const auto inner = makeNode("inner", thrower);
    link(*first, "", *inner, "in");
    composite->addNode(first);
    composite->addNode(inner);
    composite->exposeInput("first", "in");
    composite->exposeInput("inner", "side");
    composite->exposeOutput("first", "out", "early");
    composite->exposeOutput("inner", "out");
    filter = composite;
  }
  const NodeSourcePtr source = makeSource("s");
  const auto before = makeNode("before", makeIncrement());
  const auto node = makeNode("n", filter);
  link(*source, *before);
  link(*before, "", *node, "in");
  link(*source, "", *node, "side");
  std::vector<NodeSinkPtr> sinks{makeSink("sink", *node, "out")};
  if (besideSecondSink)
  {
    sinks.insert(sinks.begin(), makeSink("a", *before));
    sinks.push_back(makeSink("z", *before));
  }
  const ProcessPtr process = makeProcess("p", sinks);
  ProcessPtr top = process;
  NodeSinkPtr result = sinks[besideSecondSink ? 1 : 0];
  if (underProcessSource)
  {
    const auto reading = std::make_shared<NodeProcessSource>("p:sink", process, "sink");
    const auto readerNode = makeNode("reader", makeIncrement());
    link(*reading, *readerNode);
    result = makeSink("result", *readerNode);
    top = makeProcess("top", {result});
    top->addSource(reading);
    top->addNode(readerNode);
  }

  const int offset = 1 + (inComposite ? 1 : 0) + (underProcessSource ? 1 : 0);
  for (int run = 1; run <= 10; ++run)
  {
    source->setData(makeData(run));
    if (run == 3)
    {
      EXPECT_THROW(top->run(seconds(run)), std::runtime_error);
      EXPECT_TRUE(top->hasFailed());
      top->recover();
      continue;
    }
    ASSERT_TRUE(top->run(seconds(run)));
    EXPECT_EQ(number(result->getLastData()), run + offset) << "run " << run;
    EXPECT_FALSE(top->hasFailed());
  }
  EXPECT_EQ(calls, 10);
  EXPECT_EQ(source->getActiveScopes() + before->getActiveScopes() + node->getActiveScopes(), 0U);
  EXPECT_THAT(log.texts(), IsEmpty()) << "no count was off";
}

INSTANTIATE_TEST_SUITE_P(Places, BrokenRunTest,
                         testing::Values(BreakCase{"Alone", false, false, false},
                                         BreakCase{"InAComposite", true, false, false},
                                         BreakCase{"BesideASecondSink", false, true, false},
                                         BreakCase{"InACompositeBesideASecondSink", true, true, false},
                                         BreakCase{"UnderAProcessSource", true, true, true}),
                         [](const auto& test) { return std::string(test.param.name); });

// A source that throws while the graph is being synchronized, half way through.
TEST(BrokenSource, LeavesAGraphThatCanBeCleared)
{
  class Thrower final : public UserSource
  {
  public:
    std::string getName() override { return "thrower"; }

    void setData(const DataPtr&) override {}

    DataPtr getData(Time, Duration) override
    {
      if (broken)
        throw std::runtime_error("no frame");
      return makeData(5);
    }

    bool broken = true;
  };

  const ku::log::Capture log;
  const auto user = std::make_shared<Thrower>();
  const auto bad = std::make_shared<SourceAdapter>(user);
  const NodeSourcePtr good = makeSource("good", makeData(1));
  const auto sum = std::make_shared<FunctionFilter>(
      "Sum", std::vector<std::string>{"a", "b"}, std::vector<std::string>{"out"},
      [](const DataList& inputs) { return DataList{makeData(inputs[0]->toInt() + inputs[1]->toInt())}; });
  const auto node = makeNode("n", sum);
  link(*good, "", *node, "a");
  link(*bad, "", *node, "b");
  const auto composite = std::make_shared<FilterComposite>("Around");
  composite->addNode(node);
  composite->exposeOutput("n", "out");
  const auto outer = makeNode("outer", composite);
  const NodeSinkPtr sink = makeSink("sink", *outer);
  const ProcessPtr process = makeProcess("p", {sink});
  EXPECT_THROW(process->run(seconds(1)), std::runtime_error);
  process->reset();
  user->broken = false;
  EXPECT_EQ(number(process->getData("sink", seconds(2))), 6);
  EXPECT_EQ(good->getActiveScopes() + bad->getActiveScopes() + node->getActiveScopes(), 0U);
  EXPECT_THAT(log.texts(), IsEmpty());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
