#include "exec/process.h"

#include "filtrix/ku/log.h"
#include "graph/runrecovery.h"
#include "graph/valuelistener.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <thread>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.process";

/// How long a callback within a run waits for the run of another process.
constexpr std::chrono::seconds callbackPatience{1};

thread_local int runsHere = 0;  // of processes that read one another, that this thread is in

// At frequency 0, and at rates that no count of microseconds can hold, the longest there is.
std::int64_t periodOf(float frequency)
{
  const auto period = static_cast<float>(1'000'000.0 / static_cast<double>(frequency));
  constexpr auto longest = std::numeric_limits<std::int64_t>::max();
  return period < static_cast<float>(longest) ? static_cast<std::int64_t>(period) : longest;
}

[[noreturn]] void logAndThrow(const std::string& text)
{
  ku::log::write(ku::log::Level::Error, category, text);
  throw std::runtime_error(text);
}
}  // namespace

// Marks the thread of a run, and the process as failed when the run does not come to its end.
class Process::RunGuard
{
public:
  RunGuard(Process& process_, const ProcessKey& runKey_) : process(process_), runKey(runKey_)
  {
    process.runner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    start = ku::Clock::now();
    ++runsHere;
  }

  RunGuard(const RunGuard&) = delete;
  RunGuard& operator=(const RunGuard&) = delete;

  ~RunGuard()
  {
    --runsHere;
    process.runner.store(std::thread::id(), std::memory_order_relaxed);
    process.statistics.addRun(start, ku::Clock::now() - start,
                              complete ? RunStatistics::Outcome::Done : RunStatistics::Outcome::Failed);
    if (complete)
      return;
    process.failedKey = runKey;
    process.failed.store(true, std::memory_order_release);
  }

  void done() noexcept { complete = true; }

private:
  Process& process;
  const ProcessKey& runKey;
  ku::Clock::time_point start;
  bool complete = false;
};

Process::Process(const std::string& name, std::uint32_t priority_, float frequency_, Duration tolerance_,
                 std::shared_ptr<ProcessRegistry> owner_)
    : priority(std::min(priority_, maxPriority)), frequency(0.0F), key(name), owner(std::move(owner_)), failedKey(name)
{
  hash = key.getHash();
  setFrequency(frequency_);
  setTolerance(tolerance_);
}

Process::~Process() = default;

void Process::addSink(const NodeSinkPtr& sink)
{
  if (!sink || !sinks.emplace(sink->getName(), sink).second)
    ku::log::error(category, "Can't add sink to process. {}{}", sink ? "Sink already present." : "Sink is null.",
                   originText());
}

void Process::addAggregatedSink(const AggregatedSinkPtr& sink)
{
  if (!sink || !aggregatedSinks.emplace(sink->getName(), sink).second)
    ku::log::error(category, "Can't add aggregated sink to process. {}{}",
                   sink ? "Aggregated sink already present." : "Aggregated sink is null.", originText());
}

void Process::addSource(const NodeSourcePtr& source)
{
  if (!source)
    return;
  const auto [entry, isNew] = sources.emplace(source->getName(), source);
  if (isNew || entry->second != source)
    readSources.push_back(source);
}

void Process::addNode(NodePtr node)
{
  nodes.push_back(std::move(node));
}

bool Process::addSourceVersion(const NodeSourcePtr& source)
{
  return source == nullptr || !sourceVersions.emplace(source, -1).second;
}

bool Process::run(Time time)
{
  if (_isRunningHere())
  {
    ku::log::error(category, "run(\"{}\"): the process is asked to run within its own run.{}", getName(), originText());
    return false;
  }
  const auto lock = _lock("run");
  if (!lock.owns_lock() || !isLive())
    return false;
  if (isTooEarly(time))
  {
    statistics.addEarly();
    return true;
  }
  const bool sameTime = getLastRun() == time;
  if (!_noteSourceVersions() && sameTime)
  {
    statistics.addUnchanged();
    return true;
  }
  lastRun = time.microseconds();
  const ProcessKey runKey = getKey();
  RunGuard guard(*this, runKey);
  _pull(time, runKey);
  guard.done();
  return true;
}

// Notes the version of every source; true when one has changed, or has none to go by.
bool Process::_noteSourceVersions()
{
  bool changed = false;
  for (auto& [source, version] : sourceVersions)
  {
    const auto current = static_cast<std::int64_t>(source->getVersion());
    if (current == version && current != 0)
      continue;
    version = current;
    changed = true;
  }
  return changed;
}

// All sinks are synchronized before any is pulled, so that a filter between two of them runs once.
void Process::_pull(Time time, const ProcessKey& runKey)
{
  const Duration runTolerance = getTolerance();
  for (const auto& [name, sink] : sinks)
    sink->synchronize(time, runTolerance, runKey, runKey, 0);
  for (const auto& [name, sink] : sinks)
    sink->requestData(runKey, runKey, 0, nullptr);
  for (const auto& [name, sink] : aggregatedSinks)
    sink->update();
}

