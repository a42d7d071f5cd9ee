#pragma once

#include "filtrix/ku/log.h"
#include "platform/inprocessbroker.h"
#include "program/filtrixprivate.h"
#include "program/programkit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// What the tests of live sources share.
namespace ZR::Filtrix::Test
{
/// What was called, in order. Thread-safe.
class CallList
{
public:
  void add(std::string call)
  {
    const std::lock_guard lock(mutex);
    calls.push_back(std::move(call));
    changed.notify_all();
  }

  /// What came since the last time.
  std::vector<std::string> take()
  {
    const std::lock_guard lock(mutex);
    return std::exchange(calls, {});
  }

  [[nodiscard]] std::size_t size() const
  {
    const std::lock_guard lock(mutex);
    return calls.size();
  }

  /// Waits, in real time, until there are so many.
  [[nodiscard]] bool waitFor(std::size_t count)
  {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(10), [&] { return calls.size() >= count; });
  }

private:
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::string> calls;
};

/// A registry with a few filters, beside a broker for the robot's services.
class RobotBench
{
public:
  RobotBench() { addLibrary(*registry); }

  /// A process that reads a source so many times a second.
  void read(const std::string& source, const std::string& frequency = "15.0", const std::string& process = "p")
  {
    EXPECT_TRUE(
        registry->loadProgram("process " + process + "(Dilation, 1, " + frequency + ") { in <= " + source + "; }"));
  }

  /// What a source is set to next, waited for in real time; null when nothing comes.
  DataPtr nextValue(const std::string& source)
  {
    const auto came = std::make_shared<std::promise<DataPtr>>();
    const auto once = std::make_shared<std::once_flag>();
    registry->createSourceEvent("event", source, "",
                                [=](const DataPtr& value) { std::call_once(*once, [&] { came->set_value(value); }); });
    auto value = came->get_future();
    return value.wait_for(std::chrono::seconds(10)) == std::future_status::ready ? value.get() : nullptr;
  }

  ku::log::Capture log;
  Host host{"robot"};
  std::shared_ptr<FiltrixPrivate> registry = std::make_shared<FiltrixPrivate>();
};

/// Where calls get stuck until it is opened.
class Gate
{
public:
  void pass()
  {
    std::unique_lock lock(mutex);
    hasArrived = true;
    changed.notify_all();
    changed.wait(lock, [this] { return isOpen; });
  }

  void open()
  {
    const std::lock_guard lock(mutex);
    isOpen = true;
    changed.notify_all();
  }

  /// Waits, in real time, until one is stuck.
  [[nodiscard]] bool waitForOne()
  {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(10), [this] { return hasArrived; });
  }

private:
  std::mutex mutex;
  std::condition_variable changed;
  bool isOpen = false;
  bool hasArrived = false;
};
}  // namespace ZR::Filtrix::Test
