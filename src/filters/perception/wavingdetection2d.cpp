// Tells whether somebody waves, from movements in a colour image alone, where nobody knows who moves or how far away.
//
// | Port        | Types   | Meaning |
// |-------------|---------|--------------------------------------------------------------------------------------------|
// | movementsIn | Array   | moments, oldest first: an Array each, of the Object2D or Object3D that moved then | |
// thresholdIn | Float   | the least step between two turns, as a share of the image's width; 0.03 is 7 cm at 2 m     |
// | wavingOut   | Boolean | whether one of the movements goes to and fro |
//
// One moment tells nothing about waving, so the filter, which keeps nothing, is given several: those of the last two
// seconds, ten a second or more. An array of objects, not of arrays, is one moment. A movement continues the nearest
// one of before that is within a fifth of the image's width, which a hand at 1 m does not cross in a tenth of a second;
// moments in which it was not found are passed over. The ways are judged as those of the hands of known people are.

#include "filters/perception/handmovements.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* ownCategory = "filter.wavingdetection2d";

/// Of the image's width a movement goes no farther between two moments.
constexpr float reach = 0.2F;

/// Of the movements of a moment no more are followed: there are not so many hands.
constexpr std::size_t mostMovements = 32;

// One movement from moment to moment.
struct Track
{
  HandPath path;
  Type::Vector3 last;  // also when it was too small a step for the path
  bool isContinued;
};

// The centre from the left upper corner, in widths of the image.
template <typename Object>
std::optional<Type::Vector3> placeOf(const std::shared_ptr<Object>& object, std::int32_t centreKey,
                                     std::int32_t sizeKey)
{
  const auto centre = object ? propertyOf<Type::Vector2>(*object, centreKey) : nullptr;
  const auto size = object ? propertyOf<Type::Vector2>(*object, sizeKey) : nullptr;
  if (!centre || !size || !(size->x > 0.0F) || !std::isfinite(centre->x) || !std::isfinite(centre->y))
    return std::nullopt;
  return Type::Vector3(centre->x / size->x, centre->y / size->x, 0.0F);
}

std::optional<Type::Vector3> placeIn(const DataPtr& value)
{
  if (!value)
    return std::nullopt;
  if (value->type() == TypeTag::Object3D)
    return placeOf(value->share<Type::Object3D>(), Object3DProperty::CenterOfMass, Object3DProperty::SizeImage);
  return placeOf(value->share<Type::Object2D>(), Object2DProperty::CenterOfMass, Object2DProperty::SizeImage);
}

class WavingDetection2D final : public PerceptionFilter
{
public:
  WavingDetection2D() : PerceptionFilter("WavingDetection2D") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float minStep = *inputs[1]->get<float>();
    if (!(minStep > 0.0F))
    {
      ku::log::error(ownCategory, "expected a threshold above 0 of the image's width, got {}", minStep);
      return {};
    }
    std::vector<Track> tracks;
    for (const DataPtr& moment : *inputs[0]->get<DataArray>())
    {
      if (const auto* const movements = moment ? moment->get<DataArray>() : nullptr)
        follow(*movements, minStep, &tracks);
    }
    return {makeData(std::ranges::any_of(tracks, [minStep](const Track& track)
                                         { return isWaving(track.path.positions, minStep); }))};
  }

private:
  static void follow(const DataArray& movements, float minStep, std::vector<Track>* tracks)
  {
    for (Track& track : *tracks)
      track.isContinued = false;
    for (std::size_t i = 0; i < std::min(movements.size(), mostMovements); ++i)
    {
      const auto place = placeIn(movements[i]);
      if (!place)
      {
        ku::log::error(ownCategory, "passed over a movement: expected an object with CenterOfMass and SizeImage");
        continue;
      }
      Track& track = findTrack(*place, tracks);
      track.path.add(*place, Time(), minStep);
      track.last = *place;
      track.isContinued = true;
    }
  }

  // The nearest that nothing continues yet in this moment; else a new one.
  static Track& findTrack(const Type::Vector3& place, std::vector<Track>* tracks)
  {
    Track* nearest = nullptr;
    float smallest = reach;
    for (Track& track : *tracks)
    {
      const float distance = std::hypot(track.last.x - place.x, track.last.y - place.y);
      if (track.isContinued || distance > smallest)
        continue;
      smallest = distance;
      nearest = &track;
    }
    return nearest != nullptr ? *nearest : tracks->emplace_back(Track{{}, place, false});
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeWavingDetection2D()
{
  return std::make_shared<WavingDetection2D>();
}
}  // namespace ZR::Filtrix::Filters
