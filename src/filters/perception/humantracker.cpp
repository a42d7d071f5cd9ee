// Gives people identities that last. Each run takes the people of the newest frame and the tracks kept from the runs
// before, and lets an observation continue the track whose last place it can have walked from: first where the two are
// each other's nearest, then where an observation is the nearest of what is left. A track without an observation lives
// on for a while: the longer, the less the robot could have seen it. What continues no track begins one as a candidate,
// which becomes a person by its fourth detection in a row and is not put out before.
//
// Colour plays no part in association: "colorWeight" is checked and not used.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/trackassociation.h"
#include "filters/perception/trackerstate.h"
#include "filters/perception/trackupdate.h"
#include "filters/perception/trackvisibility.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_set>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float microsecond = 0.000001F;  // seconds
constexpr float microsecondsPerSecond = 1.0e6F;

/// An unseen track survives so many intervals between runs, however slow these are.
constexpr float leastIntervalsHidden = 10.0F;
constexpr float leastIntervalsVisible = 3.0F;

/// A candidate with a score begins a track above this.
constexpr float newTrackScore = 0.5F;

/// With more tracks than these the unseen ones end at once. No room holds as many people; but a camera whose clock is
/// ahead gives times that come to no age.
constexpr std::size_t mostTracks = 256;

/// NaN gives none, and what is too long the longest.
Duration toDuration(float microseconds)
{
  constexpr float longest = 9.0e18F;
  if (!(std::abs(microseconds) < longest))
    return Duration(microseconds > 0.0F ? std::numeric_limits<std::int64_t>::max() : 0);
  return Duration(static_cast<std::int64_t>(microseconds));
}

struct Settings
{
  Walk walk;
  Duration limitHidden;
  Duration limitVisible;
  Type::Vector6 camera;  ///< in the robot frame, metres and radians
};

Settings readSettings(const DataList& inputs, Duration sinceLastRun)
{
  // A clock that was set back leaves people no time to go anywhere.
  const float interval = std::max(0.0F, static_cast<float>(sinceLastRun.microseconds()));
  const auto limit = [interval](const DataPtr& persistence, float leastIntervals)
  {
    return std::max(toDuration(*persistence->get<float>() * microsecondsPerSecond),
                    toDuration(leastIntervals * interval));
  };
  return {{interval, *inputs[1]->get<float>() * microsecond},
          limit(inputs[2], leastIntervalsHidden),
          limit(inputs[3], leastIntervalsVisible),
          *inputs[5]->get<Type::Vector6>()};
}

bool isConfirmed(const Type::Human& human)
{
  return human.hasProperty(HumanProperty::IsConfirmedTrack);
}

bool mayBeginTrack(const Type::Human& human)
{
  return !human.hasScore(ScoreName::forNewTrack) || human.getScore(ScoreName::forNewTrack) > newTrackScore;
}

/// One run: the tracks of before and the observations go in, the tracks of now come out.
class Association final
{
public:
  Association(const Settings& settings_, Sightings tracks_, Sightings incoming_, std::string_view category_)
      : settings(settings_), tracks(std::move(tracks_)), incoming(std::move(incoming_)), category(category_)
  {
    live.reserve(tracks.size() + incoming.size());
  }

  /// Pairs that are each other's nearest.
  void matchMutual()
  {
    for (std::size_t i = 0; i < tracks.size(); ++i)
    {
      const auto nearest = closestObservation(tracks[i]);
      if (nearest && isClosestTrack(incoming[*nearest], tracks[i]))
        associate(*nearest, tracks[i]);
      else
        unmatched.push_back(i);
    }
  }

  /// The nearest of what is left, without asking whether somebody else is nearer to it.
  void matchOneWay()
  {
    for (const std::size_t i : unmatched)
    {
      if (const auto nearest = closestObservation(tracks[i]))
        associate(*nearest, tracks[i]);
      else
        loseSight(tracks[i]);
    }
  }

  /// Begins tracks with what continues none. Gives the greatest identity given by now.
  std::uint32_t beginTracks(std::uint32_t lastId)
  {
    Identities identities(lastId, live, removed);
    for (const Sighting& observation : incoming)
    {
      if (!mayBeginTrack(*observation.human))
        continue;
      identities.assign(*observation.human);
      observation.human->setProperty(HumanProperty::DetectionCount, makeData(1));
      live.push_back(observation.value);
    }
    return identities.last();
  }

  DataArray live;
  DataArray removed;  ///< the people among the tracks that ended

private:
  [[nodiscard]] std::optional<std::size_t> closestObservation(const Sighting& track) const
  {
    return findClosest(track, incoming, Seek::Newer, settings.walk, category);
  }

  [[nodiscard]] bool isClosestTrack(const Sighting& observation, const Sighting& track) const
  {
    const auto closest = findClosest(observation, tracks, Seek::Older, settings.walk, category);
    return closest && tracks[*closest].human->getId() == track.human->getId();
  }

  void associate(std::size_t observation, const Sighting& track)
  {
    continueTrack(*incoming[observation].human, *track.human, category);
    live.push_back(incoming[observation].value);
    incoming.erase(incoming.begin() + static_cast<std::ptrdiff_t>(observation));
  }

