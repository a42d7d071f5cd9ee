// The processes' side of the registry: looking them up, switching, re-rating, renaming and deleting them, reading
// sinks.

#include "program/filtrixprivate.h"

#include "filtrix/ku/log.h"
#include "foundation/text/split.h"
#include "graph/nodeprocesssource.h"
#include "program/messages.h"
#include "program/parser.h"
#include "program/programloader.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.private";

/// What the sinks are called that only an aggregation reads.
constexpr std::string_view anonymousPrefix = "___Anonymous";

[[noreturn]] void logAndThrow(const std::string& text)
{
  ku::log::write(ku::log::Level::Error, category, text);
  throw std::runtime_error(text);
}

template <typename Map>
std::vector<std::string> namesOf(const Map& map)
{
  std::vector<std::string> names;
  for (const auto& [name, object] : map)
  {
    if (!name.starts_with(anonymousPrefix))
      names.push_back(name);
  }
  return names;
}

// The names of the processes that a source reads.
std::vector<std::string> dependenciesOf(const NodeSourcePtr& source)
{
  const auto* const alias = dynamic_cast<const NodeSourceAlias*>(source.get());
  if (alias == nullptr)
    return source->getDependencies();
  const NodeSourcePtr target = alias->getTarget();
  return target ? target->getDependencies() : std::vector<std::string>();
}
}  // namespace

FiltrixPrivate::FiltrixPrivate(std::uint32_t threadCount, const Capacity& capacity_)
    : capacity(capacity_), scheduler(std::make_shared<Scheduler>(*this, threadCount))
{
}

FiltrixPrivate::~FiltrixPrivate()
{
  scheduler->stop();
}

bool FiltrixPrivate::loadProgram(std::string_view program, const std::string& basePath)
{
  return Parser(*this).loadProgram(program, "program", basePath);
}

bool FiltrixPrivate::loadProgramFromFile(std::string_view path, ImportRange range)
{
  return ProgramLoader(*this, range).loadFile(path);
}

bool FiltrixPrivate::deleteProcess(const std::string& name)
{
  ProcessPtr deleted;
  {
    const std::lock_guard lock(processMutex);
    const auto entry = processes.find(name);
    if (entry != processes.end())
    {
      endingProcesses.push_back({entry->second, entry->second->getKey()});
      deleted = entry->second;
      processes.erase(entry);
    }
  }
  if (!deleted)
  {
    ku::log::error(category, "Can't delete process \"{}\": process unknown.", name);
    return false;
  }
  // Those that still read its sinks hold it; they find it switched off and read nothing.
  deleted->setEnable(false);
  deleted->setZombie(false);
  memoryManager.clearProcess(deleted->getKey());
  _rebindSources();
  _updateZombies();
  scheduler->rebuildJobs();
  const Process* const address = deleted.get();
  deleted.reset();
  const std::lock_guard lock(processMutex);
  readers.forgetEnded(address, processes.size());
  _forgetEndedProcesses();
  return true;
}

// A run that was in progress at the deletion has kept states after it. Nobody waits for that run: what it has left goes
// with this deletion or a later one.
void FiltrixPrivate::_forgetEndedProcesses()
{
  std::erase_if(endingProcesses,
                [this](const EndingProcess& ending)
                {
                  if (!ending.process.expired())
                    return false;
                  if (!processes.contains(ending.key.getName()))
                    memoryManager.clearProcess(ending.key);
                  return true;
                });
}

bool FiltrixPrivate::renameProcess(const std::string& name, const std::string& newName)
{
  const std::lock_guard lock(processMutex);
  const auto entry = processes.find(name);
  if (entry == processes.end())
  {
    ku::log::error(category, "Can't rename the process \"{}\": process unknown.", name);
    return false;
  }
  if (const std::string problem = tellIfTooLong("the new name", newName); !problem.empty())
  {
    ku::log::error(category, "Can't rename the process \"{}\": {}", name, problem);
    return false;
  }
  if (processes.contains(newName))
  {
    ku::log::error(category, "Can't rename the process \"{}\": \"{}\" is already in use.", name, newName);
    return false;
  }
  // What may fail comes first, so that the process is never without a name.
  std::string key = newName;
  const std::string operation = fmt::format("renameProcess(\"{}\", \"{}\")", name, newName);
  const ProcessKey oldKey = entry->second->getKey();
  const ProcessKey newKey(newName);
  entry->second->rename(newName);
  auto node = processes.extract(entry);
  node.key() = std::move(key);
  const ProcessPtr renamed = processes.insert(std::move(node)).position->second;
  memoryManager.renameProcess(oldKey, newKey);
  for (const auto& [otherName, other] : processes)
  {
    for (const NodeSourcePtr& source : other->getReadSources())
      source->renameDependency(name, newName);
  }
  const std::lock_guard sourceLock(sourceMutex);
  for (const auto& [sourceName, source] : sources)
    source->renameDependency(name, newName);
  _warnOfSharedHash(operation, *renamed, {});
  return true;
}

