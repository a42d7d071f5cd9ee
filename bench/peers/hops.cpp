#include "bench/graphs.h"
#include "bench/peers/floor.h"
#include "bench/peers/loops.h"
#include "bench/peers/measurements.h"
#include "bench/peers/twothreads.h"

#include <fmt/core.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
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

// Sums that do not wait for one another, so that a core has always several to work on at once. What two such loops cost
// on two threads tells whether the machine's processors are cores of their own.
Loop makeArithmetic()
{
  constexpr int steps = 1000;
  const auto result = std::make_shared<std::atomic<std::uint64_t>>(1);
  const auto run = [result]
  {
    std::array<std::uint64_t, 6> sums{};
    sums.fill(result->load(std::memory_order_relaxed));
    for (std::uint64_t step = 0; step < steps; ++step)
    {
      for (std::uint64_t& sum : sums)
        sum = (sum ^ step) + (sum << 3U);
    }
    result->store(sums[0] + sums[1] + sums[2] + sums[3] + sums[4] + sums[5], std::memory_order_relaxed);
  };
  return {run, steps};
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
  const Loop arithmetic = makeArithmetic();
  report.add("two loops of plain sums on two threads", "one loop alone",
             compareInRounds(settings.rounds, loopOnTwoThreads(arithmetic, makeArithmetic()), arithmetic));
}
}  // namespace ZR::Filtrix::Bench
