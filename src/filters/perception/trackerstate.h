#pragma once

#include "filtrix/data.h"
#include "filtrix/human.h"

#include <cstdint>
#include <unordered_set>

namespace ZR::Filtrix::Filters
{
/// What the tracker keeps from run to run. In memory it is an Array of the tracks, the time and the number.
struct TrackerState
{
  DataArray tracks;          ///< people and candidates
  Time lastRun;              ///< of the last run that took its input
  std::uint32_t lastId = 0;  ///< the greatest identity given yet
};

/// What a memory holds; the empty state for null and for what is none.
[[nodiscard]] TrackerState readState(const DataPtr& memory);
[[nodiscard]] DataPtr writeState(TrackerState state);

/// Gives people identities that nobody on two lists has. One that somebody brings along is kept if it is free; 0 is
/// none. Identities that were given are not given again.
class Identities final
{
public:
  Identities(std::uint32_t lastId_, const DataArray& live, const DataArray& removed);

  void assign(Type::Human& human);

  /// The greatest identity given yet.
  [[nodiscard]] std::uint32_t last() const noexcept { return lastId; }

private:
  std::uint32_t lastId;
  std::unordered_set<std::uint64_t> used;
};
}  // namespace ZR::Filtrix::Filters
