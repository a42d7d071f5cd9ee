#include "bench/graphs.h"
#include "bench/peers/floor.h"
#include "bench/peers/loops.h"
#include "bench/peers/measurements.h"
#include "bench/peers/twothreads.h"

#include <fmt/core.h>

#include <cmath>
#include <memory>

namespace ZR::Filtrix::Bench
{
namespace
{
// Another process through the nodes of a chain.
Loop secondThrough(const Graph& chain)
{
  auto graph = std::make_shared<Graph>(chain);
  graph->finish("second", onlyOutput(*chain.nodes.back()));
  return {[graph] { graph->run(); }, static_cast<double>(chain.nodes.size())};
}
}  // namespace

void measureHops(Report& report, const Settings& settings)
{
  for (const std::size_t length : {100U, 1000U})
    report.add(fmt::format("hop of a chain of {}", length), "floor",
               compareInRounds(settings.rounds, chainLoop(length), makeFloor(length)), Goal{4.0, 2.5});

  const auto growth = compareInRounds(settings.rounds, {chainLoop(1000).run}, {chainLoop(100).run});
  report.add({"growth of a chain from 100 to 1000", "exponent of the length", std::log10(growth.ratio), "",
              Goal{1.08, 1.03}, growth});

  report.add("branch of a diamond of 64", "floor", compareInRounds(settings.rounds, diamondLoop(64), makeFloor(64)));
  // Two threads at once beside one alone. On free cores the ratio would be 1; what is more that even the floor shows is
  // the machine's.
  const Loop chain = chainLoop(100);
  report.add("two processes on two workers, per hop", "one process alone",
             compareInRounds(settings.rounds, loopOnTwoThreads(chain, chainLoop(100)), chain), Goal{1.3, 1.15});
  const auto shared = std::make_shared<Graph>(makeChain(100, "first"));
  report.add("two processes through the same nodes", "one process alone",
             compareInRounds(settings.rounds,
                             loopOnTwoThreads({[shared] { shared->run(); }, 100.0}, secondThrough(*shared)), chain));
  const Loop floor = makeFloor(100);
  report.add("two floors on two threads, per hop", "one floor alone",
             compareInRounds(settings.rounds, loopOnTwoThreads(floor, makeFloor(100)), floor));
}
}  // namespace ZR::Filtrix::Bench
