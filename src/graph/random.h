#pragma once

#include "graph/processkey.h"

#include <cstdint>
#include <random>

namespace ZR::Filtrix
{
/// The random numbers of a filter: seeded by where it runs, so that a replay draws the same ones. Two scopes, and two
/// processes, draw different ones. Keep the generator in the filter's state from run to run.
[[nodiscard]] inline std::mt19937 makeRandomGenerator(const ProcessKey& processKey, const ProcessKey& scopeKey)
{
  std::seed_seq seed{processKey.getHash(), scopeKey.getHash()};
  return std::mt19937(seed);
}
}  // namespace ZR::Filtrix
