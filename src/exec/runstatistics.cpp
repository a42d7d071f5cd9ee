#include "exec/runstatistics.h"

#include <algorithm>
#include <bit>
#include <chrono>

namespace ZR::Filtrix
{
void RunStatistics::addRun(ku::Clock::time_point start, ku::Clock::duration length, Outcome outcome)
{
  const auto nanoseconds = static_cast<std::uint64_t>(std::max<ku::Clock::rep>(length.count(), 0));
  const std::lock_guard lock(mutex);
  starts[(runs + failures) % keptStarts] = start;
  ++(outcome == Outcome::Done ? runs : failures);
  last = length;
  total += length;
  ++lengths[_bucketOf(nanoseconds)];
}

RunFigures RunStatistics::figures(ku::Clock::time_point now) const
{
  RunFigures figures;
  figures.early = early.load(std::memory_order_relaxed);
  figures.unchanged = unchanged.load(std::memory_order_relaxed);
  const std::lock_guard lock(mutex);
  figures.runs = runs;
  figures.failures = failures;
  const std::uint64_t count = runs + failures;
  if (count == 0)
    return figures;
  figures.last = last;
  figures.mean = total / static_cast<ku::Clock::rep>(count);
  figures.percentile99 = _percentile99(count);
  figures.rate = _rate(count, now);
  return figures;
}

void RunStatistics::clear()
{
  early.store(0, std::memory_order_relaxed);
  unchanged.store(0, std::memory_order_relaxed);
  const std::lock_guard lock(mutex);
  runs = 0;
  failures = 0;
  last = {};
  total = {};
  lengths.fill(0);
}

// Below sixteen nanoseconds each has its bucket; above, the four bits behind the first one choose it.
std::size_t RunStatistics::_bucketOf(std::uint64_t nanoseconds) noexcept
{
  if (nanoseconds < stepsPerPower)
    return nanoseconds;
  const auto shift = static_cast<std::size_t>(std::bit_width(nanoseconds)) - 5;
  return shift * stepsPerPower + (nanoseconds >> shift);
}

std::uint64_t RunStatistics::_endOf(std::size_t bucket) noexcept
{
  if (bucket < 2 * stepsPerPower)
    return bucket;
  const std::size_t shift = bucket / stepsPerPower - 1;
  return ((bucket - shift * stepsPerPower + 1) << shift) - 1;
}

ku::Clock::duration RunStatistics::_percentile99(std::uint64_t count) const
{
  const std::uint64_t wanted = count - count / 100;
  std::uint64_t seen = 0;
  std::size_t bucket = 0;
  while (seen < wanted && bucket < buckets)
    seen += lengths[bucket++];
  return ku::Clock::duration(static_cast<ku::Clock::rep>(_endOf(bucket - 1)));
}

// A process that has come to rest has no rate: the time since its last run counts once it is longer than usual.
float RunStatistics::_rate(std::uint64_t count, ku::Clock::time_point now) const
{
  const std::uint64_t kept = std::min<std::uint64_t>(count, keptStarts);
  if (kept < 2)
    return 0.0F;
  const auto first = starts[(count - kept) % keptStarts];
  const auto latest = starts[(count - 1) % keptStarts];
  const std::chrono::duration<float> span = latest - first;
  const std::chrono::duration<float> idle = now - latest;
  const float periods = static_cast<float>(kept - 1);
  const float period = span.count() / periods;
  if (span.count() <= 0.0F)
    return 0.0F;
  return idle.count() > 2.0F * period ? periods / (span.count() + idle.count()) : 1.0F / period;
}
}  // namespace ZR::Filtrix
