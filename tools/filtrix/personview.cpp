#include "tools/filtrix/personview.h"

#include "filters/perception/objects.h"
#include "filtrix/properties.h"
#include "filtrix/time.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ZR::Filtrix::Tool
{
namespace
{
using Filters::isTrue;
using Filters::propertyOf;

constexpr std::pair<HumanProperty::Key, const char*> eventNames[] = {
    {HumanProperty::IsJustConfirmed, "appeared"},       {HumanProperty::ApproachedRobot, "approached"},
    {HumanProperty::MovedAwayFromRobot, "moved away"},  {HumanProperty::StartedLooking, "looked"},
    {HumanProperty::StoppedLooking, "looked away"},     {HumanProperty::StartedWavingLeft, "waved left"},
    {HumanProperty::StartedWavingRight, "waved right"}, {HumanProperty::StartedWavingCenter, "waved"},
    {HumanProperty::JustSatDown, "sat down"},           {HumanProperty::JustStoodUp, "stood up"}};

template <typename T>
std::optional<T> valueOf(const Type::Human& human, std::int32_t key)
{
  const auto value = propertyOf<T>(human, key);
  return value ? std::optional<T>(*value) : std::nullopt;
}

std::string orDash(const std::optional<float>& value, int digits)
{
  return value ? fmt::format("{:.{}f}", *value, digits) : "-";
}

std::string doingOf(const PersonView& person)
{
  std::string text;
  const auto add = [&](bool isSo, const char* word)
  {
    if (isSo)
      text += (text.empty() ? "" : ", ") + std::string(word);
  };
  add(!person.visible, "unseen");
  add(person.looking, "looking");
  add(person.waving, "waving");
  add(person.sitting, "sitting");
  return text.empty() ? "-" : text;
}
}  // namespace

PersonView viewOf(const Type::Human& human)
{
  PersonView person;
  person.id = human.getId();
  if (const auto place = valueOf<Type::Vector2>(human, HumanProperty::GroundPositionInRobotFrame))
  {
    person.distance = std::hypot(place->x, place->y);
    person.bearing = std::atan2(place->y, place->x) * 57.29578F;
  }
  person.height = valueOf<float>(human, HumanProperty::Height);
  person.zone = valueOf<std::int32_t>(human, HumanProperty::EngagementZone);
  person.visible = !human.hasProperty(HumanProperty::IsVisible) || isTrue(human, HumanProperty::IsVisible);
  person.looking = isTrue(human, HumanProperty::IsLookingAtRobot);
  person.waving = isTrue(human, HumanProperty::IsWavingLeft) || isTrue(human, HumanProperty::IsWavingRight) ||
                  isTrue(human, HumanProperty::IsWavingCenter);
  person.sitting = valueOf<std::int32_t>(human, HumanProperty::PostureState) == 2;
  person.shirt = valueOf<std::string>(human, HumanProperty::ShirtColorName).value_or("");
  const auto first = valueOf<Type::Time>(human, HumanProperty::FirstDetectionTime);
  const auto last = valueOf<Type::Time>(human, HumanProperty::Timestamp);
  if (first && last)
    person.since = 1.0e-6 * static_cast<double>((*last - *first).microseconds());
  for (const auto& [key, name] : eventNames)
  {
    if (isTrue(human, key))
      person.events.emplace_back(name);
  }
  return person;
}

std::vector<PersonView> viewsOf(const DataPtr& population)
{
  std::vector<PersonView> people;
  for (const auto& human : Filters::elementsOf<Type::Human>(population, "filtrix.people"))
    people.push_back(viewOf(*human));
  std::ranges::sort(people, {}, &PersonView::id);
  return people;
}

std::string tableOf(const std::vector<PersonView>& people)
{
  std::string text = fmt::format("{:>5} {:>9} {:>9} {:>8} {:>5}  {:<9} {:>8}  {}\n", "id", "distance", "bearing",
                                 "height", "zone", "shirt", "since", "doing");
  for (const PersonView& person : people)
    text += fmt::format("{:>5} {:>7} m {:>7} ° {:>6} m {:>5}  {:<9} {:>6.1f} s  {}\n", person.id,
                        orDash(person.distance, 2), orDash(person.bearing, 0), orDash(person.height, 2),
                        person.zone ? std::to_string(*person.zone) : "-", person.shirt.empty() ? "-" : person.shirt,
                        person.since, doingOf(person));
  if (people.empty())
    text += "    nobody\n";
  return text;
}

nlohmann::json toJson(const PersonView& person)
{
  nlohmann::json json = {{"id", person.id},         {"visible", person.visible}, {"looking", person.looking},
                         {"waving", person.waving}, {"sitting", person.sitting}, {"since", person.since},
                         {"events", person.events}};
  const auto add = [&](const char* key, const auto& value)
  {
    if (value)
      json[key] = *value;
  };
  add("distance", person.distance);
  add("bearing", person.bearing);
  add("height", person.height);
  add("zone", person.zone);
  if (!person.shirt.empty())
    json["shirt"] = person.shirt;
  return json;
}
}  // namespace ZR::Filtrix::Tool
