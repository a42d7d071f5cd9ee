#pragma once

#include "graph/node.h"
#include "graph/runrecovery.h"
#include "graph/valuelistener.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
/// Where data enters a graph: it holds the newest value that was published.
///
/// A run pins a snapshot when it first synchronizes the source, so that every consumer in that run sees the same value,
/// at all levels of composites, although the source may change meanwhile. Thread-safe.
class NodeSource : public Node, public RunScoped
{
public:
  explicit NodeSource(std::string name);
  ~NodeSource() override;

  DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                      const PortPtr& outputPort) override;
  void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                    const PortPtr& outputPort) override;

protected:
  void _synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                    std::uint64_t depth) override;
  void _synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;

public:
  /// Publishes a value: it becomes the newest one, and the listeners hear of it unless it is null.
  virtual void setData(DataPtr value);

  /// The newest value. A source that makes its values on demand makes one for `time`.
  virtual DataPtr getSourceData(Time time, Duration tolerance);

  /// Rises with every value, null included; 0 for sources whose values cannot be told apart that way.
  [[nodiscard]] virtual std::uint64_t getVersion() const;

  void dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk) override;

  void addEvent(std::shared_ptr<ValueListener> event) { events->add(std::move(event)); }

  void removeEvent(const std::shared_ptr<ValueListener>& event) { events->remove(event); }

  /// The names of the processes that this source reads. For building only.
  void addDependency(std::string processName) { dependencies.push_back(std::move(processName)); }

  /// A process that this source reads has another name now. Guarded by whoever renames processes.
  void renameDependency(const std::string& oldName, const std::string& newName);

  [[nodiscard]] const std::vector<std::string>& getDependencies() const noexcept { return dependencies; }

  /// The one output port, named "out".
  [[nodiscard]] const PortPtr& getOutput() const noexcept { return getOutputs().front(); }

protected:
  /// What one run has of the source. Held under the process's hash: one snapshot serves all scopes of a run.
  struct Pin
  {
    std::int32_t count = 0;
    DataPtr snapshot;
  };

  /// Asked for the snapshot of a run, under the mutex.
  virtual DataPtr _takeSnapshot(Time time, Duration tolerance);

  mutable std::mutex mutex;  // within the node's own; guards the pins, the value and its version
  ScopeTable<Pin> pins;
  DataPtr data;
  std::uint64_t version = 0;
  const std::shared_ptr<ValueListeners> events = std::make_shared<ValueListeners>();

private:
  std::vector<std::string> dependencies;
};

using NodeSourcePtr = std::shared_ptr<NodeSource>;
}  // namespace ZR::Filtrix
