#include "sources/vision/cameraaccess.h"

#include "filtrix/ku/log.h"

#include <exception>

namespace ZR::Filtrix
{
CameraAccess::CameraAccess(const std::shared_ptr<ZRBroker>& broker_) : broker(broker_)
{
  try
  {
    current = std::make_shared<const CameraProxy>(broker_);
  }
  catch (const std::exception& exception)
  {
    ku::log::error("filtrix.videosource", "Can't create proxy on ZRVideoDevice: {} Please verify the autoload.ini.",
                   exception.what());
  }
}

std::shared_ptr<const CameraProxy> CameraAccess::proxy() const
{
  const std::lock_guard lock(mutex);
  return current;
}

std::shared_ptr<const CameraProxy> CameraAccess::obtain()
{
  if (auto known = proxy())
    return known;
  const auto host = broker.lock();
  if (!host)
    return nullptr;
  try
  {
    auto made = std::make_shared<const CameraProxy>(host);
    const std::lock_guard lock(mutex);
    current = made;
    return made;
  }
  catch (const std::exception&)
  {
    return nullptr;  // it has been told that there is no service
  }
}
}  // namespace ZR::Filtrix
