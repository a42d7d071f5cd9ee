#include "graph/aggregatedsink.h"

#include <utility>

namespace ZR::Filtrix
{
AggregatedSink::AggregatedSink(std::string name_) : name(std::move(name_)) {}

bool AggregatedSink::addSink(const std::string& sinkName, NodeSinkPtr sink)
{
  return sink != nullptr && sinks.emplace(sinkName, std::move(sink)).second;
}

void AggregatedSink::update()
{
  DataPtr gathered;
  DataArray values;
  values.reserve(sinks.size());
  bool complete = true;
  for (const auto& [sinkName, sink] : sinks)
  {
    values.push_back(sink->getLastData());
    complete = complete && values.back() != nullptr;
  }
  if (complete)
    gathered = makeData(std::move(values));
  {
    const std::lock_guard lock(mutex);
    lastData = gathered;
  }
  if (gathered)
    events.fire(gathered);
}

DataPtr AggregatedSink::getLastData() const
{
  const std::lock_guard lock(mutex);
  return lastData;
}
}  // namespace ZR::Filtrix
