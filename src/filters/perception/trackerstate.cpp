#include "filters/perception/trackerstate.h"

#include "filters/perception/population.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ZR::Filtrix::Filters
{
TrackerState readState(const DataPtr& memory)
{
  TrackerState state;
  const auto* const kept = memory ? memory->get<DataArray>() : nullptr;
  if (kept == nullptr || kept->size() < 2)
    return state;
  if (const auto* const tracks = (*kept)[0] ? (*kept)[0]->get<DataArray>() : nullptr)
    state.tracks = *tracks;
  if (const auto* const time = (*kept)[1] ? (*kept)[1]->get<Time>() : nullptr)
    state.lastRun = *time;
  if (kept->size() > 2 && (*kept)[2])
    state.lastId = (*kept)[2]->toUnsigned();
  return state;
}

DataPtr writeState(TrackerState state)
{
  return makeData(DataArray{makeData(std::move(state.tracks)), makeData(state.lastRun), makeData(state.lastId)});
}

Identities::Identities(std::uint32_t lastId_, const DataArray& live, const DataArray& removed) : lastId(lastId_)
{
  for (const auto* const list : {&live, &removed})
  {
    for (const DataPtr& value : *list)
      used.insert(personIn(value)->getId());
  }
}

void Identities::assign(Type::Human& human)
{
  std::uint64_t id = human.getId();
  while (id == 0 || used.contains(id))
    id = ++lastId;
  used.insert(id);
  if (id <= std::numeric_limits<std::uint32_t>::max())
    lastId = std::max(lastId, static_cast<std::uint32_t>(id));
  human.setId(id);
}
}  // namespace ZR::Filtrix::Filters
