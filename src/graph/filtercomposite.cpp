#include "graph/filtercomposite.h"

#include "filtrix/ku/log.h"
#include "graph/dotgraph.h"
#include "graph/nodefilter.h"
#include "graph/processkey.h"

#include <algorithm>
#include <unordered_set>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.Composite";

// True when `filter` is `wanted` or has it somewhere inside. Each filter is looked into once.
bool contains(const Filter* filter, const Filter* wanted, std::unordered_set<const Filter*>& seen)
{
  if (filter == wanted)
    return true;
  const auto* const composite = dynamic_cast<const FilterComposite*>(filter);
  if (composite == nullptr || !seen.insert(filter).second)
    return false;
  for (const auto& [name, node] : composite->getNodes())
  {
    const auto* const inner = dynamic_cast<const NodeFilter*>(node.get());
    if (inner != nullptr && contains(inner->getFilter().get(), wanted, seen))
      return true;
  }
  return false;
}

PortPtr makeExposed(const PortPtr& inner, const std::string& exposedName)
{
  auto port = std::make_shared<Port>(exposedName.empty() ? inner->getName() : exposedName);
  port->setParent(inner);
  return port;
}
}  // namespace

void FilterComposite::addNode(const NodePtr& node)
{
  if (!node)
  {
    ku::log::error(category, "Can't add node to \"{}\": expected a node, got null.", getName());
    return;
  }
  const auto* const inner = dynamic_cast<const NodeFilter*>(node.get());
  std::unordered_set<const Filter*> seen;
  if (inner != nullptr && contains(inner->getFilter().get(), this, seen))
  {
    ku::log::error(category, "Can't add node \"{}\": the filter \"{}\" would contain itself.", node->getName(),
                   getName());
    return;
  }
  if (!nodes.emplace(node->getName(), node).second)
    ku::log::error(category, "Can't add node \"{}\": node is already present.", node->getName());
}

NodePtr FilterComposite::getNode(const std::string& nodeName) const
{
  const auto hit = nodes.find(nodeName);
  if (hit != nodes.end())
    return hit->second;
  ku::log::error(category, "Can't retrieved node \"{}\": node unknown.", nodeName);
  return nullptr;
}

bool FilterComposite::exposeInput(const std::string& nodeName, const std::string& portName,
                                  const std::string& exposedName)
{
  const NodePtr node = getNode(nodeName);
  const PortPtr inner = node ? node->findInput(portName) : nullptr;
  if (!inner)
    return false;
  _addInput(makeExposed(inner, exposedName))->setOptional(true);
  return true;
}

bool FilterComposite::exposeOutput(const std::string& nodeName, const std::string& portName,
                                   const std::string& exposedName)
{
  const NodePtr node = getNode(nodeName);
  const PortPtr inner = node ? node->findOutput(portName) : nullptr;
  if (!inner)
    return false;
  _addOutput(makeExposed(inner, exposedName));
  return true;
}

bool FilterComposite::isStateful() const
{
  const auto isNodeStateful = [](const auto& entry)
  {
    const auto* const node = dynamic_cast<const NodeFilter*>(entry.second.get());
    return node != nullptr && node->getFilter() && node->getFilter()->isStateful();
  };
  return std::ranges::any_of(nodes, isNodeStateful);
}

void FilterComposite::filterSynchronize(Time time, Duration tolerance, const ProcessKey& processKey,
                                        const ProcessKey& scopeKey, std::uint64_t depth)
{
  for (const PortPtr& output : getOutputs())
  {
    if (Node* const node = output->getNode())
      node->synchronize(time, tolerance, processKey, scopeKey, depth + 1);
  }
}

void FilterComposite::filterSynchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey,
                                               std::uint64_t depth)
{
  for (const PortPtr& output : getOutputs())
  {
    if (Node* const node = output->getNode())
      node->synchronizeRelease(processKey, scopeKey, depth + 1);
  }
}

DataList FilterComposite::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                                      std::uint64_t depth)
{
  if (inputs.size() != getInputs().size())
  {
    ku::log::fatal(category, "{}->applyFilter(): missing input data", getName());
    return {};
  }
  Port::setScopeValues(getInputs(), inputs, scopeKey.getHash());
  DataList results;
  results.reserve(getOutputs().size());
  for (const PortPtr& output : getOutputs())
  {
    Node* const node = output->getNode();
    results.push_back(node != nullptr ? node->requestData(processKey, scopeKey, depth + 1, output) : nullptr);
  }
  Port::eraseScopeValues(getInputs(), scopeKey.getHash());
  return results;
}

void FilterComposite::applyEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  for (const PortPtr& output : getOutputs())
  {
    if (Node* const node = output->getNode())
      node->requestEmpty(processKey, scopeKey, depth + 1, output);
  }
  Port::eraseScopeValues(getInputs(), scopeKey.getHash());
}

void FilterComposite::getDotGraph(DotGraph& graph) const
{
  graph.addComposite(*this);
}

void FilterComposite::dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk)
{
  for (const PortPtr& output : getOutputs())
  {
    if (Node* const node = output->getNode())
      node->abandonRun(processKey, scopeKey, walk);
  }
  Port::eraseScopeValues(getInputs(), scopeKey.getHash());
}
}  // namespace ZR::Filtrix
