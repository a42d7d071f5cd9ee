#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

/// Timing one piece of code beside another.
namespace ZR::Filtrix::Bench
{
inline double median(std::vector<double>& values)
{
  std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
  return values[values.size() / 2];
}

/// Runs both in turn, so that whatever slows the machine down slows both. The counter `ratio` is that of the medians,
/// below 1 when `ours` is the faster one; it is given too. For benchmarks with UseManualTime(): the time shown is that
/// of `ours`.
template <typename Ours, typename Theirs>
double compare(benchmark::State& state, const Ours& ours, const Theirs& theirs)
{
  using Clock = std::chrono::steady_clock;
  std::vector<double> oursTimes;
  std::vector<double> theirsTimes;
  const auto seconds = [](Clock::duration time) { return std::chrono::duration<double>(time).count(); };
  for ([[maybe_unused]] const auto& iteration : state)
  {
    const auto begin = Clock::now();
    ours();
    const auto middle = Clock::now();
    theirs();
    theirsTimes.push_back(seconds(Clock::now() - middle));
    oursTimes.push_back(seconds(middle - begin));
    state.SetIterationTime(oursTimes.back());
  }
  const double ratio = median(oursTimes) / median(theirsTimes);
  state.counters["ratio"] = ratio;
  return ratio;
}
}  // namespace ZR::Filtrix::Bench
