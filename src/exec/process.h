#pragma once

#include "exec/processregistry.h"
#include "exec/runstatistics.h"
#include "graph/aggregatedsink.h"
#include "graph/nodesink.h"
#include "graph/nodesource.h"
#include "graph/origin.h"
#include "graph/processkey.h"
#include "graph/sinkreader.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace ZR::Filtrix
{
/// The unit that the scheduler runs: named sinks, the sources that they depend on, and the rate, priority and tolerance
/// of their execution. One run pulls every sink once, at one time, under one key. A process never runs twice at once.
///
/// A run does not catch what a filter or a source throws: the caller sees it. What such a run has raised in the graph
/// stays raised until `recover`.
///
/// Thread-safe, apart from the building operations, which come before the first run.
class Process final : public SinkReader, public Located
{
public:
  static constexpr std::uint32_t maxPriority = 8;

  /// `owner` is kept alive; it may be null.
  Process(const std::string& name, std::uint32_t priority, float frequency, Duration tolerance,
          std::shared_ptr<ProcessRegistry> owner = nullptr);
  ~Process() override;

  // Building.

  /// A sink of that name that is there already stays, and the new one is refused with a log line.
  void addSink(const NodeSinkPtr& sink);
  void addAggregatedSink(const AggregatedSinkPtr& sink);

  /// A source of that name that is there already stays.
  void addSource(const NodeSourcePtr& source);

  /// Keeps a node between the sources and the sinks alive: ports know their nodes but do not own them.
  void addNode(NodePtr node);

  /// Lets the source's version decide whether a run asked again for the same time has anything new. True when the
  /// source is known already.
  bool addSourceVersion(const NodeSourcePtr& source);

  // Running.

  /// One run at `time`. False when the process is not live, or is running on this very thread; true otherwise, also
  /// when it is too early, or nothing has changed, and nothing was pulled.
  ///
  /// A run in progress is waited for. But a callback within the run of another process, asking for this one, waits for
  /// a second at most: two that ask for each other would else wait for ever. Then there is no run, a log line, and
  /// false. `getData` gives the last value in that case.
  bool run(Time time);

  /// Runs at `time` if due, and gives the sink's value. Throws std::runtime_error when there is no such sink.
  DataPtr getData(const std::string& sinkName, Time time) override;

  /// The sink's value of the last run; null when the process is not live. Throws std::runtime_error when there is no
  /// such sink. A name of both a sink and an aggregated sink reads the latter.
  [[nodiscard]] DataPtr getLastData(const std::string& sinkName) const;

  /// Back to the start: nothing has run, the sinks are empty, every source counts as new.
  void reset();

  /// Clears what a run that broke off has left raised in every node that the process reaches.
  void recover() override;

  /// True when the last run broke off and nothing has cleared up after it.
  [[nodiscard]] bool hasFailed() const noexcept { return failed.load(std::memory_order_acquire); }

  /// How long until a run is due: negative when it is overdue, one period while the process is running.
  [[nodiscard]] Duration timeToNextRun(Time now) const;

  /// When a period has passed since the last run, whether or not the process is running.
  [[nodiscard]] Time getDue() const noexcept { return getLastRun() + _period(); }

  /// True when less than a period has passed since the last run. Always, at frequency 0. A clock that has stepped back
  /// by more than a period does not hold the process up.
  [[nodiscard]] bool isTooEarly(Time now) const noexcept;

  /// The same, and counts in the figures as having been asked too early.
  bool passIfEarly(Time now) noexcept;

  // Properties.

  [[nodiscard]] std::string getName() const;
  [[nodiscard]] ProcessKey getKey() const;

  /// That of the key, without a lock.
  [[nodiscard]] std::uint32_t getHash() const noexcept { return hash; }

  void rename(const std::string& name);
  [[nodiscard]] std::string getDescription() const;
  void setDescription(std::string text);

  [[nodiscard]] std::uint32_t getPriority() const noexcept { return priority; }

  /// Clamped to `maxPriority`. 0 keeps the process off the scheduler's list.
  void setPriority(std::uint32_t value) noexcept;

  [[nodiscard]] float getFrequency() const noexcept { return frequency; }

  /// Runs per second. Negative values count as 0, and so does what is not a number, with a log line. Above a million
  /// the period is no whole microsecond: the process then runs whenever its job comes up, as it does at infinity.
  void setFrequency(float value);

  [[nodiscard]] Duration getTolerance() const noexcept { return Duration(tolerance); }

  /// Throws std::runtime_error for a negative value.
  void setTolerance(Duration value);

  /// How its runs went, `reset` included as a new start.
  [[nodiscard]] RunFigures getFigures() const { return statistics.figures(ku::Clock::now()); }

  [[nodiscard]] Time getLastRun() const noexcept { return Time(lastRun); }

  [[nodiscard]] bool isEnable() const noexcept { return enable; }

  void setEnable(bool on) noexcept { enable = on; }

  /// A disabled process that runs on because a live one reads it.
  [[nodiscard]] bool isZombie() const noexcept { return zombie; }

  void setZombie(bool on) noexcept { zombie = on; }

  [[nodiscard]] bool isLive() const noexcept { return enable || zombie; }

  [[nodiscard]] const std::map<std::string, NodeSourcePtr>& getSources() const noexcept { return sources; }

  /// All that `addSource` was given, each at least once: beside those of `getSources` the ones whose name was taken. An
  /// alias that was renamed keeps the name of its node, which a source may have got since.
  [[nodiscard]] const std::vector<NodeSourcePtr>& getReadSources() const noexcept { return readSources; }

  /// The nodes that `addNode` was given, in order.
  [[nodiscard]] const std::vector<NodePtr>& getNodes() const noexcept { return nodes; }

  /// The source of that name; null when the process has none.
  [[nodiscard]] NodeSourcePtr findSource(const std::string& name) const;

  /// True when there is a sink or an aggregated sink of that name.
  [[nodiscard]] bool hasSink(const std::string& sinkName) const;

  [[nodiscard]] const std::map<std::string, NodeSinkPtr>& getSinks() const noexcept { return sinks; }

  [[nodiscard]] const std::map<std::string, AggregatedSinkPtr>& getAggregatedSinks() const noexcept
  {
    return aggregatedSinks;
  }

private:
  class RunGuard;

  [[nodiscard]] Duration _period() const noexcept { return Duration(period); }

  [[noreturn]] void _throwUnknownSink(std::string_view operation, const std::string& sinkName) const;
  bool _noteSourceVersions();
  void _pull(Time time, const ProcessKey& runKey);
  void _clearBrokenRun();
  [[nodiscard]] std::unique_lock<std::mutex> _lock(const char* operation) const;
  [[nodiscard]] bool _isRunningHere() const noexcept;

  // Held for the whole of a run, before any node's mutex. Guards sourceVersions and failedKey.
  mutable std::mutex mutex;

  // Read by the scheduler and by callers while a run holds the mutex.
  std::atomic<std::uint32_t> priority;
  std::atomic<float> frequency;
  std::atomic<std::int64_t> period{0};  // that of the frequency, microseconds
  std::atomic<std::int64_t> tolerance{0};
  std::atomic<std::int64_t> lastRun{0};
  std::atomic<bool> enable{true};
  std::atomic<bool> zombie{false};
  std::atomic<bool> failed{false};
  std::atomic<std::thread::id> runner;  // the thread of the run in progress

  std::atomic<std::uint32_t> hash{0};  // the key's

  mutable std::mutex nameMutex;  // a leaf lock on the key and the description
  ProcessKey key;
  std::string description;

  std::map<std::string, NodeSourcePtr> sources;
  std::vector<NodeSourcePtr> readSources;
  std::map<NodeSourcePtr, std::int64_t> sourceVersions;
  const std::shared_ptr<ProcessRegistry> owner;
  std::map<std::string, NodeSinkPtr> sinks;
  std::map<std::string, AggregatedSinkPtr> aggregatedSinks;
  std::vector<NodePtr> nodes;
  RunStatistics statistics;
  ProcessKey failedKey;  // the key of the run that broke off: the process may have another name since
};

using ProcessPtr = std::shared_ptr<Process>;
}  // namespace ZR::Filtrix
