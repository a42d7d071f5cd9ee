#pragma once

#include "graph/nodesource.h"

namespace ZR::Filtrix
{
/// Another name for a source, which can be pointed at another source while processes run.
///
/// A run keeps the target that it first synchronized until its last release, so a new target takes effect with the next
/// run. An alias without a target gives null and logs it.
class NodeSourceAlias final : public NodeSource
{
public:
  using NodeSource::NodeSource;

  DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                      const PortPtr& outputPort) override;
  void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                    const PortPtr& outputPort) override;

protected:
  void _synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                    std::uint64_t depth) override;
  void _synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;

public:
  void setData(DataPtr value) override;
  DataPtr getSourceData(Time time, Duration tolerance) override;
  [[nodiscard]] std::uint64_t getVersion() const override;
  void dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk) override;

  /// Points the alias at another source. A target that is this alias, or an alias that leads to it, is refused with a
  /// log line and false.
  virtual bool setTarget(NodeSourcePtr source);
  [[nodiscard]] virtual NodeSourcePtr getTarget() const;

  /// For the registry only: an alias keeps its state under a new name.
  void rename(std::string newName) { _rename(std::move(newName)); }

private:
  struct Route
  {
    NodeSourcePtr target;
    std::int32_t count = 0;
  };

  [[nodiscard]] NodeSourcePtr _route(const ProcessKey& processKey) const;
  [[nodiscard]] NodeSourcePtr _targetOrLog(const char* operation) const;

  // Guards the two below. Calls to the target are made without it, so that what they set off may come back here.
  mutable std::mutex targetMutex;
  NodeSourcePtr target;
  ScopeTable<Route> routes;
};
}  // namespace ZR::Filtrix
