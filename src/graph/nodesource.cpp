#include "graph/nodesource.h"

#include "filtrix/ku/log.h"
#include "graph/processkey.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.nodeSource";
}

NodeSource::NodeSource(std::string name_) : Node(std::move(name_))
{
  addOutput(std::make_shared<Port>("out", this));
}

NodeSource::~NodeSource()
{
  if (pins.empty())
    return;
  std::string text = getName() + "->~NodeSource(): There is still count to entry cache:";
  pins.forEach([&](std::uint32_t hash, const Pin& pin)
               { text += fmt::format("\n  process: {}, count: {}", hash, pin.count); });
  ku::log::write(ku::log::Level::Fatal, category, text + originText());
}

DataPtr NodeSource::requestData(const ProcessKey& processKey, const ProcessKey&, std::uint64_t, const PortPtr&)
{
  const std::lock_guard lock(mutex);
  if (const Pin* const pin = pins.find(processKey.getHash()))
    return pin->snapshot;
  ku::log::fatal(category, "{}->requestData({}): No cache found.{}", getName(), processKey.getName(), originText());
  return nullptr;
}

void NodeSource::requestEmpty(const ProcessKey& processKey, const ProcessKey&, std::uint64_t, const PortPtr&)
{
  const std::lock_guard lock(mutex);
  if (pins.find(processKey.getHash()) == nullptr)
    ku::log::fatal(category, "{}->requestEmpty({}): no cache found.{}", getName(), processKey.getName(), originText());
}

void NodeSource::_synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey&,
                              std::uint64_t)
{
  const std::lock_guard lock(mutex);
  if (Pin* const pin = pins.find(processKey.getHash()))
  {
    ++pin->count;
    return;
  }
  // Taken before the entry is made: a snapshot that throws leaves nothing behind.
  DataPtr snapshot = _takeSnapshot(time, tolerance);
  Pin& pin = *pins.insert(processKey.getHash()).first;
  pin.count = 1;
  pin.snapshot = std::move(snapshot);
}

void NodeSource::_synchronizeRelease(const ProcessKey& processKey, const ProcessKey&, std::uint64_t)
{
  DataPtr dropped;  // outlives the lock: the last share in a large value may end with it
  const std::lock_guard lock(mutex);
  Pin* const pin = pins.find(processKey.getHash());
  if (pin == nullptr)
  {
    ku::log::fatal(category, "{}->_synchronizeRelease({}): Invalid release on process {}{}", getName(),
                   processKey.getName(), processKey.getName(), originText());
    return;
  }
  if (--pin->count == 0)
  {
    dropped = std::move(pin->snapshot);
    pins.erase(processKey.getHash());
  }
}

void NodeSource::setData(DataPtr value)
{
  {
    const std::lock_guard lock(mutex);
    ++version;
    data = value;
  }
  if (value)
    events->fire(value);
}

DataPtr NodeSource::getSourceData(Time, Duration)
{
  const std::lock_guard lock(mutex);
  return data;
}

std::uint64_t NodeSource::getVersion() const
{
  const std::lock_guard lock(mutex);
  return version;
}

void NodeSource::renameDependency(const std::string& oldName, const std::string& newName)
{
  std::ranges::replace(dependencies, oldName, newName);
}

void NodeSource::dropRun(const ProcessKey& processKey, const ProcessKey&, RecoveryWalk&)
{
  const std::lock_guard lock(mutex);
  pins.erase(processKey.getHash());
}

DataPtr NodeSource::_takeSnapshot(Time, Duration)
{
  return data;
}
}  // namespace ZR::Filtrix
