#include "platform/zrproxy.h"

#include "filtrix/ku/suggest.h"

#include <fmt/ranges.h>

#include <stdexcept>
#include <utility>

namespace ZR
{
ZRProxy::ZRProxy(const std::shared_ptr<ZRBroker>& broker_, std::string name_) : broker(broker_), name(std::move(name_))
{
  if (!broker_)
    throw std::invalid_argument(fmt::format("proxy to \"{}\": expected a broker, came null", name));
  if (broker_->find(name))
    return;
  const auto known = broker_->names();
  throw ZRServiceError(fmt::format(R"(no "{}" at broker "{}"; known are: {}.{})", name, broker_->getName(),
                                   known.empty() ? "none" : fmt::format("{}", fmt::join(known, ", ")),
                                   ku::didYouMean(name, known)));
}

ZRValue ZRProxy::call(std::string_view method, const ku::DynamicObject::Arguments& arguments) const
{
  return _object()->call(method, arguments);
}

std::shared_ptr<ZRModuleCore> ZRProxy::_object() const
{
  const auto alive = broker.lock();
  if (!alive)
    throw ZRServiceError(fmt::format("\"{}\" has gone, and its broker too", name));
  auto object = alive->find(name);
  if (!object)
    throw ZRServiceError(fmt::format(R"("{}" has gone from broker "{}")", name, alive->getName()));
  return object;
}
}  // namespace ZR
