#include "exec/scheduler.h"

#include "exec/event.h"
#include "filtrix/ku/clock.h"
#include "support/eventually.h"
#include "support/graphkit.h"
#include "support/testregistry.h"

#include <gmock/gmock.h>

#include <chrono>
#include <latch>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A filter whose calls last until the latch is opened.
FunctionFilterPtr makeBlocker(std::latch& release)
{
  return std::make_shared<FunctionFilter>("Blocker", std::vector<std::string>(), std::vector<std::string>{"out"},
                                          [&release](const DataList&)
                                          {
                                            release.wait();
                                            return DataList{makeData(1)};
                                          });
}

class SchedulerTest : public testing::Test
{
protected:
  ProcessPtr add(const std::string& name, std::uint32_t priority, float frequency = 10.0F)
  {
    auto process = std::make_shared<Process>(name, priority, frequency, Duration());
    registry.add(process);
    return process;
  }

  std::string cycle()
  {
    scheduler->rebuildJobs();
    std::string names;
    for (const ProcessPtr& process : scheduler->getCycle())
      names += process->getName();
    return names;
  }

  ku::log::Capture log;
  ku::ManualClock clock;
  TestRegistry registry;
  const std::shared_ptr<Scheduler> scheduler = std::make_shared<Scheduler>(registry, 2);
};

TEST_F(SchedulerTest, PrioritiesAreInterleaved)
{
  add("A", 1);
  add("B", 2);
  add("C", 3);
  EXPECT_EQ(cycle(), "CBCACBC");
}

TEST_F(SchedulerTest, OnlyTheDistanceBetweenPrioritiesCounts)
{
  add("A", 8);
  add("B", 8);
  EXPECT_EQ(cycle(), "AB");
  add("C", 6);
  EXPECT_EQ(cycle(), "ABABCABAB");
  add("off", 0);
  add("disabled", 8)->setEnable(false);
  EXPECT_EQ(cycle(), "ABABCABAB");
  add("Z", 6)->setEnable(false);
  registry.forEachProcess([](const ProcessPtr& process) { process->setZombie(process->getName() == "Z"); });
  EXPECT_EQ(cycle(), "ABABCZABAB") << "a zombie is live";
}

// For any mix of priorities, a process of weight w stands w times in a cycle and no further apart than halving allows.
TEST_F(SchedulerTest, SharesAreExactAndEvenForAnyMix)
{
  unsigned state = 12345;
  for (int round = 0; round < 50; ++round)
  {
    std::map<std::string, std::uint32_t> priorities;
    std::uint32_t lowest = 8;
    for (int i = 0; i < 6; ++i)
    {
      state = state * 1664525U + 1013904223U;
      const std::uint32_t priority = 1 + (state >> 16U) % 8;
      lowest = std::min(lowest, priority);
      priorities[std::string(1, static_cast<char>('A' + i))] = priority;
      add(std::string(1, static_cast<char>('A' + i)), priority);
    }
    const std::string names = cycle();
    for (const auto& [name, priority] : priorities)
    {
      const auto weight = std::size_t{1} << (priority - lowest);
      EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(names, name[0])), weight) << names;
      std::size_t longest = 0;
      std::size_t last = 0;
      for (std::size_t at = 0; at < names.size(); ++at)
      {
        if (names[at] == name[0])
        {
          longest = std::max(longest, at - last);
          last = at;
        }
      }
      EXPECT_LE(longest, 2 * names.size() / weight + 6) << name << " in " << names;
    }
  }
}

TEST_F(SchedulerTest, AddedJobsComeFirstTheLastOneBeforeTheOthers)
{
  const ProcessPtr a = add("A", 1);
  const ProcessPtr b = add("B", 1);
  scheduler->rebuildJobs();
  EXPECT_EQ(scheduler->nextJob().process, nullptr) << "the first call fills the queue";
  scheduler->addJob(a, seconds(7));
  scheduler->addJob(nullptr, seconds(7));
  const Job first = scheduler->nextJob();
  EXPECT_EQ(first.process, a);
  EXPECT_EQ(first.time, seconds(7));
  EXPECT_EQ(scheduler->nextJob().process, b) << "from the back of the cycle";
  EXPECT_EQ(scheduler->nextJob().process, nullptr) << "A is running, so its job of the cycle is dropped";
  scheduler->finishJob(a);
  scheduler->finishJob(b);
  (void)scheduler->nextJob();
  EXPECT_EQ(scheduler->nextJob().process, b);
  EXPECT_EQ(scheduler->nextJob().process, a);
}

