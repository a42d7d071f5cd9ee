#include "graph/nodesourcealias.h"

#include "filtrix/ku/log.h"
#include "graph/processkey.h"

#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.nodeSource";

class Relay final : public ValueListener
{
public:
  explicit Relay(std::shared_ptr<ValueListeners> listeners_) : listeners(std::move(listeners_)) {}

  void fire(const DataPtr& value) override { listeners->fire(value); }

private:
  const std::shared_ptr<ValueListeners> listeners;
};
}  // namespace

NodeSourceAlias::NodeSourceAlias(std::string name_)
    : NodeSource(std::move(name_)), relay(std::make_shared<Relay>(events))
{
}

NodeSourceAlias::~NodeSourceAlias()
{
  if (target)
    target->removeEvent(relay);
}

DataPtr NodeSourceAlias::requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                                     const PortPtr& outputPort)
{
  const NodeSourcePtr source = _route(processKey);
  return source ? source->requestData(processKey, scopeKey, depth, outputPort) : nullptr;
}

void NodeSourceAlias::requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                                   const PortPtr& outputPort)
{
  if (const NodeSourcePtr source = _route(processKey))
    source->requestEmpty(processKey, scopeKey, depth, outputPort);
}

void NodeSourceAlias::_synchronize(Time time, Duration tolerance, const ProcessKey& processKey,
                                   const ProcessKey& scopeKey, std::uint64_t depth)
{
  NodeSourcePtr source;
  {
    const std::lock_guard lock(targetMutex);
    const auto [route, isNew] = routes.insert(processKey.getHash());
    if (isNew)
      route->target = target;
    ++route->count;
    source = route->target;
  }
  if (source)
    source->synchronize(time, tolerance, processKey, scopeKey, depth);
  else
    ku::log::error(category, "{}->_synchronize({}): the alias has no target{}", getName(), processKey.getName(),
                   originText());
}

void NodeSourceAlias::_synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  NodeSourcePtr source;
  {
    const std::lock_guard lock(targetMutex);
    if (Route* const route = routes.find(processKey.getHash()))
    {
      source = route->target;
      if (--route->count == 0)
        routes.erase(processKey.getHash());
    }
  }
  if (source)
    source->synchronizeRelease(processKey, scopeKey, depth);
}

void NodeSourceAlias::setData(DataPtr value)
{
  if (const NodeSourcePtr source = _targetOrLog("setData"))
    source->setData(std::move(value));
}

DataPtr NodeSourceAlias::getSourceData(Time time, Duration tolerance)
{
  const NodeSourcePtr source = _targetOrLog("getSourceData");
  return source ? source->getSourceData(time, tolerance) : nullptr;
}

std::uint64_t NodeSourceAlias::getVersion() const
{
  const NodeSourcePtr source = getTarget();
  return source ? source->getVersion() : 0;
}

void NodeSourceAlias::dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk)
{
  NodeSourcePtr source;
  {
    const std::lock_guard lock(targetMutex);
    if (Route* const route = routes.find(processKey.getHash()))
    {
      source = std::move(route->target);
      routes.erase(processKey.getHash());
    }
  }
  if (source)
    source->abandonRun(processKey, scopeKey, walk);
}

bool NodeSourceAlias::setTarget(NodeSourcePtr source)
{
  for (NodeSourcePtr step = source; step;)
  {
    if (step.get() == this)
    {
      ku::log::error(category, "{}->setTarget(): \"{}\" leads back to this alias{}", getName(), source->getName(),
                     originText());
      return false;
    }
    const auto* const alias = dynamic_cast<const NodeSourceAlias*>(step.get());
    step = alias != nullptr ? alias->getTarget() : nullptr;
  }
  const std::lock_guard lock(targetMutex);
  if (target)
    target->removeEvent(relay);
  if (source)
    source->addEvent(relay);
  target = std::move(source);
  return true;
}

NodeSourcePtr NodeSourceAlias::getTarget() const
{
  const std::lock_guard lock(targetMutex);
  return target;
}

// Where this run's requests go: the target that it has synchronized.
NodeSourcePtr NodeSourceAlias::_route(const ProcessKey& processKey) const
{
  const std::lock_guard lock(targetMutex);
  const Route* const route = routes.find(processKey.getHash());
  return route != nullptr ? route->target : target;
}

NodeSourcePtr NodeSourceAlias::_targetOrLog(const char* operation) const
{
  NodeSourcePtr source = getTarget();
  if (!source)
    ku::log::error(category, "{}->{}(): the alias has no target{}", getName(), operation, originText());
  return source;
}
}  // namespace ZR::Filtrix
