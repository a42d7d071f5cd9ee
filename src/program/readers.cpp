#include "program/readers.h"

#include "graph/nodeprocesssource.h"

#include <algorithm>
#include <set>
#include <vector>

namespace ZR::Filtrix
{
std::size_t Readers::depthOf(const Process& process) const
{
  std::size_t below = 0;
  for (const NodeSourcePtr& source : process.getReadSources())
  {
    const Process* const read = _readBy(source, Turn());
    if (read == nullptr)
      continue;
    const auto noted = table.find(read);
    below = std::max(below, noted != table.end() ? noted->second.depth : 1);
  }
  return below + 1;
}

void Readers::note(const ProcessPtr& process)
{
  // A process that has ended leaves an entry behind that nobody asks for. They go when there may be as many of them as
  // there are others.
  if (table.size() >= clearAt)
  {
    std::erase_if(table, [](const auto& entry) { return entry.second.process.expired(); });
    clearAt = std::max(clearAt, 2 * table.size());
  }
  table.insert_or_assign(process.get(), Noted{process, depthOf(*process)});
}

// An entry keeps the memory of its process. One that is still read when it is deleted ends later, with its reader.
void Readers::forgetEnded(const Process* deleted, std::size_t living)
{
  const auto hasEnded = [](const auto& entry) { return entry.second.process.expired(); };
  if (const auto own = table.find(deleted); own != table.end() && hasEnded(*own))
    table.erase(own);
  if (table.size() > living)
    std::erase_if(table, hasEnded);
}

// Nobody makes rings elsewhere, so the walk ends.
bool Readers::wouldCloseRing(const NodeSourceAlias& alias, const NodeSourcePtr& target)
{
  std::vector<const Process*> open;
  std::set<const Process*> seen;
  const auto follow = [&](const NodeSourcePtr& source)
  {
    if (const Process* const read = _readBy(source, Turn()); read != nullptr && seen.insert(read).second)
      open.push_back(read);
  };
  follow(target);
  while (!open.empty())
  {
    const Process* const process = open.back();
    open.pop_back();
    for (const NodeSourcePtr& source : process->getReadSources())
    {
      if (source.get() == &alias)
        return true;
      follow(source);
    }
  }
  return false;
}

std::size_t Readers::deepestWith(const NodeSourceAlias& alias, const NodeSourcePtr& target) const
{
  std::size_t deepest = 0;
  if (_readBy(target, Turn()) == nullptr)
    return deepest;
  for (const auto& [process, noted] : _measure({&alias, target}))
    deepest = std::max(deepest, noted.depth);
  return deepest;
}

// The usual alias is turned from one camera to another, and nothing changes.
void Readers::noteTurn(const NodeSourcePtr& from, const NodeSourcePtr& to)
{
  if (_readBy(from, Turn()) != nullptr || _readBy(to, Turn()) != nullptr)
    table = _measure(Turn());
}

// The process that a source reads, itself or through the target of an alias; null when it reads none.
const Process* Readers::_readBy(const NodeSourcePtr& source, const Turn& turn)
{
  NodeSourcePtr target = source;
  if (const auto* const alias = dynamic_cast<const NodeSourceAlias*>(source.get()))
    target = alias == turn.alias ? turn.target : alias->getTarget();
  const auto* const reading = dynamic_cast<const NodeProcessSource*>(target.get());
  return reading != nullptr ? dynamic_cast<const Process*>(reading->getProcess().get()) : nullptr;
}

Readers::Table Readers::_measure(const Turn& turn) const
{
  Table measured;
  for (const auto& [address, noted] : table)
  {
    if (const auto process = noted.process.lock())
      _measureInto(measured, noted, *process, turn);
  }
  return measured;
}

// Calls itself down to the process that reads no other: that is as far as the limit before the alias, and as far again
// behind it.
std::size_t Readers::_measureInto(Table& measured, const Noted& noted, const Process& process, const Turn& turn) const
{
  if (const auto done = measured.find(&process); done != measured.end())
    return done->second.depth;
  std::size_t below = 0;
  for (const NodeSourcePtr& source : process.getReadSources())
  {
    const Process* const read = _readBy(source, turn);
    if (read == nullptr)
      continue;
    const auto known = table.find(read);
    below = std::max(below, known != table.end() ? _measureInto(measured, known->second, *read, turn) : 1);
  }
  measured.emplace(&process, Noted{noted.process, below + 1});
  return below + 1;
}
}  // namespace ZR::Filtrix
