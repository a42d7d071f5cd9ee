#pragma once

#include "platform/zrbroker.h"

#include <memory>
#include <string>
#include <utility>

namespace ZR
{
/// The base of modules: methods to be called by name, bound to a broker.
class ZRModule : public ZRModuleCore
{
public:
  /// Throws std::invalid_argument for a null broker.
  ZRModule(const std::shared_ptr<ZRBroker>& broker, std::string name);
  ~ZRModule() override;

  /// The broker that the module is bound to, or null when that has gone.
  [[nodiscard]] std::shared_ptr<ZRBroker> getBroker() const noexcept { return boundBroker.lock(); }

private:
  std::weak_ptr<ZRBroker> boundBroker;
};

/// Makes a module, ends its set-up and adds it to the broker, which owns it from then on. Throws what the module's
/// constructor throws, and `ZRServiceError` when the name is taken.
template <typename Module, typename... Args>
std::shared_ptr<Module> createModule(const std::shared_ptr<ZRBroker>& broker, std::string name, Args&&... args)
{
  auto module = std::make_shared<Module>(broker, std::move(name), std::forward<Args>(args)...);
  module->initModule();
  broker->add(module);
  return module;
}
}  // namespace ZR
