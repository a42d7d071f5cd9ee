#include "platform/inprocessbroker.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZR
{
InProcessBroker::InProcessBroker(std::string name_) : name(std::move(name_)), manager(ZRBrokerManager::getInstance()) {}

InProcessBroker::~InProcessBroker()
{
  shutDown();
}

void InProcessBroker::add(std::shared_ptr<ZRModuleCore> object)
{
  if (!object)
    throw std::invalid_argument(fmt::format("broker \"{}\": expected a module or a service, came null", name));
  const std::lock_guard lock(mutex);
  if (_find(object->getName()) != objects.end())
    throw ZRServiceError(fmt::format(R"(broker "{}": "{}" is there already)", name, object->getName()));
  objects.push_back(std::move(object));
}

std::shared_ptr<ZRModuleCore> InProcessBroker::remove(const std::string& objectName)
{
  const std::lock_guard lock(mutex);
  const auto found = _find(objectName);
  if (found == objects.end())
    return nullptr;
  auto object = *found;
  objects.erase(found);
  return object;
}

std::shared_ptr<ZRModuleCore> InProcessBroker::find(const std::string& objectName) const
{
  const std::lock_guard lock(mutex);
  const auto found = _find(objectName);
  return found == objects.end() ? nullptr : *found;
}

std::vector<std::string> InProcessBroker::names() const
{
  std::vector<std::string> all;
  {
    const std::lock_guard lock(mutex);
    for (const auto& object : objects)
      all.push_back(object->getName());
  }
  std::ranges::sort(all);
  return all;
}

void InProcessBroker::shutDown()
{
  while (true)
  {
    std::shared_ptr<ZRModuleCore> last;  // destroyed after the lock is given back
    const std::lock_guard lock(mutex);
    if (objects.empty())
      return;
    last = std::move(objects.back());
    objects.pop_back();
  }
}

// Under the mutex.
InProcessBroker::Objects::const_iterator InProcessBroker::_find(const std::string& objectName) const
{
  return std::ranges::find(
      objects, objectName, [](const auto& object) -> const auto& { return object->getName(); });
}

Host::Host(std::string name) : theBroker(std::make_shared<InProcessBroker>(std::move(name)))
{
  theBroker->brokerManager()->addBroker(theBroker);
}

Host::~Host()
{
  theBroker->shutDown();
}
}  // namespace ZR
