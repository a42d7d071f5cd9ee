#include "filters/perception/propertydump.h"

#include "filtrix/properties.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <span>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr std::string_view human = "Human";
constexpr std::string_view object2D = "Object2D";
constexpr std::string_view object3D = "Object3D";

std::span<const PropertyDescription> vocabularyOf(std::string_view holder)
{
  if (holder == human)
    return humanProperties();
  if (holder == object2D)
    return object2DProperties();
  return holder == object3D ? object3DProperties() : std::span<const PropertyDescription>();
}

void appendProperties(std::string& text, std::string_view indent, std::string_view holder,
                      const Type::PropertyTable& table)
{
  const std::map<std::int32_t, DataPtr> sorted(table.begin(), table.end());
  for (const auto& [key, value] : sorted)
    fmt::format_to(std::back_inserter(text), "{}{} = {}\n", indent, propertyName(holder, key),
                   value ? Type::toText(*value) : "null");
}

template <typename Objects>
void appendObjects(std::string& text, std::string_view holder, const Objects& objects)
{
  for (const auto& [name, object] : objects)
  {
    fmt::format_to(std::back_inserter(text), "  {} \"{}\"{}\n", holder, name, object ? "" : " = null");
    if (object)
      appendProperties(text, "    ", holder, object->getProperties());
  }
}

std::string dumpObject(std::string_view holder, const Type::PropertyHolder& object)
{
  std::string text = fmt::format("{}\n", holder);
  appendProperties(text, "  ", holder, object.getProperties());
  return text;
}
}  // namespace

std::string propertyName(std::string_view holder, std::int32_t key)
{
  const auto vocabulary = vocabularyOf(holder);
  const auto found = std::ranges::find(vocabulary, key, &PropertyDescription::key);
  return found != vocabulary.end() ? std::string(found->name) : std::to_string(key);
}

std::string dump(const Type::Human& person)
{
  std::string text = fmt::format("{} {} \"{}\"\n", human, person.getId(), person.getName());
  for (const auto& [name, score] : person.getScores())
    fmt::format_to(std::back_inserter(text), "  score \"{}\" = {}\n", name, score);
  appendProperties(text, "  ", human, person.getProperties());
  appendObjects(text, object2D, person.getObjects2D());
  appendObjects(text, object3D, person.getObjects3D());
  return text;
}

std::string dump(const Type::Object2D& object)
{
  return dumpObject(object2D, object);
}

std::string dump(const Type::Object3D& object)
{
  return dumpObject(object3D, object);
}
}  // namespace ZR::Filtrix::Filters
