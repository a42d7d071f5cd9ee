#include "program/filtrixprivate.h"

#include "program/registrytest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;

// What is listed is whole: who finds a process, a filter or an alias finds all of it, or that it is gone.
TEST_F(RegistryTest, AReaderNeverSeesAHalfMadeObject)
{
  constexpr int rounds = 600;
  clock.advance(1s);
  ASSERT_TRUE(bench.load("source s { 5 }"));
  std::latch start(3);
  std::atomic<int> writing{2};
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 2; ++writer)
  {
    threads.emplace_back(
        [&]
        {
          start.arrive_and_wait();
          for (int i = 0; i < rounds; ++i)
          {
            registry.createSourceAlias("a", "s");
            registry.loadProgram("filter F { Split x; x <= in; x:low => low; x:high => high; }");
            registry.loadProgram(
                "process p(F, 3, 1000.0) { in <= s; low => one; high => two; low => both; high => both; }");
            registry.renameProcess("p", "q");
            registry.renameSourceAlias("a", "b");
            registry.deleteProcess(i % 2 == 0 ? "q" : "p");
            registry.deleteFilter("F");
            registry.deleteSource("b");
          }
          --writing;
        });
  }

  // How many of the looks found nothing; as many lines of the log must say why.
  std::map<std::string, std::size_t> missed;
  std::size_t found = 0;
  const auto look = [&](const std::string& failure, const auto& seen, const auto& whole)
  {
    if (seen == whole)
      ++found;
    else if (seen == std::decay_t<decltype(seen)>())
      ++missed[failure];
    else
      ADD_FAILURE() << "half of it, where one would be told: " << failure;
  };
  const std::vector<std::string> sinks{"both", "one", "two"};
  const auto lookAtAll = [&]
  {
    for (const std::string name : {"p", "q"})
    {
      look("Can't get sinks of the process \"" + name + "\": process unknown.", registry.getProcessSinks(name), sinks);
      look("Can't get sources of the process \"" + name + "\": process unknown.", registry.getProcessSources(name),
           std::vector<std::string>{"s"});
      try
      {
        const DataPtr value = registry.getData(name + ":two");
        EXPECT_TRUE(!value || Type::toText(*value) == "5");  // none once it is deleted
      }
      catch (const std::runtime_error& error)
      {
        EXPECT_EQ(error.what(), "Can't get data(\"" + name + ":two\"):the process \"" + name + "\" does not exist.");
      }
    }
    look("getFilterInputs(\"F\"): filter not found.", registry.getFilterInputs("F").size(), std::size_t{1});
    look("getFilterOutputs(\"F\"): filter not found.", registry.getFilterOutputs("F").size(), std::size_t{2});
    for (const std::string name : {"a", "b"})
      look("Can't get data from source \"" + name + "\": source unknown.", number(registry.getSourceData(name)) == 5,
           true);
  };
  start.arrive_and_wait();
  while (writing > 0)
    lookAtAll();
  for (std::thread& thread : threads)
    thread.join();
  const std::vector<std::string> lines = bench.log.texts("filtrix.private");
  for (const auto& [failure, count] : missed)
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(lines, failure)), count) << failure;

  for (const std::string& name : registry.getProcesses())
    registry.deleteProcess(name);
  for (const char* const name : {"a", "b"})
    registry.deleteSource(name);
  found = 0;
  ASSERT_TRUE(registry.createSourceAlias("a", "s"));
  ASSERT_TRUE(bench.load("filter F { Split x; x <= in; x:low => low; x:high => high; } process q(F) { in <= s; "
                         "low => one; high => two; low => both; high => both; }"));
  lookAtAll();
  EXPECT_EQ(found, 5U) << "the looks find what is there";
}

// Callers, programs and the scheduler at once: what is checked is that nothing breaks, and that the registry is sound
// after.
TEST_F(RegistryTest, ManyThreadsMayDoAnythingAtOnce)
{
  ASSERT_TRUE(bench.load("source s { 1 } source t { 2 }"));
  registry.createSourceAlias("a", "s");
  registry.startScheduler();
  std::latch start(4);
  std::vector<std::thread> threads;
  for (int worker = 0; worker < 4; ++worker)
  {
    threads.emplace_back(
        [&, worker]
        {
          start.arrive_and_wait();
          for (int i = 0; i < 60; ++i)
          {
            const std::string name = "p" + std::to_string((i + worker) % 5);
            registry.loadProgram("process " + name + "(Dilation, 3, 1000.0) { in <= a; out => o; }");
            registry.setData("s", makeData(i));
            registry.retargetSourceAlias("a", i % 2 == 0 ? "t" : "s");
            registry.setProcessPriority(name, static_cast<std::uint32_t>(i % 9));
            registry.renameProcess(name, "p" + std::to_string(i % 7));
            (void)registry.getProcessSinks(name);
            (void)registry.getSourceFrequency("a");
            try
            {
              (void)registry.getData(name + ":o");
            }
            catch (const std::runtime_error&)
            {
              continue;  // renamed or deleted by another thread
            }
            if (i % 3 == 0)
              registry.deleteProcess(name);
            else
              registry.resetProcess(name);
          }
        });
  }
  for (std::thread& thread : threads)
    thread.join();
  registry.stopScheduler();
  for (const std::string& name : registry.getProcesses())
    registry.deleteProcess(name);
  ASSERT_TRUE(bench.load("process last(Dilation) { in <= a; out => o; }"));
  registry.setData("a", makeData(42));
  EXPECT_EQ(read("last:o"), "42");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
