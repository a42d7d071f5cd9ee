#pragma once

#include <cstdint>
#include <unordered_set>
#include <utility>

namespace ZR::Filtrix
{
class ProcessKey;

/// One walk through a graph that clears what a broken run left raised. It remembers where it has been, so that a node
/// with many consumers is cleared once.
class RecoveryWalk final
{
public:
  /// True the first time that this place is reached in this scope.
  [[nodiscard]] bool enter(const void* place, std::uint32_t scopeHash)
  {
    return visited.emplace(place, scopeHash).second;
  }

private:
  struct Hash
  {
    std::size_t operator()(const std::pair<const void*, std::uint32_t>& key) const noexcept
    {
      return std::hash<const void*>()(key.first) ^ (std::size_t{key.second} * 0x9E3779B97F4A7C15ULL);
    }
  };

  std::unordered_set<std::pair<const void*, std::uint32_t>, Hash> visited;
};

/// What keeps something for the scopes of runs, beyond a node's synchronize count: nodes with caches, composites.
class RunScoped
{
public:
  /// Drops, here and in the graph behind, what is kept for a run that broke off. Not to be called during that run.
  virtual void dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk) = 0;

protected:
  RunScoped() = default;
  RunScoped(const RunScoped&) = default;
  RunScoped& operator=(const RunScoped&) = default;
  ~RunScoped() = default;
};
}  // namespace ZR::Filtrix
