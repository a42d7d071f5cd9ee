// The sources' side of the registry: creating, aliasing, reading and writing sources, and events on them.

#include "filtrix/ku/log.h"
#include "foundation/text/split.h"
#include "graph/nodeprocesssource.h"
#include "graph/sourceadapter.h"
#include "program/filtrixprivate.h"
#include "program/messages.h"

#include <fmt/format.h>

#include <algorithm>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.private";

// Logs and says no.
template <typename... Args>
bool fail(fmt::format_string<Args...> text, Args&&... args)
{
  ku::log::error(category, text, std::forward<Args>(args)...);
  return false;
}
}  // namespace

bool FiltrixPrivate::createSource(const std::string& name, const OriginPtr& origin)
{
  return createSource(name, std::make_shared<NodeSource>(name), origin);
}

bool FiltrixPrivate::createSource(const std::string& name, const NodeSourcePtr& source, const OriginPtr& origin)
{
  const std::string where = placeOf(origin);
  if (const std::string problem = tellIfTooLong("the name", name); !problem.empty())
    return fail("createSource(\"{}\"): {}{}", shortName(name), problem, where);
  if (!source)
    return fail("createSource(\"{}\"): expected a source, got null.{}", name, where);
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  if (_isSourceNameTaken(name))
    return fail("createSource(\"{}\"): source already exists.{}", name, where);
  if (const std::string reason = _noRoomForSource(); !reason.empty())
    return fail("createSource(\"{}\"): {}{}", name, reason, where);
  if (origin)
    source->setOrigin(origin);
  sources.emplace(name, source);
  return true;
}

bool FiltrixPrivate::createSource(const std::string& name, const std::shared_ptr<UserSource>& source)
{
  return createSource(name, source ? std::make_shared<SourceAdapter>(source) : NodeSourcePtr());
}

bool FiltrixPrivate::createSourceFromProcessSink(const std::string& name, const std::string& sink)
{
  if (const std::string problem = tellIfTooLong("the name", name); !problem.empty())
    return fail("createSourceFromProcessSink(\"{}\"): {}", shortName(name), problem);
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  if (_isSourceNameTaken(name))
    return fail("createSourceFromProcessSink(\"{}\"): source already exists.", name);
  if (const std::string reason = _noRoomForSource(); !reason.empty())
    return fail("createSourceFromProcessSink(\"{}\"): {}", name, reason);
  const std::string prefix = fmt::format("createSourceFromProcessSink(\"{}\", \"{}\"):", name, sink);
  if (sink.find(':') == std::string::npos)
    return fail("{}impossible to find the specified process sink. Please make sure to write the sink name as "
                "\"process_name:sink_name\".",
                prefix);
  const auto [processName, sinkName] = splitOnce(sink, ":");
  const auto process = processes.find(std::string(processName));
  if (process == processes.end())
    return fail("{}impossible to find the specified process \"{}\".", prefix, processName);
  if (!process->second->hasSink(std::string(sinkName)))
    return fail("{}impossible to find the specified sink \"{}\" in the process \"{}\".", prefix, sinkName, processName);
  const auto source = std::make_shared<NodeProcessSource>(name, process->second, std::string(sinkName));
  source->addDependency(process->first);
  sources.emplace(name, source);
  return true;
}

bool FiltrixPrivate::createSourceAlias(const std::string& alias, const std::string& target)
{
  if (const std::string problem = tellIfTooLong("the name", alias); !problem.empty())
    return fail("Can't create alias \"{}\": {}", shortName(alias), problem);
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  const auto source = sources.find(target);
  if (source == sources.end())
    return fail("Can't create alias \"{}\": source \"{}\" not found.", alias, target);
  if (_isSourceNameTaken(alias))
    return fail("Can't create alias \"{}\": source or alias is already present.", alias);
  if (const std::string reason = _noRoomForSource(); !reason.empty())
    return fail("Can't create alias \"{}\": {}", alias, reason);
  const auto node = std::make_shared<NodeSourceAlias>(alias);
  node->setTarget(source->second);
  aliases.emplace(alias, node);
  aliasTargets[target].push_back(alias);
  return true;
}

bool FiltrixPrivate::renameSourceAlias(const std::string& alias, const std::string& newName)
{
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  const auto entry = aliases.find(alias);
  if (entry == aliases.end())
    return fail("Can't rename alias \"{}\": alias unknown.", alias);
  if (const std::string problem = tellIfTooLong("the new name", newName); !problem.empty())
    return fail("Can't rename alias \"{}\": {}", alias, problem);
  if (_isSourceNameTaken(newName))
    return fail("Can't rename alias \"{}\": \"{}\" is already in use.", alias, newName);
  std::string key = newName;
  for (auto& [target, names] : aliasTargets)
    std::ranges::replace(names, alias, newName);
  auto node = aliases.extract(entry);
  node.key() = std::move(key);
  aliases.insert(std::move(node));
  if (auto bound = boundSources.extract(alias))
  {
    bound.key() = newName;
    boundSources.insert(std::move(bound));
  }
  return true;
}