bool FiltrixPrivate::enableProcess(const std::string& name)
{
  return _setEnable(name, true, "Can't enable process \"{}\": process unknown.");
}

bool FiltrixPrivate::disableProcess(const std::string& name)
{
  return _setEnable(name, false, "Can't disable process \"{}\": process unknown.");
}

bool FiltrixPrivate::_setEnable(const std::string& name, bool on, std::string_view failure)
{
  const ProcessPtr process = _processOrLog(name, failure);
  if (!process)
    return false;
  process->setEnable(on);
  _updateZombies();
  scheduler->rebuildJobs();
  return true;
}

bool FiltrixPrivate::resetProcess(const std::string& name)
{
  const ProcessPtr process = _processOrLog(name, "Process \"{}\" does not exist.");
  if (!process)
    return false;
  process->reset();
  return memoryManager.clearProcess(process->getKey());
}

std::vector<std::string> FiltrixPrivate::getProcesses() const
{
  const std::lock_guard lock(processMutex);
  std::vector<std::string> names;
  for (const auto& [name, process] : processes)
    names.push_back(name);
  return names;
}

bool FiltrixPrivate::isProcess(const std::string& name) const
{
  return _findProcess(name) != nullptr;
}

bool FiltrixPrivate::isProcessEnable(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't test if process \"{}\" is enable: process unknown.");
  return process && process->isEnable();
}

bool FiltrixPrivate::isProcessZombie(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't test if process \"{}\" is zombie: process unknown.");
  return process && process->isZombie();
}

std::string FiltrixPrivate::getProcessDescription(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get description of the process \"{}\": process unknown");
  return process ? process->getDescription() : std::string();
}

bool FiltrixPrivate::setProcessDescription(const std::string& name, const std::string& text)
{
  const ProcessPtr process = _processOrLog(name, "Can't set description for the process \"{}\": process unknown.");
  if (process)
    process->setDescription(text);
  return process != nullptr;
}

std::vector<std::string> FiltrixPrivate::getProcessSources(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get sources of the process \"{}\": process unknown.");
  return process ? namesOf(process->getSources()) : std::vector<std::string>();
}

std::vector<std::string> FiltrixPrivate::getProcessSinks(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get sinks of the process \"{}\": process unknown.");
  return process ? namesOf(process->getSinks()) : std::vector<std::string>();
}

std::vector<std::string> FiltrixPrivate::getProcessAggregatedSinks(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get aggregated sinks of the process \"{}\": process unknown.");
  return process ? namesOf(process->getAggregatedSinks()) : std::vector<std::string>();
}

std::uint32_t FiltrixPrivate::getProcessPriority(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get priority of the process \"{}\": process unknown.");
  return process ? process->getPriority() : 0;
}

bool FiltrixPrivate::setProcessPriority(const std::string& name, std::uint32_t priority)
{
  const ProcessPtr process = _processOrLog(name, "Can't set priority for the process \"{}\": process unknown.");
  if (!process)
    return false;
  process->setPriority(priority);
  scheduler->rebuildJobs();
  return true;
}

float FiltrixPrivate::getProcessFrequency(const std::string& name) const
{
  const ProcessPtr process = _processOrLog(name, "Can't get frequency of the process \"{}\": process unknown.");
  return process ? process->getFrequency() : 0.0F;
}

bool FiltrixPrivate::setProcessFrequency(const std::string& name, float frequency)
{
  const ProcessPtr process = _processOrLog(name, "Can't set frequency for the process \"{}\": process unknown.");
  if (process)
    process->setFrequency(frequency);
  return process != nullptr;
}

Duration FiltrixPrivate::getProcessTolerance(const std::string& name) const
{
  // In the words of the setter: callers know the text as it is.
  const ProcessPtr process = _processOrLog(name, "Can't set tolerance for the process \"{}\": process unknown.");
  return process ? process->getTolerance() : Duration();
}

bool FiltrixPrivate::setProcessTolerance(const std::string& name, Duration tolerance)
{
  const ProcessPtr process = _processOrLog(name, "Can't set tolerance for the process \"{}\": process unknown.");
  if (process)
    process->setTolerance(tolerance);
  return process != nullptr;
}

DataPtr FiltrixPrivate::getData(const std::string& sink)
{
  const auto [process, sinkName] = _sinkOrThrow(sink, "Can't get data(\"");
  // Without a scheduler nobody else clears up after a run that broke off, and this one would be served what it left.
  process->recover();
  return process->getData(sinkName, Time::now());
}

DataPtr FiltrixPrivate::getLastData(const std::string& sink) const
{
  const auto [process, sinkName] = _sinkOrThrow(sink, "Can't get last data(\"");
  return process->getLastData(sinkName);
}