  void loseSight(const Sighting& track)
  {
    track.human->setProperty(HumanProperty::IsVisible, makeData(false));
    track.human->setProperty(HumanProperty::IsJustConfirmed, makeData(false));
    track.human->setProperty(HumanProperty::DetectionCount, makeData(0));
    const bool isExpected = isSupposedToBeVisible(*track.human, settings.camera, category);
    const Duration limit = isExpected ? settings.limitVisible : settings.limitHidden;
    const Duration age = Time::now() - track.time.value_or(Time());
    if (age < limit && tracks.size() <= mostTracks)
      live.push_back(track.value);
    else if (isConfirmed(*track.human))
      removed.push_back(track.value);
  }

  const Settings settings;
  const Sightings tracks;
  Sightings incoming;  // what is left of it
  std::vector<std::size_t> unmatched;
  const std::string_view category;
};

// Kept: the tracks, the moment of the last run that took its input, and the greatest identity given.
class HumanTracker final : public PerceptionFilter
{
public:
  HumanTracker() : PerceptionFilter("HumanTracker") {}

  DataList run(const DataList& inputs) override
  {
    TrackerState state = readState(getMemory());
    if (!getMemory())
      setMemory(writeState(state));
    if (!haveTypes(inputs, std::array{TypeTag::Array, TypeTag::Float, TypeTag::Float, TypeTag::Float, TypeTag::Float,
                                      TypeTag::Vector6}))
    {
      ku::log::error(category(), "Invalid inputs.");
      return {};
    }
    const DataArray& population = *inputs[0]->get<DataArray>();
    if (!isNew(state.tracks, population))
    {
      ku::log::verbose(category(), "Input is the same as previous call");
      return {};
    }
    auto observations = readObservations(population, state.tracks);
    if (!observations)
      return {};
    return track(inputs, std::move(state), std::move(*observations));
  }

private:
  DataList track(const DataList& inputs, TrackerState state, Sightings observations)
  {
    const Time now = Time::now();
    Association association(readSettings(inputs, now - state.lastRun), readTracks(state.tracks),
                            std::move(observations), category());
    association.matchMutual();
    association.matchOneWay();
    state.lastId = association.beginTracks(state.lastId);
    state.lastRun = now;
    state.tracks = std::move(association.live);
    DataArray people;
    std::ranges::copy_if(state.tracks, std::back_inserter(people),
                         [](const DataPtr& value) { return isConfirmed(*personIn(value)); });
    setMemory(writeState(std::move(state)));
    return {makeData(std::move(people)), makeData(std::move(association.removed))};
  }

  // A frame is known by the time of its first person, which the newest track has if the frame was here before.
  [[nodiscard]] bool isNew(const DataArray& tracks, const DataArray& population) const
  {
    if (tracks.empty() || population.empty())
      return true;
    const auto time = timeOf(population.front());
    if (!time)
      return true;
    Time newest;
    for (const DataPtr& value : tracks)
      newest = std::max(newest, timeOf(value).value_or(newest));
    return newest != *time;
  }

  [[nodiscard]] std::optional<Time> timeOf(const DataPtr& value) const
  {
    const Type::Human* const human = personIn(value);
    if (human == nullptr)
    {
      ku::log::error(category(), "Array contains invalid type");
      return std::nullopt;
    }
    const auto time = valueOf<Time>(*human, HumanProperty::Timestamp);
    if (!time)
      ku::log::error(category(), "Human does not have Timestamp property");
    return time;
  }

  // Nothing when one of them is no person. Somebody who is there twice, or is the last observation of a track already,
  // would be two people in one: only the first counts.
  [[nodiscard]] std::optional<Sightings> readObservations(const DataArray& population, const DataArray& tracks) const
  {
    std::unordered_set<const Type::Human*> known;
    for (const DataPtr& value : tracks)
      known.insert(personIn(value));
    Sightings observations;
    observations.reserve(population.size());
    for (const DataPtr& value : population)
    {
      Type::Human* const human = personIn(value);
      if (human == nullptr)
      {
        ku::log::warning(category(), "Invalid human in input");
        return std::nullopt;
      }
      if (known.insert(human).second)
        observations.push_back(readObservation(value));
      else
        ku::log::warning(category(), "human {} has been observed already, passed over", human->getId());
    }
    return observations;
  }

  [[nodiscard]] Sighting readObservation(const DataPtr& value) const
  {
    Sighting observation(value);
    observation.human->setProperty(HumanProperty::IsVisible, makeData(true));
    observation.human->setProperty(HumanProperty::IsSupposedToBeVisible, makeData(true));
    if (observation.time)
      observation.human->setProperty(HumanProperty::FirstDetectionTime, makeData(*observation.time));
    else
      ku::log::error(category(), "Missing attribute Timestamp");
    return observation;
  }

  static Sightings readTracks(const DataArray& values)
  {
    Sightings tracks;
    tracks.reserve(values.size());
    for (const DataPtr& value : values)
    {
      if (personIn(value) != nullptr)
        tracks.emplace_back(value);
    }
    return tracks;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeHumanTracker()
{
  return std::make_shared<HumanTracker>();
}
}  // namespace ZR::Filtrix::Filters
