#include "graph/port.h"

#include "filtrix/ku/log.h"
#include "graph/node.h"
#include "graph/processkey.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.port";

// Guards the scope values of every port. A leaf lock.
std::mutex scopeValueMutex;
}  // namespace

Port::Port(std::string name_, Node* node_) : node(node_), name(std::move(name_)) {}

void Port::addType(TypeTag type)
{
  types.push_back(type);
}

void Port::addLink(const PortPtr& link)
{
  links.push_back(link);
  firstLink = links.front();
  hasSeveralLinks = links.size() > 1;
}

void Port::setOptional(bool flag)
{
  optional = flag;
}

void Port::setDefaultValue(DataPtr value)
{
  defaultValue = std::move(value);
}

void Port::setParent(const PortPtr& newParent)
{
  for (const Port* port = newParent.get(); port != nullptr; port = port->parent.get())
  {
    if (port == this)
    {
      ku::log::error(category, "{}::setParent(): the port \"{}\" already stands for this one.{}", name, newParent->name,
                     originText());
      return;
    }
  }
  parent = newParent;
}

void Port::detach() noexcept
{
  node = nullptr;
}

const DataPtr& Port::getDefaultValue() const noexcept
{
  const Port* port = this;
  while (!port->defaultValue && port->parent)
    port = port->parent.get();
  return port->defaultValue;
}

const std::vector<TypeTag>& Port::getTypes() const noexcept
{
  return _root().types;
}

bool Port::isOptional() const noexcept
{
  for (const Port* port = this; port != nullptr; port = port->parent.get())
  {
    if (port->optional || port->defaultValue)
      return true;
  }
  return false;
}

bool Port::hasCommonType(const Port& other) const noexcept
{
  const auto& ours = getTypes();
  const auto& theirs = other.getTypes();
  return ours.empty() || theirs.empty() || std::ranges::find_first_of(ours, theirs) != ours.end();
}

bool Port::acceptsType(TypeTag type) const noexcept
{
  const auto& accepted = getTypes();
  return accepted.empty() || std::ranges::find(accepted, type) != accepted.end();
}

DataPtr Port::requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  DataPtr value;
  if (_findScopeValue(scopeKey.getHash(), &value))
    return value;
  if (links.empty())
    return defaultValue;
  Node* const source = _linkedNode("::requestData(): ");
  if (source == nullptr)
    return nullptr;
  value = source->requestData(processKey, scopeKey, depth + 1, firstLink);
  if (!value)
    return getDefaultValue();
  return value;
}

void Port::requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  if (_findScopeValue(scopeKey.getHash(), nullptr) || links.empty())
    return;
  if (Node* const source = _linkedNode("::requestEmpty(): "))
    source->requestEmpty(processKey, scopeKey, depth + 1, firstLink);
}

void Port::synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  if (Node* const source = _onlyLinkedNode())
    source->synchronizeRelease(processKey, scopeKey, depth + 1);
  else if (hasSeveralLinks)
    ku::log::error(category,
                   "synchronizeRelease(): an input port ({}) can not have multiple outputs and only an input port can "
                   "use synchronizeRelease().{}",
                   name, originText());
}

void Port::setScopeValues(const PortList& ports, const DataList& values, std::uint32_t scopeHash)
{
  const std::lock_guard lock(scopeValueMutex);
  for (std::size_t i = 0; i < ports.size(); ++i)
  {
    for (Port* port = ports[i].get(); port != nullptr; port = port->parent.get())
    {
      const auto [value, isNew] = port->scopeValues.insert(scopeHash);
      *value = values[i];
      if (isNew)
        port->scopeValueCount.fetch_add(1, std::memory_order_relaxed);
    }
  }
}

void Port::eraseScopeValues(const PortList& ports, std::uint32_t scopeHash)
{
  const std::lock_guard lock(scopeValueMutex);
  for (const PortPtr& first : ports)
  {
    for (Port* port = first.get(); port != nullptr; port = port->parent.get())
    {
      if (port->scopeValues.erase(scopeHash))
        port->scopeValueCount.fetch_sub(1, std::memory_order_relaxed);
    }
  }
}

const Port& Port::_root() const noexcept
{
  const Port* port = this;
  while (port->parent)
    port = port->parent.get();
  return *port;
}

bool Port::_lookUpScopeValue(std::uint32_t scopeHash, DataPtr* value) const
{
  const std::lock_guard lock(scopeValueMutex);
  const DataPtr* const found = scopeValues.find(scopeHash);
  if (found == nullptr)
    return false;
  if (value != nullptr)
    *value = *found;
  return true;
}

void Port::_complainOfLinks(const char* operation) const
{
  if (links.size() > 1)
    ku::log::error(category, "{}{}An input port can not have multiple outputs.{}", name, operation, originText());
  else
    ku::log::error(category, "{}{}trying to get data from an unbound port.{}", name, operation, originText());
}

PortPtr findPort(const PortList& ports, const std::string& name)
{
  if (name.empty() && ports.size() == 1)
    return ports.front();
  const auto hit = std::ranges::find_if(ports, [&](const PortPtr& port) { return port && port->getName() == name; });
  return hit != ports.end() ? *hit : nullptr;
}
}  // namespace ZR::Filtrix