bool FiltrixPrivate::retargetSourceAlias(const std::string& alias, const std::string& target)
{
  // The process lock keeps the processes as they are while we look at who would come to read whom.
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  const auto entry = aliases.find(alias);
  const auto source = sources.find(target);
  if (entry == aliases.end() || source == sources.end())
    return fail("Can't retarget alias \"{}\" to  \"{}\": alias or target unknown", alias, target);
  if (Readers::wouldCloseRing(*entry->second, source->second))
    return fail("Can't retarget alias \"{}\" to  \"{}\": a process would read itself", alias, target);
  if (const std::size_t depth = readers.deepestWith(*entry->second, source->second); depth > Limits::readingDepth)
    return fail(
        "Can't retarget alias \"{}\" to  \"{}\": processes would read one another {} deep, expected at most {}.", alias,
        target, depth, Limits::readingDepth);
  const NodeSourcePtr before = entry->second->getTarget();
  if (!entry->second->setTarget(source->second))
    return false;
  readers.noteTurn(before, source->second);
  for (auto& [name, names] : aliasTargets)
    std::erase(names, alias);
  aliasTargets[target].push_back(alias);
  return true;
}

bool FiltrixPrivate::deleteSource(const std::string& name)
{
  std::vector<NodeSourcePtr> deleted;  // end after the locks
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  const auto dropAlias = [&](const std::string& alias)
  {
    const auto entry = aliases.find(alias);
    if (entry == aliases.end())
      return false;
    deleted.push_back(entry->second);
    aliases.erase(entry);
    return true;
  };
  if (dropAlias(name))
  {
    for (auto& [target, names] : aliasTargets)
      std::erase(names, name);
    return true;
  }
  const auto source = sources.find(name);
  if (source == sources.end())
    return fail("Can't delete source \"{}\": source unknown.", name);
  // An alias of nothing would only be found out by the run that reads it.
  for (const std::string& alias : aliasTargets[name])
    dropAlias(alias);
  aliasTargets.erase(name);
  boundSources.erase(name);
  deleted.push_back(source->second);
  sources.erase(source);
  return true;
}

std::vector<std::string> FiltrixPrivate::getSources() const
{
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  std::vector<std::string> names;
  for (const auto& [name, source] : sources)
    names.push_back(name);
  for (const auto& [name, alias] : aliases)
    names.push_back(name);
  std::ranges::sort(names);
  return names;
}

bool FiltrixPrivate::isSourceBinded(const std::string& name) const
{
  const std::lock_guard lock(sourceMutex);
  return boundSources.contains(name);
}

float FiltrixPrivate::getSourceFrequency(const std::string& name) const
{
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  const NodeSourcePtr source = _lookUpSource(name);
  if (!source)
    return 0.0F;
  const auto alias = aliases.find(name);
  const NodeSourcePtr target = alias != aliases.end() ? alias->second->getTarget() : nullptr;
  float best = 0.0F;
  for (const auto& [processName, process] : processes)
  {
    const bool reads = std::ranges::any_of(process->getReadSources(),
                                           [&](const auto& read) { return read == source || read == target; });
    if (reads && process->isLive())
      best = std::max(best, process->getFrequency());
  }
  return best;
}

float FiltrixPrivate::getSourceDemand(const std::string& name) const
{
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  const NodeSourcePtr wanted = _lookUpSource(name);
  if (!wanted)
    return 0.0F;
  const auto leadsThere = [&](NodeSourcePtr source)
  {
    while (source && source != wanted)
    {
      const auto* const alias = dynamic_cast<const NodeSourceAlias*>(source.get());
      source = alias != nullptr ? alias->getTarget() : nullptr;
    }
    return source != nullptr;
  };
  float demand = 0.0F;
  for (const auto& [processName, process] : processes)
  {
    if (process->isLive() && process->getFrequency() > demand &&
        std::ranges::any_of(process->getReadSources(), leadsThere))
      demand = process->getFrequency();
  }
  return demand;
}

DataPtr FiltrixPrivate::getSourceData(const std::string& source, const std::string& process, Duration duration) const
{
  NodeSourcePtr node;
  if (process.empty())
  {
    node = _findSource(source);
    if (!node)
    {
      fail("Can't get data from source \"{}\": source unknown.", source);
      return nullptr;
    }
  }
  else
  {
    const ProcessPtr owner = _findProcess(process);
    if (!owner)
    {
      fail("Can't get data from source \"{}\": process \"{}\" unknown.", source, process);
      return nullptr;
    }
    node = owner->findSource(source);
    if (!node)
    {
      fail("Can't get data from source \"{}\": process \"{}\" don't own this source.", source, process);
      return nullptr;
    }
  }
  return node->getSourceData(Time::now(), duration);
}

