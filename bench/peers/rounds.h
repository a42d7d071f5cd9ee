#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// Timing a piece of code beside another.
namespace ZR::Filtrix::Bench
{
/// What is timed, and how many units (hops, branches, runs) one call of it makes.
struct Loop
{
  std::function<void()> run;
  double units = 1.0;
};

/// The medians over all rounds: of the ratio, and of either side's nanoseconds a unit.
struct Comparison
{
  double ratio = 0.0;
  double ours = 0.0;
  double theirs = 0.0;
};

/// Which of the values is greater than the share `part` of them; 0.5 is the median.
inline double quantile(std::vector<double> values, double part)
{
  const auto index = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(index));
  return values[index];
}

inline double nanosecondsOf(const std::function<void()>& run)
{
  const auto begin = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

inline double nanosecondsPerUnit(const Loop& loop, std::size_t repeats)
{
  const double time = nanosecondsOf(
      [&]
      {
        for (std::size_t i = 0; i < repeats; ++i)
          loop.run();
      });
  return time / (static_cast<double>(repeats) * loop.units);
}

/// As many calls as take a millisecond, so that neither the clock nor one interrupt weighs in; they warm up as well.
inline std::size_t repeatsFor(const Loop& loop)
{
  std::size_t repeats = 1;
  while (nanosecondsPerUnit(loop, repeats) * loop.units * static_cast<double>(repeats) < 1.0e6)
    repeats *= 2;
  return repeats;
}

/// Runs both in turn, the first to go changing with every round, so that whatever slows the machine down slows both.
/// Taking the ratio within each round keeps a slow minute from counting for one side only.
inline Comparison compareInRounds(std::size_t rounds, const Loop& ours, const Loop& theirs)
{
  const std::size_t ourRepeats = repeatsFor(ours);
  const std::size_t theirRepeats = repeatsFor(theirs);
  std::vector<double> ratios;
  std::vector<double> ourTimes;
  std::vector<double> theirTimes;
  for (std::size_t round = 0; round < rounds; ++round)
  {
    const bool oursFirst = round % 2 == 0;
    const double first = oursFirst ? nanosecondsPerUnit(ours, ourRepeats) : nanosecondsPerUnit(theirs, theirRepeats);
    const double second = oursFirst ? nanosecondsPerUnit(theirs, theirRepeats) : nanosecondsPerUnit(ours, ourRepeats);
    ourTimes.push_back(oursFirst ? first : second);
    theirTimes.push_back(oursFirst ? second : first);
    ratios.push_back(ourTimes.back() / theirTimes.back());
  }
  return {quantile(ratios, 0.5), quantile(ourTimes, 0.5), quantile(theirTimes, 0.5)};
}
}  // namespace ZR::Filtrix::Bench
