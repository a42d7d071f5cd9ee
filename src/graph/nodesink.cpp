#include "graph/nodesink.h"

#include <utility>

namespace ZR::Filtrix
{
NodeSink::NodeSink(std::string name_) : Node(std::move(name_))
{
  addInput(std::make_shared<Port>("in", this));
}

DataPtr NodeSink::requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                              const PortPtr&)
{
  Port& input = *getInput();
  DataPtr value = input.takeData(processKey, scopeKey, depth + 1);
  synchronizeRelease(processKey, scopeKey, depth);
  {
    const std::lock_guard lock(mutex);
    lastData = value;
  }
  if (value)
    events.fire(value);
  return value;
}

void NodeSink::requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                            const PortPtr&)
{
  Port& input = *getInput();
  input.requestEmpty(processKey, scopeKey, depth + 1);
  input.synchronizeRelease(processKey, scopeKey, depth + 1);
  synchronizeRelease(processKey, scopeKey, depth);
}

DataPtr NodeSink::getLastData() const
{
  const std::lock_guard lock(mutex);
  return lastData;
}

void NodeSink::reset()
{
  const std::lock_guard lock(mutex);
  lastData = nullptr;
}
}  // namespace ZR::Filtrix
