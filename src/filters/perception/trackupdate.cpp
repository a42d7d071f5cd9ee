#include "filters/perception/trackupdate.h"

#include "filters/perception/population.h"
#include "filters/perception/shirtcolors.h"
#include "filtrix/histogram.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
/// More detections than these in a row confirm a track.
constexpr std::int32_t minDetectionCount = 3;

/// What a new histogram of the shirt weighs against those before it.
constexpr float newShare = 0.05F;
constexpr float oldShare = 0.95F;

void copyProperty(std::int32_t key, const Type::Human& from, Type::Human& to)
{
  to.setProperty(key, from.getProperty(key));
}

void confirm(Type::Human& observation, const Type::Human& track, std::string_view category)
{
  if (track.hasProperty(HumanProperty::IsConfirmedTrack))
    return observation.setProperty(HumanProperty::IsConfirmedTrack, makeData(true));

  const auto count = valueOf<std::int32_t>(track, HumanProperty::DetectionCount);
  if (!count)
    ku::log::error(category, "Missing property DetectionCount");
  const std::int32_t next = count ? std::min(*count, std::numeric_limits<std::int32_t>::max() - 1) + 1 : 1;
  observation.setProperty(HumanProperty::DetectionCount, makeData(next));
  if (next <= minDetectionCount)
    return;
  observation.setProperty(HumanProperty::IsConfirmedTrack, makeData(true));
  observation.setProperty(HumanProperty::IsJustConfirmed, makeData(true));
}

void keepMaxHeight(Type::Human& observation, const Type::Human& track)
{
  const auto known = floatProperty(track, HumanProperty::MaxHeight);
  if (!known)
    return;
  auto seen = floatProperty(observation, HumanProperty::MaxHeight);
  if (!seen)
    seen = floatProperty(observation, HumanProperty::Height);
  observation.setProperty(HumanProperty::MaxHeight, makeData(std::max(*known, seen.value_or(*known))));
}

void keepColorDescriptor(Type::Human& observation, const Type::Human& track)
{
  if (observation.hasProperty(HumanProperty::ColorDescriptor) || !track.hasProperty(HumanProperty::ColorDescriptor))
    return;
  copyProperty(HumanProperty::ColorDescriptor, track, observation);
  if (track.hasProperty(HumanProperty::ColorDescriptorData))
    copyProperty(HumanProperty::ColorDescriptorData, track, observation);
}

std::uint32_t colorIndex(const std::string& name)
{
  const auto found = std::ranges::find(shirtColorNames, name);
  return static_cast<std::uint32_t>(found - shirtColorNames.begin());
}

// The votes of all detections before, and one more.
std::optional<Type::Histogram> countVote(const Type::Human& track, std::uint32_t color)
{
  const auto votes = checkedProperty<Type::Histogram>(track, HumanProperty::ShirtColorNameHistory);
  if (!votes || votes->totalSize() < shirtColorCount)
    return std::nullopt;
  Type::Histogram counted = *votes;
  counted.values()[color] += 1.0F;
  return counted;
}

void voteOnShirtColor(Type::Human& observation, const Type::Human& track, std::string_view category)
{
  const auto name = checkedProperty<std::string>(observation, HumanProperty::ShirtColorName);
  if (!name)
    return;
  const std::uint32_t color = colorIndex(*name);
  const auto votes = countVote(track, color);
  if (!votes)
  {
    ku::log::error(category, "Missing property ShirtColorNameHistory");
    return;
  }
  observation.setProperty(HumanProperty::ShirtColorNameHistory, makeData(*votes));
  const std::uint32_t winner = votes->maxIndex();
  const bool isOutvoted = color == otherShirtColor || (winner != otherShirtColor && winner != color);
  if (isOutvoted && track.hasProperty(HumanProperty::ShirtColorName))
    copyProperty(HumanProperty::ShirtColorName, track, observation);
}

void smoothShirtHistogram(Type::Human& observation, const Type::Human& track)
{
  const auto fresh = checkedProperty<Type::Histogram>(observation, HumanProperty::ShirtColorHistogram);
  const auto old = checkedProperty<Type::Histogram>(track, HumanProperty::ShirtColorHistogram);
  if (!fresh || !old || fresh->totalSize() != old->totalSize())
    return;
  Type::Histogram smooth = *fresh;
  std::transform(smooth.values(), smooth.values() + smooth.totalSize(), old->values(), smooth.values(),
                 [](float newer, float older) { return newShare * newer + oldShare * older; });
  observation.setProperty(HumanProperty::ShirtColorHistogram, makeData(smooth));
}

void keepFirstDetectionTime(Type::Human& observation, const Type::Human& track, std::string_view category)
{
  if (track.hasProperty(HumanProperty::FirstDetectionTime))
    copyProperty(HumanProperty::FirstDetectionTime, track, observation);
  else
    ku::log::error(category, "Missing attribute FirstDetectionTime");
}
}  // namespace

void continueTrack(Type::Human& observation, const Type::Human& track, std::string_view category)
{
  observation.setId(track.getId());
  confirm(observation, track, category);
  keepMaxHeight(observation, track);
  keepColorDescriptor(observation, track);
  voteOnShirtColor(observation, track, category);
  smoothShirtHistogram(observation, track);
  keepFirstDetectionTime(observation, track, category);
}
}  // namespace ZR::Filtrix::Filters
