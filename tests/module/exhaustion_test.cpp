// What happens when the machine has no more: each allocation in turn is refused while a program is loaded, run, changed
// and deleted and while values are converted. Whatever was refused, the caller hears of it, nothing half-made stays,
// and the same call works once there is memory again.
//
// The program counts what it allocates. So it can also tell that work which comes and goes for ever costs nothing.

#include "module/modulekit.h"

#include "filtrix/data.h"
#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "filtrix/ku/periodictask.h"
#include "filtrix/userfilter.h"
#include "graph/dotgraph.h"
#include "module/valuebridge.h"
#include "program/programkit.h"
#include "support/eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{
// Of this thread: how many more allocations are granted before one is refused; negative: all are.
thread_local std::int64_t granted = -1;
thread_local bool isRefusedForGood = false;
thread_local bool wasRefused = false;

// Of all threads but those that are spared: whether there is any memory. And how often there was none.
std::atomic<bool> isAllGone{false};
thread_local bool isSpared = false;
std::atomic<std::int64_t> allRefusals{0};

std::atomic<std::int64_t> livingBlocks{0};

bool isRefused() noexcept
{
  if (isAllGone.load(std::memory_order_relaxed) && !isSpared)
  {
    ++allRefusals;
    return true;
  }
  if (granted < 0)
    return false;
  if (granted > 0)
  {
    --granted;
    return false;
  }
  wasRefused = true;
  if (!isRefusedForGood)
    granted = -1;
  return true;
}
}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
  void* const block = isRefused() ? nullptr : std::malloc(size > 0 ? size : 1);
  if (block != nullptr)
    ++livingBlocks;
  return block;
}

void* operator new(std::size_t size)
{
  void* const block = operator new(size, std::nothrow);
  if (block == nullptr)
    throw std::bad_alloc();
  return block;
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
  const auto step = static_cast<std::size_t>(alignment);
  void* const block = isRefused() ? nullptr : std::aligned_alloc(step, (size + step - 1) / step * step);
  if (block == nullptr)
    throw std::bad_alloc();
  ++livingBlocks;
  return block;
}