// A source goes on while nobody takes the jobs of its events, for days if need be.
TEST_F(SchedulerTest, KeepsTheNewestJobOfEachProcessUntilTheStart)
{
  const ProcessPtr a = add("A", 0);
  const ProcessPtr b = add("B", 0);
  for (int i = 1; i <= 1000; ++i)
  {
    scheduler->addJob(a, seconds(i));
    scheduler->addJob(b, seconds(2 * i));
  }
  for (const auto& [process, time] : {std::pair(b, 2000), std::pair(a, 1000)})
  {
    const Job job = scheduler->nextJob();
    EXPECT_EQ(job.process, process);
    EXPECT_EQ(job.time, seconds(time));
  }
  EXPECT_EQ(scheduler->nextJob().process, nullptr);
}

TEST_F(SchedulerTest, DropsTheOldestJobsOfWorkersThatDoNotKeepUp)
{
  std::latch release(1);
  const FunctionFilterPtr blocker = makeBlocker(release);
  std::vector<std::shared_ptr<NodeFilter>> nodes;
  for (const char* const name : {"one", "two"})
  {
    nodes.push_back(makeNode(name, blocker));
    add(name, 1)->addSink(makeSink("sink", *nodes.back()));
  }
  const FunctionFilterPtr counter = makeIncrement();
  const NodeSourcePtr source = makeSource("s", makeData(1));
  nodes.push_back(makeNode("counter", counter));
  link(*source, *nodes.back());
  const ProcessPtr late = add("late", 0, 1.0F);
  late->addSink(makeSink("sink", *nodes.back()));
  scheduler->rebuildJobs();
  scheduler->start();
  ASSERT_TRUE(eventually([&] { return blocker->applied == 2; }));
  for (int i = 1; i <= 150'000; ++i)
    scheduler->addJob(late, seconds(i));
  EXPECT_THAT(log.texts(), ElementsAre("The processes do not keep up with their events: the oldest 65536 of 131072 "
                                       "jobs are dropped."));
  release.count_down();
  ASSERT_TRUE(eventually([&] { return late->getLastRun().isSet(); }));
  scheduler->stop();
  EXPECT_GE(late->getLastRun(), seconds(65'537)) << "the newest jobs are there still, and taken first";
}

TEST_F(SchedulerTest, AnIdleWorkerSleepsUntilTheFirstProcessIsDueButNotLonger)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const FunctionFilterPtr filter = makeIncrement();
  const auto node = makeNode("n", filter);
  link(*source, *node);
  const ProcessPtr process = add("A", 1, 25.0F);
  process->addSink(makeSink("sink", *node));
  scheduler->rebuildJobs();
  scheduler->start();
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
  ASSERT_EQ(filter->applied, 1) << "due at once";
  for (int run = 2; run <= 5; ++run)
  {
    clock.advance(39ms);
    ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
    ASSERT_EQ(filter->applied, run - 1);
    clock.advance(1ms);
    ASSERT_TRUE(eventually([&] { return filter->applied == run; })) << "a run every 40 ms";
    ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
  }
  scheduler->stop();
}

TEST_F(SchedulerTest, AnEventRunsItsProcessAtTheTimeOfTheValueAndWakesAWorker)
{
  const NodeSourcePtr source = makeSource("s");
  const auto node = makeNode("n", makeIncrement());
  link(*source, *node);
  const ProcessPtr process = add("A", 0);
  const NodeSinkPtr sink = makeSink("sink", *node);
  process->addSink(sink);
  const auto event = std::make_shared<Event>(scheduler, process);
  source->addEvent(event);
  scheduler->rebuildJobs();
  scheduler->start();
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));

  const DataPtr value = makeData(1);
  value->setTimestamp(seconds(42));
  source->setData(value);  // and the clock stands still: nothing but the event can wake a worker
  ASSERT_TRUE(eventually([&] { return sink->getLastData() != nullptr; }));
  EXPECT_EQ(number(sink->getLastData()), 2);
  EXPECT_EQ(process->getLastRun(), seconds(42));

  scheduler->stop();
  EXPECT_FALSE(scheduler->isRunning());
}