bool FiltrixPrivate::setData(const std::string& name, const DataPtr& value)
{
  const NodeSourcePtr source = _findSource(name);
  if (!source)
    return fail("Can't set data for source \"{}\": source unknown.", name);
  source->setData(value);
  return true;
}

bool FiltrixPrivate::setData(const std::string& name, const std::string& process, const DataPtr& value)
{
  const ProcessPtr owner = _findProcess(process);
  if (!owner)
    return fail("Can't set data for source \"{}\": process \"{}\" not found.", name, process);
  const NodeSourcePtr source = owner->findSource(name);
  if (!source)
    return fail("Can't set data for source \"{}\": source \"{}\" not found.", name, name);
  source->setData(value);
  return true;
}

bool FiltrixPrivate::createEvent(const std::string& name, const std::string& sink, const OriginPtr& origin)
{
  const std::string prefix = fmt::format("createEvent(\"{}\", callback):", name);
  if (sink.find(':') == std::string::npos)
    return fail("{}invalid sink format expected \"process:sink\".", prefix);
  const ProcessPtr target = _findProcess(name);
  if (!target)
    return fail("createEvent({}): unknown target process.", name);
  const auto event = std::make_shared<Event>(scheduler, target);
  event->setOrigin(origin);
  return _addSinkEvent(prefix, sink, event);
}

bool FiltrixPrivate::createEvent(const std::string& name, const std::string& sink, Event::Callback callback)
{
  const std::string prefix = fmt::format("createEvent(\"{}\", callback):", name);
  if (sink.find(':') == std::string::npos)
    return fail("{}invalid sink format expected \"process:sink\".", prefix);
  return _addSinkEvent(prefix, sink, std::make_shared<Event>(std::move(callback)));
}

bool FiltrixPrivate::_addSinkEvent(const std::string& prefix, const std::string& sink,
                                   const std::shared_ptr<Event>& event)
{
  const auto [processName, sinkName] = splitOnce(sink, ":");
  const ProcessPtr process = _findProcess(std::string(processName));
  if (!process)
    return fail("{}unknown process \"{}", prefix, processName);
  if (const auto aggregated = process->getAggregatedSinks().find(std::string(sinkName));
      aggregated != process->getAggregatedSinks().end())
  {
    aggregated->second->addEvent(event);
    return true;
  }
  const auto found = process->getSinks().find(std::string(sinkName));
  if (found == process->getSinks().end())
    return fail("{}unknown sink \"{}", prefix, sinkName);
  found->second->addEvent(event);
  return true;
}

bool FiltrixPrivate::createSourceEvent(const std::string& name, const std::string& source, const std::string& process,
                                       const OriginPtr& origin)
{
  const ProcessPtr target = _findProcess(name);
  if (!target)
    return fail("Can't get process \"{}\": process unknown.", name);
  const auto event = std::make_shared<Event>(scheduler, target);
  event->setOrigin(origin);
  return _addSourceEvent("access", "Can't get data from", source, process, event);
}

bool FiltrixPrivate::createSourceEvent(const std::string&, const std::string& source, const std::string& process,
                                       Event::Callback callback)
{
  return _addSourceEvent("retrieve", "Can't retrieve", source, process, std::make_shared<Event>(std::move(callback)));
}

bool FiltrixPrivate::_addSourceEvent(std::string_view access, std::string_view unknown, const std::string& source,
                                     const std::string& process, const std::shared_ptr<Event>& event)
{
  NodeSourcePtr node;
  if (process.empty())
  {
    node = _findSource(source);
    if (!node)
      return fail("{} source \"{}\": source unknown.", unknown, source);
  }
  else
  {
    const ProcessPtr owner = _findProcess(process);
    if (!owner)
      return fail("Can't {} source \"{}\": process \"{}\" unknown.", access, source, process);
    node = owner->findSource(source);
    if (!node)
      return fail("Can't {} source \"{}\": process \"{}\" don't own this source.", access, source, process);
  }
  node->addEvent(event);
  return true;
}

NodeSourcePtr FiltrixPrivate::_findSource(const std::string& name) const
{
  const std::scoped_lock lock(sourceMutex, aliasMutex);
  return _lookUpSource(name);
}

// A source, or else an alias; the locks of both are held.
NodeSourcePtr FiltrixPrivate::_lookUpSource(const std::string& name) const
{
  if (const auto source = sources.find(name); source != sources.end())
    return source->second;
  const auto alias = aliases.find(name);
  return alias != aliases.end() ? alias->second : nullptr;
}

bool FiltrixPrivate::_isSourceNameTaken(const std::string& name) const
{
  return sources.contains(name) || aliases.contains(name);
}

std::string FiltrixPrivate::_noRoomForSource() const
{
  const std::size_t held = sources.size() + aliases.size();
  return held < capacity.sources ? std::string()
                                 : fmt::format("there are {} sources, expected at most that many.", held);
}
}  // namespace ZR::Filtrix
