#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace ZR::Replay
{
using Nanoseconds = std::chrono::nanoseconds;

/// When the items of a track come, counted from the start of the recording. A recording that is played again and again
/// goes on counting: item n is the one recorded as `n % count`, `n / count` laps later.
class Timeline final
{
public:
  /// The times rise, and lie within [0, lap). Without a lap the track is played once.
  explicit Timeline(std::vector<Nanoseconds> times_, std::optional<Nanoseconds> lap_ = std::nullopt);

  [[nodiscard]] std::size_t count() const { return times.size(); }

  /// Which recorded item it is.
  [[nodiscard]] std::size_t recorded(std::uint64_t item) const { return static_cast<std::size_t>(item % times.size()); }

  /// How much later than it was recorded.
  [[nodiscard]] Nanoseconds shift(std::uint64_t item) const;

  /// Nothing beyond the end.
  [[nodiscard]] std::optional<Nanoseconds> timeOf(std::uint64_t item) const;

  /// The first item that does not come before a time; nothing when there is none.
  [[nodiscard]] std::optional<std::uint64_t> firstFrom(Nanoseconds time) const;

  /// The last item that does not come after a time; nothing when there is none.
  [[nodiscard]] std::optional<std::uint64_t> lastUntil(Nanoseconds time) const;

  /// The item that is nearest in time, the earlier of two; nothing for an empty track.
  [[nodiscard]] std::optional<std::uint64_t> nearest(Nanoseconds time) const;

private:
  std::vector<Nanoseconds> times;
  std::optional<Nanoseconds> lap;
};
}  // namespace ZR::Replay
