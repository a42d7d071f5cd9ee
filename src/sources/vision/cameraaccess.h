#pragma once

#include "platform/cameraservice.h"

#include <memory>
#include <mutex>

namespace ZR::Filtrix
{
/// The proxy on the camera service that all workers share. A service that was not there at first is tried again when a
/// worker asks for it. Thread-safe.
class CameraAccess final
{
public:
  /// A service that is not there is logged.
  explicit CameraAccess(const std::shared_ptr<ZRBroker>& broker_);

  /// Null while there is no service.
  [[nodiscard]] std::shared_ptr<const CameraProxy> proxy() const;

  /// Makes the proxy if it is missing; null when there is no service still.
  std::shared_ptr<const CameraProxy> obtain();

private:
  const std::weak_ptr<ZRBroker> broker;
  mutable std::mutex mutex;  // guards the proxy; a leaf
  std::shared_ptr<const CameraProxy> current;
};
}  // namespace ZR::Filtrix
