#pragma once

#include "graph/node.h"
#include "graph/valuelistener.h"

namespace ZR::Filtrix
{
/// Where data leaves a graph: it holds the value of the last run. Its one input port is named "in". Thread-safe.
class NodeSink final : public Node
{
public:
  explicit NodeSink(std::string name);

  /// Pulls the value and gives back the counts, its own included. The value is kept, also when it is null; the events
  /// fire unless it is.
  DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                      const PortPtr& outputPort) override;

  /// Gives back the counts; the last value stays.
  void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                    const PortPtr& outputPort) override;

  void addEvent(std::shared_ptr<ValueListener> event) { events.add(std::move(event)); }

  [[nodiscard]] const PortPtr& getInput() const noexcept { return getInputs().front(); }

  [[nodiscard]] DataPtr getLastData() const;
  void reset();

private:
  mutable std::mutex mutex;  // a leaf lock on the last value
  DataPtr lastData;
  ValueListeners events;
};

using NodeSinkPtr = std::shared_ptr<NodeSink>;
}  // namespace ZR::Filtrix
