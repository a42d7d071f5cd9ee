#include "graph/sourceadapter.h"

#include "graph/processkey.h"

#include <stdexcept>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
std::shared_ptr<UserSource> notNull(std::shared_ptr<UserSource> source)
{
  if (!source)
    throw std::invalid_argument("SourceAdapter: expected a user source, got null");
  return source;
}
}  // namespace

SourceAdapter::SourceAdapter(std::shared_ptr<UserSource> userSource_)
    : NodeSource(notNull(userSource_)->getName()), userSource(std::move(userSource_))
{
}

void SourceAdapter::_synchronize(Time time, Duration tolerance, const ProcessKey& processKey,
                                 const ProcessKey& scopeKey, std::uint64_t depth)
{
  NodeSource::_synchronize(time, tolerance, processKey, scopeKey, depth);
  const std::lock_guard lock(mutex);
  Pin* const pin = pins.find(processKey.getHash());
  if (pin != nullptr && pin->count == 1)
    pin->snapshot = userSource->getData(time, tolerance);
}

void SourceAdapter::setData(DataPtr value)
{
  {
    const std::lock_guard lock(mutex);
    userSource->setData(value);
  }
  if (value)
    events->fire(value);
}

DataPtr SourceAdapter::getSourceData(Time time, Duration tolerance)
{
  const std::lock_guard lock(mutex);
  return userSource->getData(time, tolerance);
}

std::uint64_t SourceAdapter::getVersion() const
{
  return 0;
}
}  // namespace ZR::Filtrix
