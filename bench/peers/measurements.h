#pragma once

#include "bench/peers/report.h"

#include <cstddef>

/// The groups of figures, each in a file of its own. All use two threads at most.
namespace ZR::Filtrix::Bench
{
struct Settings
{
  std::size_t rounds = 51;         ///< of every comparison
  std::size_t processes = 10'000;  ///< in the crowd that waits
};

/// A hop of a chain and a branch of a diamond, beside the floor, and two processes at once beside one.
void measureHops(Report& report, const Settings& settings);

/// The same graphs in other runtimes, as far as they were found when this was built.
void measureFlowGraph(Report& report, const Settings& settings);
void measurePipeline(Report& report, const Settings& settings);

/// Work spread over the workers, and how soon an event gets one of them to work.
void measureWorkers(Report& report, const Settings& settings);

/// Ten thousand processes that wait, and a thousand that run at rates of their own.
void measureCrowds(Report& report, const Settings& settings);
}  // namespace ZR::Filtrix::Bench
