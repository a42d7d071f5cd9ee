#include "filtrix/ku/future.h"

#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <string>
#include <thread>

namespace ku
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(Future, GivesTheValueToEveryCopyAndThread)
{
  Promise<std::string> promise;
  const Future<std::string> future = promise.future();
  EXPECT_EQ(future.state(), FutureState::Running);
  EXPECT_FALSE(future.wait(0ms));
  {
    const std::jthread a([copy = future] { EXPECT_EQ(copy.value(), "frame"); });
    const std::jthread b([copy = future] { EXPECT_EQ(copy.value(10s), "frame"); });
    promise.setValue("frame");
  }
  EXPECT_EQ(future.value(), "frame");
  EXPECT_EQ(future.error(), "");
  EXPECT_THROW(promise.setValue("another"), std::logic_error);
  EXPECT_EQ(future.value(), "frame");
}

TEST(Future, TellsHowItFailed)
{
  std::optional<Promise<int>> promise(std::in_place);
  const Future<int> broken = promise->future();
  try
  {
    (void)broken.value(0ms);
    FAIL();
  }
  catch (const FutureTimeout& error)
  {
    EXPECT_STREQ(error.what(), "no result within 0 ms");
  }
  promise.reset();
  EXPECT_EQ(broken.error(), "the promise ended without a result");

  const auto thrown = async([]() -> int { throw std::out_of_range("row 7"); });
  EXPECT_THROW((void)thrown.value(), std::out_of_range);
  EXPECT_EQ(thrown.state(), FutureState::Error);
  EXPECT_EQ(async([] { throw 7; }).error(), "what was thrown is no std::exception");
}

TEST(Future, CallsWhatIsConnectedOnceBeforeOrAfter)
{
  const log::Capture capture;
  std::vector<std::string> calls;
  Promise<int> promise;
  const Future<int> future = promise.future();
  future.connect([&](const Future<int>& self) { calls.push_back("before " + std::to_string(self.value())); });
  future.connect([](const Future<int>&) { throw std::runtime_error("listener broke"); });
  EXPECT_TRUE(calls.empty());
  promise.setValue(3);
  future.connect([&](const Future<int>& self) { calls.push_back("after " + std::to_string(self.value())); });
  EXPECT_THAT(calls, ElementsAre("before 3", "after 3"));
  EXPECT_THAT(capture.texts("ku.future"), ElementsAre("a connected callback failed: listener broke"));
}

TEST(Future, ChainsValuesAndErrors)
{
  Promise<int> promise;
  const auto doubled = promise.future().then([](const Future<int>& self) { return 2 * self.value(); });
  const auto text = doubled.then([](const Future<int>& self) { return std::to_string(self.value()); });
  promise.setValue(21);
  EXPECT_EQ(text.value(), "42");

  Promise<int> failing;
  const auto after = failing.future().then([](const Future<int>& self) { (void)self.value(); });
  failing.setError("no camera");
  EXPECT_EQ(after.error(), "no camera");
}

TEST(Async, CanBeCancelledUnderWay)
{
  std::latch begun(1);
  const auto future = async(
      [&](const CancelRequest& request) -> int
      {
        begun.count_down();
        while (!request.isRequested())
          std::this_thread::yield();
        throw FutureCancelled();
      });
  begun.wait();
  EXPECT_FALSE(future.isFinished());
  future.cancel();
  EXPECT_THROW((void)future.value(10s), FutureCancelled);
  EXPECT_EQ(future.state(), FutureState::Cancelled);
}

TEST(Async, FinishesWhateverTheRequestWhenItDoesNotListen)
{
  std::latch begun(1);
  std::latch go(1);
  const auto future = async(
      [&]
      {
        begun.count_down();
        go.wait();
        return 5;
      });
  begun.wait();
  future.cancel();
  go.count_down();
  EXPECT_EQ(future.value(10s), 5);
}

// Each waits for the next: a pool that did not grow would stand still at its second thread.
TEST(Async, MayWaitForOneAnother)
{
  std::function<int(int)> countFrom = [&](int n) -> int
  { return n == 0 ? 0 : 1 + async([&, n] { return countFrom(n - 1); }).value(); };
  EXPECT_EQ(countFrom(10), 10);
}
}  // namespace
}  // namespace ku