std::pair<ProcessPtr, std::string> FiltrixPrivate::_sinkOrThrow(const std::string& sink,
                                                                std::string_view operation) const
{
  // Both operations complain of a malformed name in the words of the second one.
  if (sink.find(':') == std::string::npos)
    logAndThrow(fmt::format("Can't get last data(\"{}\"):the sink is not correctly formated (\"process:sink\" "
                            "expected).",
                            sink));
  const auto [processName, sinkName] = splitOnce(sink, ":");
  ProcessPtr process = _findProcess(std::string(processName));
  if (!process)
    logAndThrow(fmt::format("{}{}\"):the process \"{}\" does not exist.", operation, sink, processName));
  return {std::move(process), std::string(sinkName)};
}

bool FiltrixPrivate::startScheduler()
{
  return scheduler->start();
}

bool FiltrixPrivate::stopScheduler()
{
  return scheduler->stop();
}

std::vector<std::string> FiltrixPrivate::getScheduledJobs() const
{
  std::vector<std::string> names;
  for (const ProcessPtr& process : scheduler->getCycle())
    names.push_back(process->getName());
  return names;
}

void FiltrixPrivate::forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const
{
  const std::lock_guard lock(processMutex);
  for (const auto& [name, process] : processes)
    visit(process);
}

bool FiltrixPrivate::isRegistered(const std::string& processName) const
{
  const std::lock_guard lock(processMutex);
  return processes.contains(processName);
}

ProcessPtr FiltrixPrivate::_findProcess(const std::string& name) const
{
  const std::lock_guard lock(processMutex);
  const auto entry = processes.find(name);
  return entry != processes.end() ? entry->second : nullptr;
}

ProcessPtr FiltrixPrivate::_processOrLog(const std::string& name, std::string_view failure) const
{
  ProcessPtr process = _findProcess(name);
  if (!process)
    ku::log::write(ku::log::Level::Error, category, fmt::format(fmt::runtime(failure), name));
  return process;
}

// A disabled process stays live as long as a live one reads one of its sinks, at whatever distance.
void FiltrixPrivate::_updateZombies()
{
  const std::lock_guard lock(processMutex);
  std::vector<ProcessPtr> live;
  for (const auto& [name, process] : processes)
    process->setZombie(false);
  for (const auto& [name, process] : processes)
  {
    if (process->isLive())
      live.push_back(process);
  }
  _keepAliveBehind(std::move(live));
}

// What the live processes read, at whatever distance, becomes live. The process mutex is held.
void FiltrixPrivate::_keepAliveBehind(std::vector<ProcessPtr> live) const
{
  while (!live.empty())
  {
    const ProcessPtr process = std::move(live.back());
    live.pop_back();
    for (const NodeSourcePtr& source : process->getReadSources())
    {
      for (const std::string& dependency : dependenciesOf(source))
      {
        const auto read = processes.find(dependency);
        if (read == processes.end() || read->second->isLive())
          continue;
        read->second->setZombie(true);
        live.push_back(read->second);
      }
    }
  }
}

// Which sources and aliases some process reads.
void FiltrixPrivate::_rebindSources()
{
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  boundSources.clear();
  for (const auto& [name, process] : processes)
    _bindSourcesOf(*process);
}

// The mutexes of processes, sources and aliases are held.
void FiltrixPrivate::_bindSourcesOf(const Process& process)
{
  const auto bind = [this](const auto& registered, const NodeSource* source)
  {
    const auto entry = source != nullptr ? registered.find(source->getName()) : registered.end();
    if (entry != registered.end() && entry->second.get() == source)
      boundSources.emplace(entry->first, entry->second);
  };
  for (const NodeSourcePtr& source : process.getReadSources())
  {
    bind(sources, source.get());
    const auto* const alias = dynamic_cast<const NodeSourceAlias*>(source.get());
    if (alias == nullptr)
      continue;
    // An alias may have got another name than it was made with.
    const auto renamed = std::ranges::find(aliases, alias, [](const auto& entry) { return entry.second.get(); });
    if (renamed != aliases.end())
      boundSources.emplace(renamed->first, renamed->second);
    bind(sources, alias->getTarget().get());
  }
}

// The same as `_rebindSources` and `_updateZombies`, for one more process: of ten thousand, each creation must not go
// through all.
void FiltrixPrivate::_noteNewProcess(const ProcessPtr& process)
{
  const std::scoped_lock lock(processMutex, sourceMutex, aliasMutex);
  const auto entry = processes.find(process->getName());
  if (entry == processes.end() || entry->second != process)
    return;  // deleted again by somebody else
  _bindSourcesOf(*process);
  if (process->isLive())
    _keepAliveBehind({process});
}
}  // namespace ZR::Filtrix
