#pragma once

#include "filtrix/data.h"
#include "filtrix/ku/mutex.h"
#include "graph/origin.h"
#include "graph/port.h"
#include "graph/processkey.h"
#include "graph/scopetable.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace ZR::Filtrix
{
class RecoveryWalk;

/// A vertex of the graph that a process pulls values through.
///
/// A run goes over the graph twice. `synchronize` walks from the sinks towards the sources, leaves one count per
/// consumer on each node, and pins what the run will see. `requestData` then pulls the values, and each consumer gives
/// its count back with `synchronizeRelease` right after it has read; the last one lets the node drop what it kept. On a
/// path whose result nobody will use, `requestEmpty` stands in for `requestData`, so that the counts still come back.
///
/// Several runs may be in a node at once, each in its own scope. Within one scope a run is single-threaded.
/// Nothing here throws or catches for itself: an exception from a filter or a source passes through, and what the run
/// had raised by then stays raised until `abandonRun`.
class alignas(64) Node : public Located
{
public:
  explicit Node(std::string name);
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  /// Reports the counts that are still raised, and lets go of the ports.
  virtual ~Node();

  /// The value of an output port, null for none. `outputPort` is null when a process asks a sink.
  virtual DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                              const PortPtr& outputPort) = 0;
  virtual void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                            const PortPtr& outputPort) = 0;

  /// `requestData` and right after it `synchronizeRelease`: what a consumer does. A node may do both at once.
  virtual DataPtr takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                           const PortPtr& outputPort);

protected:
  /// Called on every synchronize and on every release, under the node's mutex.
  virtual void _synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                            std::uint64_t depth);
  virtual void _synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// Lowers this scope's count by one and calls `act`, both under the node's mutex. False, and a line of the log, when
  /// the count is not raised.
  template <typename Act>
  bool _lower(const ProcessKey& processKey, const ProcessKey& scopeKey, const Act& act)
  {
    const std::lock_guard lock(mutex);
    if (!_countDown(processKey, scopeKey))
      return false;
    act();
    return true;
  }

public:
  /// Raises this scope's count by one. The first time it walks on to the nodes upstream.
  void synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                   std::uint64_t depth);

  /// Lowers this scope's count by one. Does not walk upstream: that is `requestData`'s affair.
  void synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// Clears this scope here and upstream after a run that broke off.
  void abandonRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk);

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  [[nodiscard]] const PortList& getInputs() const noexcept { return ports.inputs; }

  [[nodiscard]] const PortList& getOutputs() const noexcept { return ports.outputs; }

  /// The port of that name, the only one for an empty name, or null.
  [[nodiscard]] PortPtr findInput(const std::string& portName) const { return findPort(ports.inputs, portName); }

  [[nodiscard]] PortPtr findOutput(const std::string& portName) const { return findPort(ports.outputs, portName); }

  /// For building only. A null port is refused with a log line.
  void addInput(const PortPtr& port);
  void addOutput(const PortPtr& port);

  /// How many scopes are synchronized and not released; 0 between runs.
  [[nodiscard]] std::size_t getActiveScopes() const;

private:
  bool _countDown(const ProcessKey& processKey, const ProcessKey& scopeKey)
  {
    std::int32_t* const count = synchronizeCounts.find(scopeKey.getHash());
    if (count == nullptr)
    {
      _complainOfRelease(processKey);
      return false;
    }
    if (--*count == 0)
      synchronizeCounts.erase(scopeKey.getHash());
    return true;
  }

  void _complainOfRelease(const ProcessKey& processKey) const;

  // What every run reads stands first, in whole lines of the cache: a long graph does not stay in the nearest one.

  // Guards the counts, and holds a scope still while it is synchronized or released: it is kept across the walk
  // upstream and across the virtual operations. So these mutexes nest from the sink towards the sources, never back.
  mutable ku::Mutex mutex;

  // The thread that holds the mutex in `synchronize`. If that thread comes by again, the graph runs in a ring.
  std::atomic<std::thread::id> walker;
  ScopeTable<std::int32_t> synchronizeCounts;
  PortLists ports;
  const std::string name;
};

using NodePtr = std::shared_ptr<Node>;

// Here, and not out of line with the port's other operations: each hop of each run returns through it, and the
// processor foresees only some dozens of returns in a row.
inline DataPtr Port::takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  Node* const source = _onlyLinkedNode();
  if (source == nullptr || _findScopeValue(scopeKey.getHash(), nullptr))
  {
    DataPtr value = requestData(processKey, scopeKey, depth);
    synchronizeRelease(processKey, scopeKey, depth);
    return value;
  }
  DataPtr value = source->takeData(processKey, scopeKey, depth + 1, firstLink);
  if (!value)
    return getDefaultValue();
  return value;  // named alone, so that it is moved
}
}  // namespace ZR::Filtrix
