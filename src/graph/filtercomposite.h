#pragma once

#include "graph/filter.h"
#include "graph/node.h"
#include "graph/runrecovery.h"

#include <map>
#include <memory>
#include <string>

namespace ZR::Filtrix
{
/// A filter made of named inner nodes. Outside it is a filter like any other; inside, its node's run goes on one level
/// down, in a scope of its own. Composites nest.
class FilterComposite final : public Filter, public RunScoped
{
public:
  using Filter::Filter;

  // Building. None of these may be called once a run may reach the composite.

  /// Adds a node under its name. A name that is taken keeps its first node, and a node that applies this composite to
  /// itself is refused; both are logged.
  void addNode(const NodePtr& node);

  /// The node of that name; null and a log line when there is none.
  [[nodiscard]] NodePtr getNode(const std::string& nodeName) const;

  /// Makes an inner port a port of the composite, under its own name or another one. An exposed input is always
  /// optional. False when the node or the port does not exist.
  bool exposeInput(const std::string& nodeName, const std::string& portName, const std::string& exposedName = {});
  bool exposeOutput(const std::string& nodeName, const std::string& portName, const std::string& exposedName = {});

  [[nodiscard]] const std::map<std::string, NodePtr>& getNodes() const noexcept { return nodes; }

  [[nodiscard]] bool isStateful() const override;
  void filterSynchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                         std::uint64_t depth) override;
  void filterSynchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;
  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth) override;
  void applyEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;
  void getDotGraph(DotGraph& graph) const override;

  void dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk) override;

private:
  std::map<std::string, NodePtr> nodes;
};
}  // namespace ZR::Filtrix
