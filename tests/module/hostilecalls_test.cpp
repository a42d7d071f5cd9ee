// Every method by name, with every argument that no caller should pass. A call may fail, in words; nothing that others
// have made may change by it.

#include "module/modulekit.h"

#include "filtrix/ku/object.h"
#include "filtrix/zrimage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::HasSubstr;
using testing::Not;
using Doubles = std::numeric_limits<double>;
using Longs = std::numeric_limits<std::int64_t>;

constexpr const char* program = "source s { 40 } source t { 2 }"
                                "process p(Add, 3, 20.0) { left <= s; right <= t; out => o; }";

struct Argument
{
  const char* name;
  ZRValue value;
};

// None of them is the name of anything.
std::vector<Argument> hostileArguments()
{
  ZRValue deep = 1;
  for (int i = 0; i < 200; ++i)
    deep = ZRValue::array(deep);
  return {{"Unknown", "nobody"},
          {"Empty", ""},
          {"Colon", ":"},
          {"UnknownSink", "p:nothing"},
          {"SinkOfNobody", "nobody:o"},
          {"Format", "%s{}%n"},
          {"Zero", std::string("p\0:o", 4)},
          {"Megabyte", std::string(std::size_t{1} << 20U, 'x')},
          {"Null", nullptr},
          {"True", true},
          {"Negative", -1},
          {"Least", Longs::min()},
          {"Greatest", Longs::max()},
          {"NoNumber", Doubles::quiet_NaN()},
          {"Infinite", -Doubles::infinity()},
          {"Huge", 1e300},
          {"Blob", ZRValue::Blob(1000, 0)},
          {"EmptyList", ZRValue(ZRValue::Array())},
          {"Deep", deep},
          {"Lists", ZRValue::array(ZRValue::array(1, "x", nullptr), ZRValue::array())}};
}

class HostileCallsTest : public testing::TestWithParam<Argument>
{
protected:
  // Tells how a call failed, or nothing.
  static std::string failureOf(ModuleBench& bench, const std::string& method,
                               const ku::DynamicObject::Arguments& arguments)
  {
    try
    {
      bench.module->call(method, arguments);
    }
    catch (const std::exception& error)
    {
      EXPECT_STRNE(error.what(), "") << method;
      return error.what();
    }
    return {};
  }
};