DataPtr Process::getData(const std::string& sinkName, Time time)
{
  if (!hasSink(sinkName))
    _throwUnknownSink("Can't get data", sinkName);
  run(time);
  return getLastData(sinkName);
}

DataPtr Process::getLastData(const std::string& sinkName) const
{
  if (!hasSink(sinkName))
    _throwUnknownSink("Can't get last data", sinkName);
  if (!isLive())
    return nullptr;
  if (const auto aggregated = aggregatedSinks.find(sinkName); aggregated != aggregatedSinks.end())
    return aggregated->second->getLastData();
  return sinks.at(sinkName)->getLastData();
}

void Process::reset()
{
  if (_isRunningHere())
  {
    ku::log::error(category, "reset(\"{}\"): the process is asked to reset within its own run.{}", getName(),
                   originText());
    return;
  }
  const auto lock = _lock("reset");
  if (!lock.owns_lock())
    return;
  _clearBrokenRun();
  statistics.clear();
  lastRun = 0;
  for (const auto& [name, sink] : sinks)
    sink->reset();
  for (const auto& [name, sink] : aggregatedSinks)
    sink->update();
  for (auto& [source, version] : sourceVersions)
    version = -1;
}

void Process::recover()
{
  if (!hasFailed() || _isRunningHere())
    return;
  if (const auto lock = _lock("recover"); lock.owns_lock())
    _clearBrokenRun();
}

std::unique_lock<std::mutex> Process::_lock(const char* operation) const
{
  if (runsHere == 0 || !ValueListeners::isFiring())
    return std::unique_lock(mutex);
  std::unique_lock lock(mutex, std::try_to_lock);
  const auto end = std::chrono::steady_clock::now() + callbackPatience;
  while (!lock.owns_lock() && std::chrono::steady_clock::now() < end)
  {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    static_cast<void>(lock.try_lock());
  }
  if (!lock.owns_lock())
    ku::log::error(category,
                   "{}(\"{}\"): the process has been running for a second while a callback within another one's run "
                   "waits for it; the callback goes on without.{}",
                   operation, getName(), originText());
  return lock;
}

void Process::_clearBrokenRun()
{
  if (!hasFailed())
    return;
  RecoveryWalk walk;
  for (const auto& [name, sink] : sinks)
    sink->abandonRun(failedKey, failedKey, walk);
  failed.store(false, std::memory_order_release);
}

Duration Process::timeToNextRun(Time now) const
{
  const std::unique_lock lock(mutex, std::try_to_lock);
  return lock.owns_lock() ? getLastRun() + _period() - now : _period();
}

bool Process::isTooEarly(Time now) const noexcept
{
  if (frequency <= 0.0F)
    return true;
  const Duration interval = _period();
  const Time last = getLastRun();
  return last + interval > now && last - interval < now;
}

bool Process::passIfEarly(Time now) noexcept
{
  if (!isTooEarly(now))
    return false;
  statistics.addEarly();
  return true;
}

std::string Process::getName() const
{
  const std::lock_guard lock(nameMutex);
  return key.getName();
}

ProcessKey Process::getKey() const
{
  const std::lock_guard lock(nameMutex);
  return key;
}

void Process::rename(const std::string& name)
{
  ProcessKey newKey(name);
  const std::lock_guard lock(nameMutex);
  std::swap(key, newKey);
  hash = key.getHash();
}

std::string Process::getDescription() const
{
  const std::lock_guard lock(nameMutex);
  return description;
}

void Process::setDescription(std::string text)
{
  const std::lock_guard lock(nameMutex);
  description.swap(text);
}

void Process::setPriority(std::uint32_t value) noexcept
{
  priority = std::min(value, maxPriority);
}

void Process::setFrequency(float value)
{
  if (std::isnan(value))
    ku::log::error(category, "setFrequency(\"{}\"): expected a number of runs per second, got nan; 0 is used.{}",
                   getName(), originText());
  frequency = value > 0.0F ? value : 0.0F;
  period = periodOf(frequency);
}

void Process::setTolerance(Duration value)
{
  if (value < Duration(0))
    logAndThrow(fmt::format("Can't set tolerance for process \"{}\":tolerance must be positive.", getName()));
  tolerance = value.microseconds();
}

NodeSourcePtr Process::findSource(const std::string& name) const
{
  const auto entry = sources.find(name);
  return entry != sources.end() ? entry->second : nullptr;
}

bool Process::hasSink(const std::string& sinkName) const
{
  return sinks.contains(sinkName) || aggregatedSinks.contains(sinkName);
}

void Process::_throwUnknownSink(std::string_view operation, const std::string& sinkName) const
{
  logAndThrow(fmt::format("{}(\"{}\"): the process {} doesn't own this sink node.", operation, sinkName, getName()));
}

bool Process::_isRunningHere() const noexcept
{
  return runner.load(std::memory_order_relaxed) == std::this_thread::get_id();
}
}  // namespace ZR::Filtrix
