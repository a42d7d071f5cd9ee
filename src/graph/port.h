#pragma once

#include "filtrix/data.h"
#include "graph/origin.h"
#include "graph/scopetable.h"

#include <boost/container/small_vector.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
class Node;
class Port;
class ProcessKey;

using PortPtr = std::shared_ptr<Port>;
using PortList = boost::container::small_vector<PortPtr, 1>;

/// The ports of a node or a filter.
struct PortLists
{
  PortList inputs;
  PortList outputs;
};

/// A named connection point of a node or a filter. An input port is linked to the output port that feeds it.
///
/// A port may stand for another one: a composite's exposed port for an inner node's port, a node's port for its
/// filter's port. `parent` leads there, and questions about owner, types and defaults are answered along that chain.
/// Thread-safe once the graph is built.
class alignas(64) Port final : public Located
{
public:
  /// `node` is the owner, which outlives the port's use or calls `detach`; null for a port of a filter or a composite.
  explicit Port(std::string name, Node* node = nullptr);
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;
  ~Port() = default;

  // Building. None of these may be called once a run may reach the port.

  void addType(TypeTag type);

  /// Links an input port to the port that feeds it. A null link counts as unbound when a run comes to it.
  void addLink(const PortPtr& link);
  void setOptional(bool flag);
  void setDefaultValue(DataPtr value);

  /// A parent that would close a ring is refused with a log line.
  void setParent(const PortPtr& newParent);

  /// Called by an owner that ends before its port: the port then counts as unbound.
  void detach() noexcept;

  // Questions.

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  [[nodiscard]] const PortList& getLinks() const noexcept { return links; }

  /// The node behind the first link, or null.
  [[nodiscard]] Node* getFirstLinkedNode() const noexcept { return firstLink ? firstLink->getNode() : nullptr; }

  [[nodiscard]] const PortPtr& getParent() const noexcept { return parent; }

  /// The first owner up the chain, or null.
  [[nodiscard]] Node* getNode() const noexcept
  {
    const Port* port = this;
    while (port->node == nullptr && port->parent)
      port = port->parent.get();
    return port->node;
  }

  /// The first default value up the chain, or null.
  [[nodiscard]] const DataPtr& getDefaultValue() const noexcept;

  /// The accepted types, those of the root of the chain; an empty list accepts every type.
  [[nodiscard]] const std::vector<TypeTag>& getTypes() const noexcept;

  /// True when some port up the chain is optional or has a default value.
  [[nodiscard]] bool isOptional() const noexcept;

  /// True when some value could pass between the two ports.
  [[nodiscard]] bool hasCommonType(const Port& other) const noexcept;
  [[nodiscard]] bool acceptsType(TypeTag type) const noexcept;

  // The pull protocol, on input ports.

  /// The value for this scope: the one that a composite was given for it, else what the linked node makes, else a
  /// default; null when there is none.
  [[nodiscard]] DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// `requestData` and right after it `synchronizeRelease`. Defined with the node.
  [[nodiscard]] DataPtr takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// Tells the linked node that nobody will use its value in this run.
  void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// Gives back the one count that this port holds on the linked node.
  void synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  // Values that a composite was given for its exposed inputs.

  /// Sets, for a scope, the values of `ports` and of every port up their chains, `values[i]` for `ports[i]`.
  static void setScopeValues(const PortList& ports, const DataList& values, std::uint32_t scopeHash);
  static void eraseScopeValues(const PortList& ports, std::uint32_t scopeHash);

private:
  [[nodiscard]] const Port& _root() const noexcept;

  // Most ports of most runs have no scope values.
  [[nodiscard]] bool _findScopeValue(std::uint32_t scopeHash, DataPtr* value) const
  {
    return scopeValueCount.load(std::memory_order_relaxed) != 0 && _lookUpScopeValue(scopeHash, value);
  }

  [[nodiscard]] bool _lookUpScopeValue(std::uint32_t scopeHash, DataPtr* value) const;

  [[nodiscard]] Node* _onlyLinkedNode() const noexcept { return hasSeveralLinks ? nullptr : getFirstLinkedNode(); }

  // The node behind the one link, or null and a log line.
  [[nodiscard]] Node* _linkedNode(const char* operation) const
  {
    Node* const source = _onlyLinkedNode();
    if (source == nullptr)
      _complainOfLinks(operation);
    return source;
  }

  void _complainOfLinks(const char* operation) const;

  // All but the scope values is fixed once the graph is built, so read without a lock. What every run reads stands
  // first, in one line of the cache: a long graph does not stay in the nearest one.
  PortPtr firstLink;
  Node* node;
  PortPtr parent;

  // How many scope values there are. Only the thread of a run sets and reads the values of its own scope, so a thread
  // that reads zero here has none to find and spares itself the lock that all runs share.
  std::atomic<std::uint32_t> scopeValueCount{0};

  bool optional = false;
  bool hasSeveralLinks = false;

  DataPtr defaultValue;
  const std::string name;
  PortList links;
  std::vector<TypeTag> types;

  // Guarded by the one mutex of all ports: a leaf lock, never held across a call into a node.
  ScopeTable<DataPtr> scopeValues;
};

/// The port of that name. An empty name finds the only port of a list of one. Null when there is none.
[[nodiscard]] PortPtr findPort(const PortList& ports, const std::string& name);
}  // namespace ZR::Filtrix