TEST_F(SchedulerTest, EventsOutliveNeitherProcessNorScheduler)
{
  auto process = std::make_shared<Process>("gone", 1, 1.0F, Duration());
  auto other = std::make_shared<Scheduler>(registry, 1);
  Event event(other, process);
  process.reset();
  event.fire(makeData(1));
  other->stop();  // so that asking for a job does not sleep
  EXPECT_EQ(other->nextJob().process, nullptr);
  const auto kept = add("kept", 1);
  Event late(other, kept);
  other.reset();
  late.fire(makeData(1));
  Event empty{Event::Callback()};
  try
  {
    empty.fire(makeData(1));
    FAIL() << "expected an exception";
  }
  catch (const std::exception& error)
  {
    EXPECT_STREQ(error.what(), "call to empty boost::function");
  }
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(SchedulerTest, AProcessThatIsNoLongerRegisteredDoesNotRunAgain)
{
  const FunctionFilterPtr filter = makeIncrement();
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const auto node = makeNode("n", filter);
  link(*source, *node);
  const ProcessPtr process = add("A", 1);
  process->addSink(makeSink("sink", *node));
  scheduler->rebuildJobs();
  registry.remove("A");
  scheduler->start();
  ASSERT_TRUE(eventually([&] { return scheduler->getCycle().empty(); }));
  scheduler->addJob(process, seconds(5));
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
  scheduler->stop();
  EXPECT_EQ(filter->applied, 0);
}

// One process throws every third run, two others go on; nobody loses more than those runs, and no worker ends.
TEST_F(SchedulerTest, AThrowingFilterCostsItsOwnRunAndNothingElse)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const FunctionFilterPtr shared = makeIncrement();
  const auto sharedNode = makeNode("shared", shared);
  link(*source, *sharedNode);
  std::atomic<int> calls{0};
  std::atomic<int> good{0};
  const auto thrower =
      std::make_shared<FunctionFilter>("Thrower", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                       [&](const DataList& inputs) -> DataList
                                       {
                                         if (++calls % 3 == 0)
                                           throw 7;  // not even a std::exception
                                         ++good;
                                         return {inputs[0]};
                                       });
  const auto throwing = makeNode("throwing", thrower);
  link(*sharedNode, *throwing);
  add("bad", 2, 100.0F)->addSink(makeSink("sink", *throwing));
  std::vector<FunctionFilterPtr> others;
  std::vector<std::shared_ptr<NodeFilter>> nodes;
  for (const char* const name : {"one", "two"})
  {
    others.push_back(makeIncrement());
    nodes.push_back(makeNode(name, others.back()));
    link(*sharedNode, *nodes.back());
    add(name, 1, 100.0F)->addSink(makeSink("sink", *nodes.back()));
  }
  scheduler->rebuildJobs();
  scheduler->start();
  for (int round = 1; round <= 30; ++round)
  {
    ASSERT_TRUE(
        eventually([&] { return calls >= round && others[0]->applied >= round && others[1]->applied >= round; }))
        << "round " << round;
    ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
    clock.advance(10ms);
  }
  ASSERT_TRUE(eventually([&] { return calls >= 31 && others[0]->applied >= 31 && others[1]->applied >= 31; }));
  ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
  scheduler->stop();
  EXPECT_EQ(calls, 31);
  EXPECT_EQ(good, 21);
  EXPECT_EQ(sharedNode->getActiveScopes(), 0U);
  EXPECT_THAT(log.entries(), ElementsAre(ku::log::Entry{ku::log::Level::Fatal, "filtrix.scheduler",
                                                        "The process \"bad\" failed: unknown exception"}))
      << "the same cause within ten seconds is told once, and no count was off";
}

TEST_F(SchedulerTest, ASteadyFailureIsToldAgainAfterAWhileWithACount)
{
  const auto thrower =
      std::make_shared<FunctionFilter>("Thrower", std::vector<std::string>(), std::vector<std::string>{"out"},
                                       [&](const DataList&) -> DataList { throw std::runtime_error("no light"); });
  const auto node = makeNode("n", thrower);
  add("bad", 1, 1.0F)->addSink(makeSink("sink", *node));
  scheduler->rebuildJobs();
  scheduler->start();
  for (int round = 1; round <= 11; ++round)
  {
    ASSERT_TRUE(eventually([&] { return thrower->applied >= round; }));
    ASSERT_TRUE(ku::ManualClock::waitForSleepers(2));
    clock.advance(1s);
  }
  ASSERT_TRUE(eventually([&] { return log.texts().size() == 2; }));
  scheduler->stop();
  EXPECT_THAT(log.texts(), ElementsAre("The process \"bad\" failed: no light",
                                       "The process \"bad\" failed: no light (9 more since the last report)"));
}

