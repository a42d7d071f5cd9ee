#include "filters/perception/trackassociation.h"

#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <cmath>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
bool hasPlaceAndTime(const Sighting& query, std::string_view category)
{
  if (!query.place)
    ku::log::error(category, "Human has no GroundPositionInWorldFrame");
  else if (!query.time)
    ku::log::error(category, "Human has no Timestamp");
  return query.place && query.time;
}

bool areInOrder(Time query, Time candidate, Seek seek, std::string_view category)
{
  if (seek == Seek::Newer ? candidate > query : candidate <= query)
    return true;
  const auto [older, newer] = seek == Seek::Newer ? std::pair(query, candidate) : std::pair(candidate, query);
  ku::log::error(category, "Timestamp error: older={} newer={}", older.microseconds(), newer.microseconds());
  return false;
}

float speedBetween(const Type::Vector2& a, const Type::Vector2& b, float interval)
{
  const Type::Vector2 way = a - b;
  return std::sqrt(way.x * way.x + way.y * way.y) / interval;
}
}  // namespace

Sighting::Sighting(DataPtr value_)
    : value(std::move(value_)), human(personIn(value)), time(valueOf<Time>(*human, HumanProperty::Timestamp)),
      place(placeProperty(*human, HumanProperty::GroundPositionInWorldFrame))
{
}

std::optional<std::size_t> findClosest(const Sighting& query, const Sightings& candidates, Seek seek, const Walk& walk,
                                       std::string_view category)
{
  if (!hasPlaceAndTime(query, category))
    return std::nullopt;
  float best = walk.maxSpeed;
  std::optional<std::size_t> closest;
  for (std::size_t i = 0; i < candidates.size(); ++i)
  {
    const Sighting& candidate = candidates[i];
    if (candidate.time && !areInOrder(*query.time, *candidate.time, seek, category))
      return std::nullopt;
    if (!candidate.time || !candidate.place)
    {
      ku::log::error(category, "human has no {}", candidate.time ? "GroundPositionInWorldFrame" : "Timestamp");
      continue;
    }
    // Two runs at the same moment make every speed infinite, or no number: nobody is near enough then.
    const float speed = speedBetween(*query.place, *candidate.place, walk.interval);
    if (speed < best)
    {
      best = speed;
      closest = i;
    }
  }
  return closest;
}
}  // namespace ZR::Filtrix::Filters
