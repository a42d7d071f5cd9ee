#pragma once

#include "filtrix/data.h"
#include "filtrix/human.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

/// Which observation continues which track: the nearest that somebody could have walked to.
namespace ZR::Filtrix::Filters
{
/// A person, and what association asks of it, read once.
struct Sighting
{
  explicit Sighting(DataPtr value_);

  DataPtr value;
  Type::Human* human;                  ///< the person in `value`, which keeps it alive
  std::optional<Time> time;            ///< when it was seen
  std::optional<Type::Vector2> place;  ///< where it stood in the world frame, metres
};

using Sightings = std::vector<Sighting>;

/// How far people get between two runs.
struct Walk
{
  float interval;  ///< microseconds
  float maxSpeed;  ///< metres per microsecond
};

enum class Seek
{
  Newer,  ///< among the observations, for a track
  Older   ///< among the tracks, for an observation
};

/// The candidate that takes the least speed to get to, in less than the greatest speed; of equal ones the first.
/// Places alone count, and the interval between the runs, which is the same for all.
///
/// Nothing when the query has no place or no time. A candidate without them is passed over. One that was not seen in
/// the order sought makes the whole search fail, since then the times of the two sides cannot be compared at all. All
/// of it is logged.
[[nodiscard]] std::optional<std::size_t> findClosest(const Sighting& query, const Sightings& candidates, Seek seek,
                                                     const Walk& walk, std::string_view category);
}  // namespace ZR::Filtrix::Filters
