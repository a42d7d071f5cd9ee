#pragma once

#include "graph/filtermemory.h"
#include "graph/processkey.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace ZR::Filtrix
{
/// The state of every stateful filter, per process and scope. The lock is held for the table alone, never across a
/// filter. Thread-safe.
class MemoryManager final : public FilterMemory
{
public:
  /// The state of the scope; makes an entry that holds null when there is none.
  DataPtr getMemory(const ProcessKey& processKey, const ProcessKey& scopeKey) override;
  void setMemory(const ProcessKey& processKey, const ProcessKey& scopeKey, DataPtr value) override;

  /// Forgets every state of the process. True, also when it had none.
  bool clearProcess(const ProcessKey& processKey);

  /// The states of the process go over to its new name, in place of what was kept under that one. The names of scopes
  /// begin with that of their process, so they change with it.
  void renameProcess(const ProcessKey& oldKey, const ProcessKey& newKey);

  /// How many states are kept, over all processes.
  [[nodiscard]] std::size_t size() const;

private:
  static constexpr std::size_t firstBuckets = 11;

  struct State
  {
    ProcessKey scopeKey;
    DataPtr value;
  };

  using States = std::unordered_map<std::uint32_t, State>;

  DataPtr& _state(const ProcessKey& processKey, const ProcessKey& scopeKey);

  mutable std::mutex mutex;  // a leaf lock
  std::unordered_map<std::uint32_t, States> processes{firstBuckets};
};
}  // namespace ZR::Filtrix
