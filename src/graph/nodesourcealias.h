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
  explicit NodeSourceAlias(std::string name);
  ~NodeSourceAlias() override;

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

  /// Points the alias at another source, whose values its events hear of from then on. A target that is this alias, or
  /// an alias that leads to it, is refused with a log line and false.
  virtual bool setTarget(NodeSourcePtr source);
  [[nodiscard]] virtual NodeSourcePtr getTarget() const;

private:
  struct Route
  {
    NodeSourcePtr target;
    std::int32_t count = 0;
  };

  [[nodiscard]] NodeSourcePtr _route(const ProcessKey& processKey) const;
  [[nodiscard]] NodeSourcePtr _targetOrLog(const char* operation) const;

  const std::shared_ptr<ValueListener> relay;  // hears the target and passes its values on to the alias's own events

  // Guards the two below. Calls to the target are made without it, so that what they set off may come back here.
  mutable std::mutex targetMutex;
  NodeSourcePtr target;
  ScopeTable<Route> routes;
};
}  // namespace ZR::Filtrix
