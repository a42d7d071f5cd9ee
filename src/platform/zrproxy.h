#pragma once

#include "platform/zrbroker.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <string_view>

namespace ZR
{
/// Calls whoever stands under a name at a broker, now and later: a service that went away can be called again once it
/// is back. Thread-safe. Calls run side by side, so services and modules are thread-safe themselves.
class ZRProxy
{
public:
  /// Throws `ZRServiceError` when nobody has that name at this moment, std::invalid_argument for a null broker.
  ZRProxy(const std::shared_ptr<ZRBroker>& broker, std::string name);

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  /// Throws `ZRServiceError` when nobody has the name any more, and as `ZRModuleCore::call` does.
  // Called for its effect as often as for its result. NOLINTNEXTLINE(modernize-use-nodiscard)
  ZRValue call(std::string_view method, const ku::DynamicObject::Arguments& arguments = {}) const;

protected:
  /// Who has the name now; throws `ZRServiceError` otherwise.
  [[nodiscard]] std::shared_ptr<ZRModuleCore> _object() const;

private:
  std::weak_ptr<ZRBroker> broker;
  std::string name;
};

/// A proxy to a service whose interface is known, called as through a pointer: `camera->hasDepthCamera()`. Every `->`
/// asks the broker anew and keeps the service alive until the end of the call.
template <typename Service>
class ServiceProxy final : public ZRProxy
{
public:
  /// Throws as `ZRProxy` does, and `ZRServiceError` when the name stands for something else than such a service.
  explicit ServiceProxy(const std::shared_ptr<ZRBroker>& broker_, std::string name_ = Service::serviceName)
      : ZRProxy(broker_, std::move(name_))
  {
    static_cast<void>(get());
  }

  [[nodiscard]] std::shared_ptr<Service> get() const
  {
    auto service = std::dynamic_pointer_cast<Service>(_object());
    if (!service)
      throw ZRServiceError(fmt::format("\"{}\" is not {}", getName(), Service::serviceKind));
    return service;
  }

  [[nodiscard]] std::shared_ptr<Service> operator->() const { return get(); }
};
}  // namespace ZR