TEST_P(HostileCallsTest, FailInWordsAndChangeNothing)
{
  ModuleBench bench;
  ASSERT_TRUE(bench.call("loadProgram", program).asBoolean());
  const FiltrixPrivate& registry = bench.registry();
  const auto filters = registry.getFilters();
  const auto sources = registry.getSources();
  int failures = 0;
  for (const ku::Method& method : bench.module->getMethods())
  {
    if (method.parameters.empty())
      continue;
    // Beside it stands another such argument, or what is right there.
    for (const Argument& other : hostileArguments())
    {
      ku::DynamicObject::Arguments arguments(method.parameters.size(), other.value);
      arguments.front() = GetParam().value;
      failures += failureOf(bench, method.name, arguments).empty() ? 0 : 1;
      arguments.assign(method.parameters.size(), GetParam().value);
      arguments.front() = "p";
      if (arguments.size() > 1 && method.name.find("Process") == std::string::npos)
        failures += failureOf(bench, method.name, arguments).empty() ? 0 : 1;
    }
    const ku::DynamicObject::Arguments tooMany(9, GetParam().value);
    EXPECT_THAT(failureOf(bench, method.name, tooMany), HasSubstr(method.name));
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(registry.getFilters(), filters);
  EXPECT_EQ(registry.getSources(), sources);
  EXPECT_EQ(registry.getProcesses(), std::vector<std::string>{"p"});
  EXPECT_EQ(registry.getProcessFrequency("p"), 20.0F);
  EXPECT_EQ(registry.getProcessPriority("p"), 3U);
  EXPECT_TRUE(registry.isProcessEnable("p"));
  EXPECT_EQ(bench.call("getData", "p:o"), ZRValue::array("Integer", 42));
}

INSTANTIATE_TEST_SUITE_P(Arguments, HostileCallsTest, testing::ValuesIn(hostileArguments()),
                         [](const auto& test) { return std::string(test.param.name); });

// What a process is told about itself, and what it makes of it.
struct Setting
{
  const char* method;
  ZRValue value;
  const char* getter;
  ZRValue kept;
};

class SettingTest : public testing::TestWithParam<Setting>
{
};

TEST_P(SettingTest, IsHeldToItsRangeOrRefused)
{
  const auto& [method, value, getter, kept] = GetParam();
  ModuleBench bench;
  ASSERT_TRUE(bench.call("loadProgram", program).asBoolean());
  try
  {
    bench.call(method, "p", value);
  }
  catch (const std::exception& error)
  {
    EXPECT_STRNE(error.what(), "");
  }
  EXPECT_EQ(bench.call(getter, "p"), kept) << value.toText();
  // It runs as it should with any of them, and as it did once it is set right.
  bench.call("startScheduler");
  bench.call("getLastData", "p:o");
  bench.call("stopScheduler");
  bench.call("setProcessPriority", "p", 3);
  bench.call("setProcessFrequency", "p", 20.0);
  bench.call("setProcessTolerance", "p", 0);
  bench.call("resetProcess", "p");
  EXPECT_EQ(bench.call("getData", "p:o"), ZRValue::array("Integer", 42));
}

INSTANTIATE_TEST_SUITE_P(
    Values, SettingTest,
    testing::Values(Setting{"setProcessFrequency", Doubles::quiet_NaN(), "getProcessFrequency", 0.0F},
                    Setting{"setProcessFrequency", -5.0, "getProcessFrequency", 0.0F},
                    Setting{"setProcessFrequency", -Doubles::infinity(), "getProcessFrequency", 0.0F},
                    Setting{"setProcessFrequency", 1e-45, "getProcessFrequency", 1e-45F},
                    Setting{"setProcessFrequency", 1e30, "getProcessFrequency", 1e30F},
                    Setting{"setProcessPriority", 9, "getProcessPriority", 8},
                    Setting{"setProcessPriority", -1, "getProcessPriority", 3},
                    Setting{"setProcessPriority", std::numeric_limits<std::int32_t>::min(), "getProcessPriority", 3},
                    Setting{"setProcessPriority", Longs::max(), "getProcessPriority", 3},
                    Setting{"setProcessTolerance", -1, "getProcessPriority", 3},
                    Setting{"setProcessTolerance", Longs::max(), "getProcessPriority", 3}));

TEST(HostileCalls, ARenamedAliasIsStillRead)
{
  ModuleBench bench;
  FiltrixPrivate& registry = bench.registry();
  ASSERT_TRUE(bench.call("loadProgram", program).asBoolean());
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(registry.loadProgram("process q(Identity, 1, 10.0) { in <= a; out => o; }"));
  ASSERT_TRUE(registry.renameSourceAlias("a", "b"));
  EXPECT_TRUE(registry.isSourceBinded("b"));
  ASSERT_TRUE(registry.deleteProcess("p"));
  EXPECT_TRUE(registry.isSourceBinded("b")) << "also when all is looked at anew";
  EXPECT_FALSE(registry.isSourceBinded("a"));
  ASSERT_TRUE(registry.deleteProcess("q"));
  EXPECT_FALSE(registry.isSourceBinded("b"));
}

TEST(HostileCalls, TheMotionWorkerIsStartedAndStoppedFromEverywhere)
{
  ModuleBench bench;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
  {
    threads.emplace_back(
        [&bench, i]
        {
          for (int k = 0; k < 25; ++k)
            bench.call((i + k) % 2 == 0 ? "_startMotionWorker" : "_stopMotionWorker");
        });
  }
  for (std::thread& thread : threads)
    thread.join();
  bench.call("_stopMotionWorker");
  bench.log.clear();
  bench.call("_startMotionWorker");
  EXPECT_THAT(bench.log.texts(), Not(testing::Contains(HasSubstr("already running"))));
}

// The host takes the module away while others still call it: each call is served or refused, and the end waits for
// those in progress.
TEST(HostileCalls, EndWithTheModule)
{
  ModuleBench bench;
  ASSERT_TRUE(bench.call("loadProgram", program).asBoolean());
  bench.call("startScheduler");
  const std::weak_ptr<ZRFiltrix> module = std::exchange(bench.module, nullptr);
  std::atomic<int> served{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
  {
    threads.emplace_back(
        [&]
        {
          for (;;)
          {
            const auto held = std::dynamic_pointer_cast<ZRFiltrix>(bench.host.broker()->find("ZRFiltrix"));
            if (!held)
              return;
            EXPECT_EQ(held->call("getSourceData", {"s"}), ZRValue::array("Integer", 40));
            ++served;
          }
        });
  }
  while (served < 100)
    std::this_thread::yield();
  bench.host.broker()->remove("ZRFiltrix");
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_TRUE(module.expired());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
