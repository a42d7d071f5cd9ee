#include "graph/node.h"

#include "filtrix/ku/log.h"
#include "graph/processkey.h"
#include "graph/runrecovery.h"

#include <fmt/format.h>

#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.node";

// Notes for its scope which thread is walking through a node.
class WalkMark
{
public:
  explicit WalkMark(std::atomic<std::thread::id>& mark_) : mark(mark_)
  {
    mark.store(std::this_thread::get_id(), std::memory_order_relaxed);
  }

  WalkMark(const WalkMark&) = delete;
  WalkMark& operator=(const WalkMark&) = delete;

  ~WalkMark() { mark.store(std::thread::id(), std::memory_order_relaxed); }

private:
  std::atomic<std::thread::id>& mark;
};
}  // namespace

Node::Node(std::string name_) : name(std::move(name_)) {}

Node::~Node()
{
  for (const PortList* const list : {&ports.inputs, &ports.outputs})
  {
    for (const PortPtr& port : *list)
      port->detach();
  }
  if (synchronizeCounts.empty())
    return;
  std::string text = name + "->~Node(): There is still active synchronize count:";
  synchronizeCounts.forEach([&](std::uint32_t hash, std::int32_t count)
                            { text += fmt::format("\n  process: {}, count: {}", hash, count); });
  ku::log::write(ku::log::Level::Fatal, category, text + originText());
}

void Node::_synchronize(Time, Duration, const ProcessKey&, const ProcessKey&, std::uint64_t) {}

void Node::_synchronizeRelease(const ProcessKey&, const ProcessKey&, std::uint64_t) {}

void Node::synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth)
{
  // Only this thread itself can have stored its own id, so a stale read cannot mislead.
  if (walker.load(std::memory_order_relaxed) == std::this_thread::get_id())
  {
    ku::log::fatal(category, "{}->synchronize({}): The node is its own input: the graph runs in a ring{}", name,
                   processKey.getName(), originText());
    return;
  }
  const std::lock_guard lock(mutex);
  const WalkMark mark(walker);
  const auto [count, isFirst] = synchronizeCounts.insert(scopeKey.getHash());
  if (isFirst)
  {
    for (const PortPtr& input : ports.inputs)
    {
      if (Node* const upstream = input->getFirstLinkedNode())
        upstream->synchronize(time, tolerance, processKey, scopeKey, depth + 1);
    }
  }
  ++*count;
  _synchronize(time, tolerance, processKey, scopeKey, depth);
}

DataPtr Node::takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                       const PortPtr& outputPort)
{
  DataPtr value = requestData(processKey, scopeKey, depth, outputPort);
  synchronizeRelease(processKey, scopeKey, depth);
  return value;
}

void Node::synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  _lower(processKey, scopeKey, [&] { _synchronizeRelease(processKey, scopeKey, depth); });
}

void Node::_complainOfRelease(const ProcessKey& processKey) const
{
  ku::log::fatal(category, "{}->synchronizeRelease({}): Invalid release on process {}{}", name, processKey.getName(),
                 processKey.getName(), originText());
}

void Node::abandonRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk)
{
  if (!walk.enter(this, scopeKey.getHash()))
    return;
  for (const PortPtr& input : ports.inputs)
  {
    if (Node* const upstream = input->getFirstLinkedNode())
      upstream->abandonRun(processKey, scopeKey, walk);
  }
  const std::lock_guard lock(mutex);
  synchronizeCounts.erase(scopeKey.getHash());
  if (auto* const scoped = dynamic_cast<RunScoped*>(this))
    scoped->dropRun(processKey, scopeKey, walk);
}

void Node::addInput(const PortPtr& port)
{
  if (!port)
  {
    ku::log::error(category, "{}->addInput(): expected a port, got null{}", name, originText());
    return;
  }
  ports.inputs.push_back(port);
}

void Node::addOutput(const PortPtr& port)
{
  if (!port)
  {
    ku::log::error(category, "{}->addOutput(): expected a port, got null{}", name, originText());
    return;
  }
  ports.outputs.push_back(port);
}

std::size_t Node::getActiveScopes() const
{
  const std::lock_guard lock(mutex);
  return synchronizeCounts.size();
}
}  // namespace ZR::Filtrix
