#pragma once

#include "bench/graphs.h"
#include "bench/peers/rounds.h"

#include <memory>

/// The graphs of the runtime as loops to be timed.
namespace ZR::Filtrix::Bench
{
/// Runs of a process through a chain of filters that each make a fresh value; per hop.
inline Loop chainLoop(std::size_t length)
{
  const auto graph = std::make_shared<Graph>(makeChain(length));
  return {[graph] { graph->run(); }, static_cast<double>(length)};
}

/// The same from one filter to `width` filters to one filter; per branch.
inline Loop diamondLoop(std::size_t width)
{
  const auto graph = std::make_shared<Graph>(makeDiamond(width));
  return {[graph] { graph->run(); }, static_cast<double>(width)};
}
}  // namespace ZR::Filtrix::Bench
