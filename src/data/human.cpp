#include "filtrix/human.h"

#include "filtrix/ku/log.h"

#include <limits>
#include <utility>

namespace ZR::Filtrix::Type
{
namespace
{
constexpr const char* category = "Human";

template <typename Map, typename Key>
auto lookUp(const Map& map, const Key& key, typename Map::mapped_type absent)
{
  const auto entry = map.find(key);
  return entry != map.end() ? entry->second : absent;
}
}  // namespace

Human::Human(std::uint64_t id_, std::string name_) : id(id_), name(std::move(name_)) {}

std::uint64_t Human::getId() const
{
  const std::lock_guard guard(lock);
  return id;
}

void Human::setId(std::uint64_t newId)
{
  const std::lock_guard guard(lock);
  id = newId;
}

std::string Human::getName() const
{
  const std::lock_guard guard(lock);
  return name;
}

void Human::setName(std::string newName)
{
  const std::lock_guard guard(lock);
  name.swap(newName);
}

DataPtr Human::getData() const
{
  const std::lock_guard guard(lock);
  return data;
}

void Human::setData(DataPtr value)
{
  const std::lock_guard guard(lock);
  data.swap(value);
}

bool Human::hasObject2D(const std::string& objectName) const
{
  const std::lock_guard guard(lock);
  return objects2D.contains(objectName);
}

std::shared_ptr<Object2D> Human::getObject2D(const std::string& objectName) const
{
  const std::lock_guard guard(lock);
  return lookUp(objects2D, objectName, nullptr);
}

void Human::setObject2D(const std::string& objectName, std::shared_ptr<Object2D> object)
{
  const std::lock_guard guard(lock);
  objects2D[objectName].swap(object);
}

void Human::removeObject2D(const std::string& objectName)
{
  const std::lock_guard guard(lock);
  if (objects2D.erase(objectName) == 0)
    ku::log::warning(category, "Human {} does not have any Object2D called \" {}\"", id, objectName);
}

bool Human::hasObject3D(const std::string& objectName) const
{
  const std::lock_guard guard(lock);
  return objects3D.contains(objectName);
}

std::shared_ptr<Object3D> Human::getObject3D(const std::string& objectName) const
{
  const std::lock_guard guard(lock);
  return lookUp(objects3D, objectName, nullptr);
}

void Human::setObject3D(const std::string& objectName, std::shared_ptr<Object3D> object)
{
  const std::lock_guard guard(lock);
  objects3D[objectName].swap(object);
}

void Human::removeObject3D(const std::string& objectName)
{
  const std::lock_guard guard(lock);
  if (objects3D.erase(objectName) == 0)
    ku::log::warning(category, "Human {} does not have any Object3D called \" {}\"", id, objectName);
}

bool Human::hasScore(const std::string& scoreName) const
{
  const std::lock_guard guard(lock);
  return scores.contains(scoreName);
}

float Human::getScore(const std::string& scoreName) const
{
  const std::lock_guard guard(lock);
  return lookUp(scores, scoreName, std::numeric_limits<float>::quiet_NaN());
}

void Human::setScore(const std::string& scoreName, float score)
{
  const std::lock_guard guard(lock);
  scores[scoreName] = score;
}

void Human::removeScore(const std::string& scoreName)
{
  const std::lock_guard guard(lock);
  if (scores.erase(scoreName) == 0)
    ku::log::warning(category, "Human {} does not have any score called \" {}\"", id, scoreName);
}

bool Human::hasProperty(std::int32_t key) const
{
  const std::lock_guard guard(lock);
  return properties.contains(key);
}

DataPtr Human::getProperty(std::int32_t key) const
{
  const std::lock_guard guard(lock);
  return lookUp(properties, key, nullptr);
}

void Human::setProperty(std::int32_t key, DataPtr value)
{
  const std::lock_guard guard(lock);
  properties[key].swap(value);
}

void Human::removeProperty(std::int32_t key)
{
  const std::lock_guard guard(lock);
  if (properties.erase(key) == 0)
    ku::log::warning(category, "Human {} does not have any property {}", id, key);
}

std::map<std::string, std::shared_ptr<Object2D>> Human::getObjects2D() const
{
  const std::lock_guard guard(lock);
  return objects2D;
}

std::map<std::string, std::shared_ptr<Object3D>> Human::getObjects3D() const
{
  const std::lock_guard guard(lock);
  return objects3D;
}

std::map<std::string, float> Human::getScores() const
{
  const std::lock_guard guard(lock);
  return scores;
}

PropertyTable Human::getProperties() const
{
  const std::lock_guard guard(lock);
  return properties;
}
}  // namespace ZR::Filtrix::Type
