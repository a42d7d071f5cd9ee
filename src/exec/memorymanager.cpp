#include "exec/memorymanager.h"

#include <utility>

namespace ZR::Filtrix
{
DataPtr MemoryManager::getMemory(const ProcessKey& processKey, const ProcessKey& scopeKey)
{
  const std::lock_guard lock(mutex);
  return _state(processKey, scopeKey);
}

void MemoryManager::setMemory(const ProcessKey& processKey, const ProcessKey& scopeKey, DataPtr value)
{
  const std::lock_guard lock(mutex);
  // Swapped, so that the old state ends with the argument, after the lock.
  _state(processKey, scopeKey).swap(value);
}

bool MemoryManager::clearProcess(const ProcessKey& processKey)
{
  States dropped;
  const std::lock_guard lock(mutex);
  if (const auto entry = processes.find(processKey.getHash()); entry != processes.end())
  {
    dropped = std::move(entry->second);
    processes.erase(entry);
  }
  return true;
}

void MemoryManager::renameProcess(const ProcessKey& oldKey, const ProcessKey& newKey)
{
  const std::lock_guard lock(mutex);
  const auto entry = processes.find(oldKey.getHash());
  if (entry == processes.end())
    return;
  const States old = std::move(entry->second);
  processes.erase(entry);
  States renamed(firstBuckets);
  for (const auto& [hash, state] : old)
  {
    const std::string& scope = state.scopeKey.getName();
    const bool within = scope.starts_with(oldKey.getName());
    const ProcessKey scopeKey =
        within ? ProcessKey(newKey, std::string_view(scope).substr(oldKey.getName().size())) : state.scopeKey;
    renamed.insert_or_assign(scopeKey.getHash(), State{scopeKey, state.value});
  }
  processes[newKey.getHash()] = std::move(renamed);
}

std::size_t MemoryManager::size() const
{
  const std::lock_guard lock(mutex);
  std::size_t count = 0;
  for (const auto& [process, states] : processes)
    count += states.size();
  return count;
}

DataPtr& MemoryManager::_state(const ProcessKey& processKey, const ProcessKey& scopeKey)
{
  States& states = processes.try_emplace(processKey.getHash(), firstBuckets).first->second;
  if (const auto entry = states.find(scopeKey.getHash()); entry != states.end())
    return entry->second.value;
  return states.emplace(scopeKey.getHash(), State{scopeKey, nullptr}).first->second.value;
}
}  // namespace ZR::Filtrix