TEST_F(SchedulerTest, TellsOnceOfARunThatLastsLongAndServesTheOthers)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  std::latch entered(1);
  std::latch mayEnd(1);
  const auto slow = makeNode("slow", std::make_shared<FunctionFilter>("Slow", std::vector<std::string>{"in"},
                                                                      std::vector<std::string>{"out"},
                                                                      [&](const DataList& inputs) -> DataList
                                                                      {
                                                                        entered.count_down();
                                                                        mayEnd.wait();
                                                                        return {inputs[0]};
                                                                      }));
  link(*source, *slow);
  add("stuck", 1, 1.0F)->addSink(makeSink("sink", *slow));
  const FunctionFilterPtr other = makeIncrement();
  const auto node = makeNode("node", other);
  link(*source, *node);
  add("lively", 1, 10.0F)->addSink(makeSink("sink", *node));
  scheduler->rebuildJobs();
  scheduler->start();
  entered.wait();
  for (int round = 1; round <= 15; ++round)
  {
    ASSERT_TRUE(eventually([&] { return other->applied >= round; })) << "round " << round;
    ASSERT_TRUE(ku::ManualClock::waitForSleepers(1));
    clock.advance(100ms);
  }
  ASSERT_TRUE(eventually([&] { return !log.entries().empty(); }));
  mayEnd.count_down();
  scheduler->stop();
  EXPECT_THAT(log.entries(), ElementsAre(ku::log::Entry{ku::log::Level::Warning, "filtrix.scheduler",
                                                        "The process \"stuck\" has been running for more than 1 s."}));
}

TEST_F(SchedulerTest, TellsOfRunsThatHoldAllWorkers)
{
  std::latch release(1);
  const FunctionFilterPtr blocker = makeBlocker(release);
  const auto one = makeNode("one", blocker);
  const auto two = makeNode("two", blocker);
  add("first", 1)->addSink(makeSink("sink", *one));
  add("second", 1)->addSink(makeSink("sink", *two));
  scheduler->rebuildJobs();
  scheduler->start();
  EXPECT_TRUE(eventually([&] { return blocker->applied == 2; }));
  clock.advance(1s);
  EXPECT_TRUE(eventually([&] { return log.texts().size() == 2; }));
  EXPECT_THAT(log.texts(), testing::UnorderedElementsAre("The process \"first\" has been running for more than 1 s.",
                                                         "The process \"second\" has been running for more than 1 s."));
  release.count_down();
  scheduler->stop();
}

TEST_F(SchedulerTest, SaysForWhomAStopWaits)
{
  std::latch release(1);
  const FunctionFilterPtr blocker = makeBlocker(release);
  const auto node = makeNode("n", blocker);
  add("stuck", 1)->addSink(makeSink("sink", *node));
  scheduler->rebuildJobs();
  scheduler->start();
  ASSERT_TRUE(eventually([&] { return blocker->applied == 1; }));
  std::jthread stopping([&] { scheduler->stop(); });
  EXPECT_TRUE(eventually([&] { return !log.texts().empty(); }));
  EXPECT_THAT(log.texts(), ElementsAre("stop(): waiting for the process \"stuck\", whose run does not end."));
  release.count_down();
}

// A clock that was set back by half an hour must not hold anybody up for that time.
TEST_F(SchedulerTest, GoesOnWhenTheClockIsSetBack)
{
  const ProcessPtr process = add("a", 1, 10.0F);
  process->run(Time::now());
  clock.advance(-30min);
  EXPECT_EQ(scheduler->nextJob().process, nullptr) << "the first call fills the queue";
  EXPECT_EQ(scheduler->nextJob().process, process);
}

TEST_F(SchedulerTest, StartsAndStopsFromAnywhere)
{
  std::atomic<int> fired{0};
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const auto node = makeNode("n", makeIncrement());
  link(*source, *node);
  const NodeSinkPtr sink = makeSink("sink", *node);
  add("A", 1)->addSink(sink);
  sink->addEvent(std::make_shared<Event>(
      [&](const DataPtr&)
      {
        scheduler->stop();
        EXPECT_FALSE(scheduler->start());
        ++fired;
      }));
  scheduler->rebuildJobs();
  EXPECT_TRUE(scheduler->stop()) << "stopped already";
  scheduler->start();
  EXPECT_TRUE(eventually([&] { return fired == 1 && !scheduler->isRunning(); })) << "stopped by its own worker";
  clock.advance(1s);
  EXPECT_TRUE(scheduler->start());
  EXPECT_TRUE(eventually([&] { return fired == 2; }));
  EXPECT_TRUE(scheduler->stop());

  std::latch ready(8);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
  {
    threads.emplace_back(
        [&, i]
        {
          ready.arrive_and_wait();
          for (int k = 0; k < 20; ++k)
            (k + i) % 2 == 0 ? scheduler->start() : scheduler->stop();
        });
  }
  for (std::thread& thread : threads)
    thread.join();
  scheduler->stop();
  EXPECT_FALSE(scheduler->isRunning());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
