#include "program/programkit.h"

#include "filtrix/ku/clock.h"
#include "graph/filterprimitive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <stdexcept>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;

enum class Place
{
  Apply,
  ApplyEmpty,
  Synchronize,
  Release
};

// Hands its input on, and throws in one place while it is told to.
class Breaking final : public FilterPrimitive
{
public:
  explicit Breaking(Place place_) : FilterPrimitive("Breaking"), place(place_)
  {
    addInput("in");
    addOutput("out");
  }

  void filterSynchronize(Time, Duration, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    _pass(Place::Synchronize);
  }

  void filterSynchronizeRelease(const ProcessKey&, const ProcessKey&, std::uint64_t) override { _pass(Place::Release); }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    _pass(Place::Apply);
    return inputs;
  }

  void applyEmpty(const ProcessKey&, const ProcessKey&, std::uint64_t) override { _pass(Place::ApplyEmpty); }

  bool isBroken = true;

private:
  void _pass(Place here) const
  {
    if (isBroken && here == place)
      throw std::runtime_error("broken");
  }

  const Place place;
};

class BrokenRunTest : public testing::TestWithParam<Place>
{
};

// With no scheduler to clear up behind it, a caller's next call is not served what the broken run has left.
TEST_P(BrokenRunTest, TheCallersNextOneIsWhole)
{
  ku::ManualClock clock;
  FiltrixPrivate registry;
  addLibrary(registry);
  const auto breaking = std::make_shared<Breaking>(GetParam());
  registry.addFilter(breaking);
  registry.addFilter(std::make_shared<FunctionFilter>("Second", std::vector<std::string>{"gate", "in"},
                                                      std::vector<std::string>{"out"},
                                                      [](const DataList& inputs) { return DataList{inputs[1]}; }));
  registry.createSource("frame");
  registry.createSource("gate");
  ASSERT_TRUE(
      registry.loadProgram("filter Both { Breaking b; Dilation before; Second s; before <= in; before -> b; "
                           "s:gate <= gate; b -> s:in; s => out; before => early; }"
                           "process p(Both, 3, 1000.0) { in <= frame; gate <= gate; out => o; early => early; }"));
  // The filter behind a missing input is passed by instead of applied.
  if (GetParam() != Place::ApplyEmpty)
    registry.setData("gate", makeData(1));
  const ku::log::Capture log(ku::log::Level::Error);
  for (int value = 1; value <= 3; ++value)
  {
    registry.setData("frame", makeData(value));
    clock.advance(1s);
    EXPECT_THROW(static_cast<void>(registry.getData("p:o")), std::runtime_error);
  }
  breaking->isBroken = false;
  registry.setData("gate", makeData(1));
  for (int value = 10; value <= 12; ++value)
  {
    registry.setData("frame", makeData(value));
    clock.advance(1s);
    EXPECT_EQ(number(registry.getData("p:o")), value);
    EXPECT_EQ(number(registry.getLastData("p:early")), value);
  }
  EXPECT_THAT(log.texts(), testing::IsEmpty()) << "no count was off";
}

std::string nameOf(const testing::TestParamInfo<Place>& test)
{
  constexpr const char* names[] = {"Apply", "ApplyEmpty", "Synchronize", "Release"};
  return names[static_cast<int>(test.param)];
}

INSTANTIATE_TEST_SUITE_P(Places, BrokenRunTest,
                         testing::Values(Place::Apply, Place::ApplyEmpty, Place::Synchronize, Place::Release), nameOf);

// A run that lasts holds up those who read its process, and nobody else.
TEST(LongRun, LeavesTheRegistryToTheOthers)
{
  FiltrixPrivate registry;
  addLibrary(registry);
  std::latch entered(1);
  std::latch release(1);
  registry.addFilter(std::make_shared<FunctionFilter>("Blocker", std::vector<std::string>{"in"},
                                                      std::vector<std::string>{"out"},
                                                      [&](const DataList& inputs)
                                                      {
                                                        entered.count_down();
                                                        release.wait();
                                                        return inputs;
                                                      }));
  ASSERT_TRUE(registry.loadProgram("source s { 1 } process slow(Blocker, 3, 1000.0) { in <= s; out => o; }"));
  auto slow = std::async(std::launch::async, [&] { return number(registry.getData("slow:o")); });
  entered.wait();
  auto others = std::async(std::launch::async,
                           [&]
                           {
                             registry.setData("s", makeData(2));
                             registry.setProcessPriority("slow", 5);
                             EXPECT_TRUE(registry.loadProgram("process p(Dilation, 3, 1000.0) { in <= s; out => o; }"));
                             EXPECT_EQ(number(registry.getData("p:o")), 2);
                             EXPECT_EQ(registry.getProcesses().size(), 2U);
                             EXPECT_EQ(registry.getLastData("slow:o"), nullptr);
                             EXPECT_TRUE(registry.renameProcess("p", "q"));
                             EXPECT_TRUE(registry.deleteProcess("q"));
                           });
  EXPECT_EQ(others.wait_for(20s), std::future_status::ready);
  release.count_down();
  EXPECT_EQ(slow.get(), 1);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
