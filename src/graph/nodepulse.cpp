#include "graph/nodepulse.h"

#include <utility>

namespace ZR::Filtrix
{
void NodePulse::setRestValue(DataPtr value)
{
  restValue = std::move(value);
}

DataPtr NodePulse::_takeSnapshot(Time, Duration)
{
  if (!data)
    return nullptr;
  ++version;
  return std::exchange(data, restValue);
}
}  // namespace ZR::Filtrix
