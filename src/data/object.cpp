#include "filtrix/object.h"

#include "filtrix/ku/log.h"

#include <vector>

namespace ZR::Filtrix::Type
{
bool PropertyHolder::hasProperty(std::int32_t key) const
{
  const std::lock_guard guard(lock);
  return properties.contains(key);
}

DataPtr PropertyHolder::getProperty(std::int32_t key) const
{
  const std::lock_guard guard(lock);
  const auto entry = properties.find(key);
  return entry != properties.end() ? entry->second : nullptr;
}

void PropertyHolder::setProperty(std::int32_t key, DataPtr value)
{
  const std::lock_guard guard(lock);
  properties[key].swap(value);  // so that the old value ends after the lock
}

void PropertyHolder::removeProperty(std::int32_t key)
{
  DataPtr removed;
  {
    const std::lock_guard guard(lock);
    if (const auto entry = properties.find(key); entry != properties.end())
    {
      removed = std::move(entry->second);
      properties.erase(entry);
      return;
    }
  }
  ku::log::warning("Object", "Object does not have any property {}", key);
}

PropertyTable PropertyHolder::getProperties() const
{
  const std::lock_guard guard(lock);
  return properties;
}

std::string PropertyHolder::_propertiesToText() const
{
  // Listed first and told afterwards: a value may be an object with a lock of its own, even this one.
  std::vector<std::pair<std::int32_t, DataPtr>> entries;
  {
    const std::lock_guard guard(lock);
    entries.assign(properties.begin(), properties.end());
  }
  std::string text;
  for (const auto& [key, value] : entries)
  {
    text.append("{ ").append(std::to_string(key)).append(" = ");
    text.append(value ? Type::toText(*value) : std::string()).append("}");
  }
  return text;
}

std::string Object2D::toText() const
{
  return _propertiesToText();
}

std::string Object3D::toText() const
{
  return _propertiesToText();
}
}  // namespace ZR::Filtrix::Type
