#include "platform/zrmodule.h"

#include <stdexcept>

namespace ZR
{
ZRModule::ZRModule(const std::shared_ptr<ZRBroker>& broker, std::string name)
    : ZRModuleCore(std::move(name)), boundBroker(broker)
{
  if (!broker)
    throw std::invalid_argument("module \"" + getName() + "\": expected a broker, came null");
}

ZRModule::~ZRModule() = default;
}  // namespace ZR
