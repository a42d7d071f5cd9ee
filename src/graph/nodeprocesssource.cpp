#include "graph/nodeprocesssource.h"

#include <utility>

namespace ZR::Filtrix
{
NodeProcessSource::NodeProcessSource(std::string name_, std::shared_ptr<SinkReader> process_, std::string sinkName_)
    : NodeSource(std::move(name_)), process(std::move(process_)), sinkName(std::move(sinkName_))
{
}

std::uint64_t NodeProcessSource::getVersion() const
{
  return 0;
}

DataPtr NodeProcessSource::_takeSnapshot(Time time, Duration)
{
  if (!process)
    return nullptr;
  // A process that is only read, never scheduled, has nobody else to clear up after a run of its that broke off.
  process->recover();
  return process->getData(sinkName, time);
}
}  // namespace ZR::Filtrix
