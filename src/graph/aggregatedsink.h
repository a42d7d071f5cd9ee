#pragma once

#include "graph/nodesink.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
/// Several sinks read as one Array, in the order of their names. Thread-safe once its sinks are added.
class AggregatedSink final
{
public:
  explicit AggregatedSink(std::string name);

  /// For building only. False when a sink is there under this name already.
  bool addSink(const std::string& sinkName, NodeSinkPtr sink);

  /// Gathers the last values of the sinks into a new Array and fires the events with it. One value missing: no Array,
  /// and no event.
  void update();

  void addEvent(std::shared_ptr<ValueListener> event) { events.add(std::move(event)); }

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  [[nodiscard]] const std::map<std::string, NodeSinkPtr>& getSinks() const noexcept { return sinks; }

  [[nodiscard]] DataPtr getLastData() const;

private:
  const std::string name;
  std::map<std::string, NodeSinkPtr> sinks;
  ValueListeners events;

  mutable std::mutex mutex;  // a leaf lock on the last value
  DataPtr lastData;
};

using AggregatedSinkPtr = std::shared_ptr<AggregatedSink>;
}  // namespace ZR::Filtrix
