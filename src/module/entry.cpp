#include "module/entry.h"

#include "module/zrfiltrix.h"
#include "platform/zrbroker.h"
#include "platform/zrbrokermanager.h"

#include <stdexcept>

// NOLINTBEGIN(bugprone-reserved-identifier)

int _createModule(const std::shared_ptr<ZR::ZRBroker>& broker)
{
  if (!broker)
    throw std::invalid_argument("_createModule: expected a broker, got null");
  ZR::ZRBrokerManager::setInstance(broker->brokerManager());
  ZR::ZRBrokerManager::getInstance()->addBroker(broker);
  ZR::createModule<ZR::ZRFiltrix>(broker, ZR::ZRFiltrix::moduleName);
  return 0;
}

int _closeModule()
{
  return 0;
}

// NOLINTEND(bugprone-reserved-identifier)