void operator delete(void* block) noexcept
{
  if (block == nullptr)
    return;
  --livingBlocks;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
  operator delete(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
  operator delete(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
  operator delete(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
  operator delete(block);
}

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;

/// How memory runs out: for one allocation, or from one on until the call is over.
enum class Shortage : bool
{
  momentary,
  lasting
};

/// Calls `act` with its first allocation refused, then with its second, and so on, until it comes through without any
/// being refused; after each call `check`. Gives the number of allocations that were refused.
template <typename Act, typename Check>
std::int64_t refuseEach(Shortage shortage, const Act& act, const Check& check)
{
  for (std::int64_t number = 0;; ++number)
  {
    SCOPED_TRACE("allocation " + std::to_string(number));
    bool refused = false;
    granted = number;
    isRefusedForGood = shortage == Shortage::lasting;
    wasRefused = false;
    try
    {
      act();
    }
    catch (const std::exception&)
    {
      // The caller hears of it; what must hold now is for `check` to say.
    }
    granted = -1;
    refused = wasRefused;
    check();
    if (!refused || testing::Test::HasFailure())
    {
      testing::Test::RecordProperty("refusals", std::to_string(number));
      return number;
    }
  }
}

class ShortageTest : public testing::TestWithParam<Shortage>
{
protected:
  // A bench whose clock stands still, so that a process runs when the test says so.
  ku::ManualClock clock;
  ku::log::Capture log{ku::log::Level::Error};
};

constexpr const char* program = "filter Both { Dilation a; Compare c; a <= in; a -> c:left; c => out; }"
                                "source frame { 7 }"
                                "process p(Both, 3, 1000.0) { source own; in <= frame; out => o; all ~> self:o; }"
                                "process q(Dilation, 3, 1000.0) { in <= p:o; out => o; }";
constexpr const char* event = "event q { p:o }";

void clear(FiltrixPrivate& registry)
{
  for (const std::string& name : registry.getProcesses())
    EXPECT_TRUE(registry.deleteProcess(name)) << name;
  for (const std::string& name : registry.getSources())
    EXPECT_TRUE(registry.deleteSource(name)) << name;
  const bool isThere = registry.hasFilter("Both");
  EXPECT_EQ(registry.deleteFilter("Both"), isThere);
}

// That a program can be loaded and does what it says, whatever happened before.
void expectWorks(FiltrixPrivate& registry, ku::ManualClock& clock)
{
  clear(registry);
  ASSERT_TRUE(registry.loadProgram(program));
  clock.advance(1s);
  EXPECT_EQ(number(registry.getData("q:o")), 7);
  EXPECT_TRUE(registry.isSourceBinded("frame"));
  EXPECT_EQ(registry.getScheduledJobs().size(), 2U);
  clear(registry);
}

TEST_P(ShortageTest, ALoadFailsAndCanBeRepeated)
{
  FiltrixPrivate registry;
  addLibrary(registry);
  const std::string text = std::string(program) + event;
  bool loaded = false;
  const std::int64_t refusals = refuseEach(
      GetParam(), [&] { loaded = registry.loadProgram(text); }, [&] { expectWorks(registry, clock); });
  EXPECT_TRUE(loaded);
  EXPECT_GT(refusals, 100) << "a load has more to allocate";
}

TEST_P(ShortageTest, ARunFailsAndTheNextOneIsWhole)
{
  FiltrixPrivate registry;
  addLibrary(registry);
  ASSERT_TRUE(registry.loadProgram(program));
  int value = 100;
  const std::int64_t refusals = refuseEach(
      GetParam(),
      [&]
      {
        // Under new names the process meets tables that do not know it.
        registry.renameProcess("p", "r");
        registry.renameProcess("r", "p");
        clock.advance(1s);
        static_cast<void>(registry.getData("q:o"));
      },
      [&]
      {
        const std::vector<std::string> names = registry.getProcesses();
        ASSERT_EQ(names.size(), 2U);
        if (names.back() == "r")
        {
          ASSERT_TRUE(registry.renameProcess("r", "p"));
        }
        ASSERT_TRUE(registry.resetProcess("p"));
        ASSERT_TRUE(registry.resetProcess("q"));
        registry.setData("frame", makeData(++value));
        clock.advance(1s);
        EXPECT_EQ(number(registry.getData("q:o")), value);
      });
  EXPECT_GT(refusals, 5);
  for (const auto& line : log.entries())
    EXPECT_NE(line.level, ku::log::Level::Fatal) << line.text;
}

TEST_P(ShortageTest, DeletionsAreDoneOrNot)
{
  FiltrixPrivate registry;
  addLibrary(registry);
  ASSERT_TRUE(registry.loadProgram(program));
  refuseEach(
      GetParam(),
      [&]
      {
        registry.deleteProcess("q");
        registry.deleteSource("frame");
        registry.deleteProcess("p");
        registry.deleteFilter("Both");
      },
      [&]
      {
        expectWorks(registry, clock);
        ASSERT_TRUE(registry.loadProgram(program));
      });
}

TEST_P(ShortageTest, WhatIsAskedIsUnchanged)
{
  FiltrixPrivate registry;
  addLibrary(registry);
  ASSERT_TRUE(registry.loadProgram(program));
  const std::string drawn = registry.getDotGraph("Both", -1);
  refuseEach(
      GetParam(),
      [&]
      {
        static_cast<void>(registry.getDotGraph("Both", -1));
        static_cast<void>(registry.getFilterInputs("Both"));
        static_cast<void>(registry.getScheduledJobs());
        static_cast<void>(registry.getProcessSources("p"));
        registry.setProcessPriority("p", 5);
        registry.setProcessFrequency("p", 500.0F);
        registry.setData("frame", makeData(8));
        registry.disableProcess("p");
        registry.enableProcess("p");
        registry.stopScheduler();
      },
      [&]
      {
        EXPECT_EQ(registry.getDotGraph("Both", -1), drawn);
        EXPECT_TRUE(registry.enableProcess("p"));
        registry.setData("frame", makeData(9));
        clock.advance(1s);
        EXPECT_EQ(number(registry.getData("q:o")), 9);
        EXPECT_EQ(registry.getScheduledJobs().size() % 2, registry.getProcessPriority("p") == 5 ? 1U : 0U);
      });
}

DataPtr person()
{
  const auto human = std::make_shared<Type::Human>(7, "Anna");
  const auto body =
      std::make_shared<Type::Object2D>(std::make_shared<Type::Region2>(Type::Vector2{1, 2}, Type::Vector2{3, 4}));
  body->setProperty(3, makeData("a text that is too long to stand in the string itself"));
  human->setObject2D("BodyImage", body);
  human->setScore("near enough to be looked at", 0.5F);
  return makeData(DataArray{makeData(human), makeData(1.5F), makeData(true)});
}

TEST_P(ShortageTest, AConversionFailsAndCanBeRepeated)
{
  const DataPtr value = person();
  const std::string expected = ValueBridge::toZRValue(value).toText();
  const std::string tagged = R"(["String","a text that is too long to stand in the string itself"])";
  const std::int64_t refusals = refuseEach(
      GetParam(),
      [&]
      {
        static_cast<void>(ZRValue::fromText(ValueBridge::toZRValue(value).toText()));
        static_cast<void>(ValueBridge::toZRValue(ValueBridge::toData(ZRValue::fromText(tagged))));
        static_cast<void>(Type::toText(*value));
      },
      [&] { EXPECT_EQ(ValueBridge::toZRValue(value).toText(), expected); });
  EXPECT_GT(refusals, 30);
}

TEST_P(ShortageTest, AnImageIsHandedOutOrNot)
{
  const DataPtr image = makeData(
      std::make_shared<Type::ColorImage>(cv::Mat(4, 6, CV_8UC3, cv::Scalar(1, 2, 3)), "camera", Time(5), 1.0F, 0.5F));
  const ZRValue expected = ValueBridge::toRemoteImage(image);
  refuseEach(
      GetParam(), [&] { static_cast<void>(ValueBridge::toRemoteImage(image)); },
      [&] { EXPECT_EQ(ValueBridge::toRemoteImage(image), expected); });
}

INSTANTIATE_TEST_SUITE_P(Memory, ShortageTest, testing::Values(Shortage::momentary, Shortage::lasting),
                         [](const auto& test)
                         { return test.param == Shortage::momentary ? std::string("Momentary") : "Lasting"; });

// For a while no thread gets any memory: the workers of the scheduler, those of the periodic tasks, the timer.
TEST(ShortageEverywhere, CostsTheRunsOfThatTimeAndNoMore)
{
  isSpared = true;
  const ku::log::Capture log(ku::log::Level::Fatal);
  FiltrixPrivate registry;
  registry.addFilter(
      std::make_shared<FunctionFilter>("Fresh", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                       [](const DataList& inputs) { return DataList{makeData(inputs[0]->toInt())}; }));
  ASSERT_TRUE(registry.loadProgram("source s { 0 } process p(Fresh, 3, 500.0) { in <= s; out => o; }"
                                   "process q(Fresh, 1, 100.0) { in <= p:o; out => o; }"));
  std::int32_t fed = 0;
  ku::PeriodicTask feeder;
  feeder.setUsPeriod(3'000);
  feeder.setCallback(
      [&]
      {
        std::string text = "a text too long to stand in the string itself";
        text += std::to_string(fed);
        registry.setData("s", makeData(++fed));
      });
  feeder.start();
  ASSERT_TRUE(registry.startScheduler());
  std::int32_t seen = 0;
  const auto goesOn = [&]
  {
    return eventually(
        [&]
        {
          const DataPtr value = registry.getLastData("q:o");
          return value && number(value) > seen + 5;
        });
  };
  for (int round = 0; round < 5; ++round)
  {
    ASSERT_TRUE(goesOn()) << "round " << round;
    const std::int64_t before = allRefusals;
    isAllGone = true;
    EXPECT_TRUE(eventually([&] { return allRefusals >= before + 20; }));
    std::this_thread::sleep_for(100ms);
    isAllGone = false;
    seen = number(registry.getLastData("q:o"));
  }
  EXPECT_TRUE(goesOn());
  registry.stopScheduler();
  feeder.stop();
  isSpared = false;
}

// How many there are of something now, and after the same has been done many times.
void expectFlat(int times, const std::function<std::int64_t()>& count, const std::function<void()>& act)
{
  for (int i = 0; i < 100; ++i)
    act();
  const std::int64_t before = count();
  for (int i = 0; i < times; ++i)
    act();
  EXPECT_EQ(count(), before);
}

std::int64_t countEntries(const char* folder)
{
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

TEST(LongUptime, RunsCostNoMemory)
{
  ku::ManualClock clock;
  FiltrixPrivate registry;
  addLibrary(registry);
  ASSERT_TRUE(registry.loadProgram(program));
  std::int32_t value = 0;
  expectFlat(
      1'000'000, [] { return livingBlocks.load(); },
      [&]
      {
        clock.advance(10ms);
        registry.setData("frame", makeData(++value));
        ASSERT_EQ(number(registry.getData("q:o")), value);
      });
}

TEST(LongUptime, RunsThatFailEverySecondTimeCostNoMemory)
{
  ku::ManualClock clock;
  FiltrixPrivate registry;
  int calls = 0;
  registry.addFilter(std::make_shared<FunctionFilter>("Flaky", std::vector<std::string>{"in"},
                                                      std::vector<std::string>{"out"},
                                                      [&](const DataList& inputs) -> DataList
                                                      {
                                                        if (++calls % 2 == 0)
                                                          throw std::runtime_error("flaky");
                                                        return {makeData(inputs[0]->toInt() + 1)};
                                                      }));
  ASSERT_TRUE(registry.loadProgram("filter F { Flaky a; Flaky b; a <= in; a -> b; a => first; b => second; }"
                                   "source s { 1 } process p(F, 1, 1000.0) { in <= s; first => a; second => b; }"));
  int failures = 0;
  expectFlat(
      100'000, [] { return livingBlocks.load(); },
      [&]
      {
        clock.advance(10ms);
        registry.setData("s", makeData(calls));
        try
        {
          static_cast<void>(registry.getData("p:b"));
        }
        catch (const std::runtime_error&)
        {
          ++failures;
          registry.resetProcess("p");
        }
      });
  EXPECT_GT(failures, 5'000);
}

// Keeps the sum of its inputs.
class Sum final : public UserFilter
{
public:
  std::string getName() override { return "Sum"; }

  std::string getDescription() override { return ""; }

  std::vector<std::string> getInputs() override { return {"in"}; }

  std::vector<std::string> getOutputs() override { return {"out"}; }

  bool isStateful() override { return true; }

  DataList run(const DataList& inputs) override
  {
    setMemory(makeData(inputs[0]->toInt() + (getMemory() ? getMemory()->toInt() : 0)));
    return {getMemory()};
  }
};

TEST(LongUptime, ProgramsThatComeAndGoCostNoMemory)
{
  ku::ManualClock clock;
  FiltrixPrivate registry;
  addLibrary(registry);
  registry.addFilter(std::make_shared<Sum>());
  expectFlat(
      100'000, [] { return livingBlocks.load(); },
      [&]
      {
        ASSERT_TRUE(registry.loadProgram(program));
        ASSERT_TRUE(registry.loadProgram("process sum(Sum, 3, 1000.0) { in <= p:o; out => o; }"));
        clock.advance(1s);
        ASSERT_EQ(number(registry.getData("q:o")), 7);
        ASSERT_EQ(number(registry.getData("sum:o")), 7) << "no state of the one before";
        clear(registry);
      });
}

TEST(LongUptime, LoadsThatFailLeaveNothingOpen)
{
  const ku::log::Capture log(ku::log::Level::Error);
  FiltrixPrivate registry;
  addLibrary(registry);
  const auto resources = [] { return countEntries("/proc/self/fd") + countEntries("/proc/self/task"); };
  expectFlat(10'000, resources,
             [&]
             {
               registry.loadProgram("import file { missing.fxs } process p(Nothing) { }");
               registry.loadProgramFromFile("/proc/self/exe");
               registry.loadProgramFromFile("/nowhere/at.fxs");
             });
  EXPECT_FALSE(log.texts().empty());
}

TEST(LongUptime, ModulesThatComeAndGoLeaveNoThreadAndNoMemory)
{
  const ku::log::Capture log(ku::log::Level::Fatal);
  const auto comeAndGo = []
  {
    ModuleBench bench;
    bench.call("loadProgram", "source s { 1 } process p(Identity, 1, 10.0) { in <= s; out => o; }");
    EXPECT_EQ(bench.call("getData", "p:o"), ZRValue::array("Integer", 1));
    bench.call("startScheduler");
    _closeModule();
  };
  constexpr int times = 200;
  for (int i = 0; i < 3; ++i)
    comeAndGo();
  const std::int64_t threads = countEntries("/proc/self/task");
  const std::int64_t blocks = livingBlocks;
  for (int i = 0; i < times; ++i)
    comeAndGo();
  // What the shared pool of threads has at the moment comes and goes; what is left behind would be so each time.
  EXPECT_LT(livingBlocks - blocks, times / 4);
  EXPECT_LT(countEntries("/proc/self/task") - threads, times / 10);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
