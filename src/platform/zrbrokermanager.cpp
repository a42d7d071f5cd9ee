#include "platform/zrbrokermanager.h"

#include "platform/zrbroker.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZR
{
namespace
{
struct Instance
{
  std::mutex mutex;  // guards the pointer; a leaf
  std::shared_ptr<ZRBrokerManager> manager;
};

Instance& instance()
{
  static Instance only;
  return only;
}
}  // namespace

ZRBroker::~ZRBroker() = default;

void ZRBrokerManager::setInstance(std::shared_ptr<ZRBrokerManager> manager)
{
  const std::lock_guard lock(instance().mutex);
  instance().manager.swap(manager);
}

std::shared_ptr<ZRBrokerManager> ZRBrokerManager::getInstance()
{
  const std::lock_guard lock(instance().mutex);
  if (!instance().manager)
    instance().manager = std::make_shared<ZRBrokerManager>();
  return instance().manager;
}

void ZRBrokerManager::addBroker(const std::shared_ptr<ZRBroker>& broker)
{
  if (!broker)
    throw std::invalid_argument("ZRBrokerManager: expected a broker, came null");
  const std::lock_guard lock(mutex);
  std::erase_if(brokers, [](const auto& known) { return known.expired(); });
  const auto same = [&](const auto& known) { return known.lock() == broker; };
  if (std::ranges::none_of(brokers, same))
    brokers.push_back(broker);
}

std::shared_ptr<ZRBroker> ZRBrokerManager::getRandomBroker() const
{
  const std::lock_guard lock(mutex);
  for (const auto& known : brokers)
    if (auto broker = known.lock())
      return broker;
  return nullptr;
}
}  // namespace ZR
