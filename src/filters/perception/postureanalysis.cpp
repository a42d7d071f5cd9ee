// Tells whether a person sits or stands. A body whose height falls below a share of the person's own greatest height
// sits, and one that comes near that height again stands; the gap between the two holds the last answer. Of somebody of
// whom not enough has been seen, only a clear height says anything: a child is not a sitting adult. A change counts
// once it has lasted.
//
// Source of the heights: S. Pheasant, C. Haslegrave, "Bodyspace", 3rd ed., 2006: seated crowns lie at 1.15 to 1.46 m,
// standing ones at 1.50 to 1.86 m.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"
#include "filtrix/time.h"

#include <cmath>
#include <cstdint>
#include <map>

namespace ZR::Filtrix::Filters
{
namespace
{
enum Posture : std::int32_t
{
  unknown = 0,
  standing = 1,
  sitting = 2
};

/// Of the greatest height: "threshold" is the share below which a body sits; so much above it, it stands.
constexpr float gap = 0.06F;

/// Who was never seen higher than this, in metres, is judged by the absolute heights below.
constexpr float tallEnough = 1.50F;
constexpr float lowestSitting = 1.05F;
constexpr float surelySitting = 1.40F;
constexpr float surelyStanding = 1.50F;

/// A change is told once it has lasted so long.
const Type::Duration dwell(700'000);

// What is kept of a person: the posture that was told, another one that has begun, and when.
struct Record
{
  std::int32_t told = unknown;
  std::int32_t next = unknown;
  Type::Time since;
};

// Kept as an array of arrays: id as String, the two postures as Integer, the time.
class Records final
{
public:
  explicit Records(const DataPtr& memory)
  {
    const auto* const entries = memory ? memory->get<DataArray>() : nullptr;
    if (entries == nullptr)
      return;
    for (const DataPtr& value : *entries)
    {
      const DataArray& fields = *value->get<DataArray>();
      records[fields[0]->toString()] = {fields[1]->toInt(), fields[2]->toInt(), *fields[3]->get<Type::Time>()};
    }
  }

  // A person that was not there last time begins anew.
  Record find(const std::string& id) const
  {
    const auto entry = records.find(id);
    return entry != records.end() ? entry->second : Record();
  }

  static DataPtr toData(const std::map<std::string, Record>& kept)
  {
    DataArray entries;
    for (const auto& [id, record] : kept)
      entries.push_back(
          makeData(DataArray{makeData(id), makeData(record.told), makeData(record.next), makeData(record.since)}));
    return makeData(std::move(entries));
  }

private:
  std::map<std::string, Record> records;
};

class PostureAnalysis final : public PerceptionFilter
{
public:
  PostureAnalysis() : PerceptionFilter("PostureAnalysis") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float threshold = *inputs[1]->get<float>();
    const Type::Time now = Type::Time::now();
    const Records before(getMemory());
    std::map<std::string, Record> kept;
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
    {
      const std::string id = std::to_string(human->getId());
      kept[id] = analyse(*human, before.find(id), threshold, now);
    }
    setMemory(Records::toData(kept));
    return {inputs[0]};
  }

private:
  Record analyse(Type::Human& human, Record record, float threshold, Type::Time now) const
  {
    for (const std::int32_t flag : {HumanProperty::JustSatDown, HumanProperty::JustStoodUp})
    {
      if (human.hasProperty(flag))
        human.removeProperty(flag);
    }
    const bool isUnseen = human.hasProperty(HumanProperty::IsVisible) && !isTrue(human, HumanProperty::IsVisible);
    const std::int32_t seen = isUnseen ? record.told : postureOf(human, record.told, threshold);
    if (record.told == unknown && seen != unknown)
    {
      record = {seen, seen, now};
    }
    else if (seen == record.told || seen == unknown)
    {
      record.next = record.told;
    }
    else if (seen != record.next)
    {
      record.next = seen;
      record.since = now;
    }
    else if (now - record.since >= dwell)
    {
      record.told = seen;
      human.setProperty(seen == sitting ? HumanProperty::JustSatDown : HumanProperty::JustStoodUp, makeData(true));
    }
    human.setProperty(HumanProperty::PostureState, makeData(record.told));
    return record;
  }

  [[nodiscard]] std::int32_t postureOf(const Type::Human& human, std::int32_t before, float threshold) const
  {
    const auto height = propertyOf<float>(human, HumanProperty::Height);
    const auto greatest = propertyOf<float>(human, HumanProperty::MaxHeight);
    const auto object = bodyOf(human);
    if (!height || !std::isfinite(*height))
    {
      ku::log::error(category(), "human {} does not have a 'Height' property", human.getId());
      return unknown;
    }
    if (object && isTrue(*object, Object3DProperty::TopBorderTouched))
      return unknown;
    if (greatest && *greatest >= tallEnough)
    {
      const float share = *height / *greatest;
      if (share < threshold)
        return sitting;
      return share > threshold + gap ? standing : before;
    }
    if (*height > surelyStanding)
      return standing;
    return *height > lowestSitting && *height < surelySitting ? sitting : before;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makePostureAnalysis()
{
  return std::make_shared<PostureAnalysis>();
}
}  // namespace ZR::Filtrix::Filters
