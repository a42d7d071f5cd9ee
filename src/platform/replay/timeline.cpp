#include "platform/replay/timeline.h"

#include <algorithm>
#include <utility>

namespace ZR::Replay
{
Timeline::Timeline(std::vector<Nanoseconds> times_, std::optional<Nanoseconds> lap_)
    : times(std::move(times_)), lap(lap_)
{
}

Nanoseconds Timeline::shift(std::uint64_t item) const
{
  return lap ? *lap * static_cast<std::int64_t>(item / times.size()) : Nanoseconds(0);
}

std::optional<Nanoseconds> Timeline::timeOf(std::uint64_t item) const
{
  if (times.empty() || (!lap && item >= times.size()))
    return std::nullopt;
  return times[recorded(item)] + shift(item);
}

std::optional<std::uint64_t> Timeline::firstFrom(Nanoseconds time) const
{
  if (times.empty())
    return std::nullopt;
  const std::int64_t laps = lap && time > Nanoseconds(0) ? time / *lap : 0;
  const Nanoseconds within = time - (lap ? *lap * laps : Nanoseconds(0));
  const auto found = std::ranges::lower_bound(times, within);
  if (found == times.end() && !lap)
    return std::nullopt;
  return static_cast<std::uint64_t>(laps) * times.size() + static_cast<std::uint64_t>(found - times.begin());
}

std::optional<std::uint64_t> Timeline::lastUntil(Nanoseconds time) const
{
  if (times.empty() || time < times.front())
    return std::nullopt;
  const auto next = firstFrom(time + Nanoseconds(1));
  return next ? *next - 1 : times.size() - 1;
}

std::optional<std::uint64_t> Timeline::nearest(Nanoseconds time) const
{
  const auto before = lastUntil(time);
  const auto after = firstFrom(time);
  if (!before || !after)
    return before ? before : after;
  return time - *timeOf(*before) <= *timeOf(*after) - time ? before : after;
}
}  // namespace ZR::Replay
