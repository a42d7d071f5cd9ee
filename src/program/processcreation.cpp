// Making a process: one library filter, its inputs bound to sources, its outputs to sinks.

#include "filtrix/ku/log.h"
#include "foundation/text/split.h"
#include "graph/nodefilter.h"
#include "graph/nodeprocesssource.h"
#include "graph/nodepulse.h"
#include "program/filtrixprivate.h"
#include "program/literal.h"
#include "program/messages.h"

#include <fmt/format.h>

#include <set>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.private";

// What ends the making of a process; caught where it is logged.
class ProcessError final : public std::runtime_error
{
public:
  enum class Prefix
  {
    Full,  ///< createProcess("name", "filter", inputs, outputs):
    Short  ///< createProcess("name", "filter", ...):
  };

  ProcessError(const std::string& text, const OriginPtr& origin, Prefix prefix_ = Prefix::Full)
      : std::runtime_error(text + placeOf(origin)), prefix(prefix_)
  {
  }

  const Prefix prefix;
};

constexpr auto shortPrefix = ProcessError::Prefix::Short;

// `NAME` or `NAME(DEFAULT)`.
NodeSourcePtr makePulse(const std::string& process, const Binding& declaration)
{
  const auto& [keyword, text, origin] = declaration;
  if (text.find('(') == std::string::npos)
    return std::make_shared<NodePulse>(text);
  const auto pieces = splitBlocks(text, '(', ')');
  if (pieces.size() != 2)
    throw ProcessError("Invalid default value declaration: \"", origin, shortPrefix);
  const DataPtr value = readLiteral(pieces[1]);
  if (!value)
    throw ProcessError("Invalid default value: ", origin, shortPrefix);
  if (pieces[1].empty())
    ku::log::warning(category, "createProcess(\"{}\"): the pulse \"{}\" has an empty default, which counts as 0.0.{}",
                     process, shortName(pieces[0]), placeOf(origin));
  auto pulse = std::make_shared<NodePulse>(std::string(pieces[0]));
  pulse->setRestValue(value);
  pulse->setData(value);
  return pulse;
}
}  // namespace

// Builds one process. Everything made so far is held by the process being built, so that an error drops it all.
// The registry's process lock is held from the first input on.
class FiltrixPrivate::ProcessBuilder
{
public:
  ProcessBuilder(FiltrixPrivate& registry_, ProcessPtr process_) : registry(registry_), process(std::move(process_)) {}

  void addLocalSources(const std::vector<Binding>& declarations);
  void setFilter(const FilterPtr& filter);
  void bindInputs(const std::vector<Binding>& inputs);
  void bindOutputs(const std::vector<Binding>& outputs);
  void aggregate(const std::vector<Binding>& aggregatedOutputs);
  void finish();

private:
  NodeSourcePtr _findValue(const Binding& input);
  NodeSourcePtr _findQualified(const Binding& input);
  NodeSourcePtr _makeAnonymousSource(const DataPtr& value);
  std::string _nextAnonymousName();
  NodeSinkPtr _makeSink(const std::string& name, const PortPtr& output, const OriginPtr& origin);
  void _addToAggregation(const std::string& name, const NodeSinkPtr& sink);
  NodeSinkPtr _findSink(const Binding& output, const std::string& processName, const std::string& sinkName);

  FiltrixPrivate& registry;
  const ProcessPtr process;
  std::shared_ptr<NodeFilter> node;
  std::map<std::string, NodeSourcePtr> localSources;
  std::map<std::string, PortPtr> sinkPorts;
  std::map<std::string, AggregatedSinkPtr> aggregations;
};

void FiltrixPrivate::ProcessBuilder::addLocalSources(const std::vector<Binding>& declarations)
{
  for (const Binding& declaration : declarations)
  {
    NodeSourcePtr source;
    if (declaration.left == "source")
      source = std::make_shared<NodeSource>(declaration.right);
    else if (declaration.left == "pulse")
      source = makePulse(process->getName(), declaration);
    else
      throw ProcessError("Can't create process: invalid keyword \"" + declaration.left, declaration.origin);
    refuseLongName<ProcessError>("the " + declaration.left + "'s name", source->getName(), declaration.origin);
    source->setOrigin(declaration.origin);
    localSources.emplace(source->getName(), source);
  }
}

void FiltrixPrivate::ProcessBuilder::setFilter(const FilterPtr& filter)
{
  node = std::make_shared<NodeFilter>(filter->getName(), filter);
  node->setOrigin(process->getOrigin());
  process->addNode(node);
}

void FiltrixPrivate::ProcessBuilder::bindInputs(const std::vector<Binding>& inputs)
{
  std::map<const Port*, const Binding*> firstBindings;
  for (const Binding& input : inputs)
  {
    const PortPtr port = node->findInput(input.left);
    if (!port)
      throw ProcessError("impossible to find the specified input \"" + input.left, input.origin);
    const NodeSourcePtr source = input.right.find(':') == std::string::npos ? _findValue(input) : _findQualified(input);
    // Told once, of the second: a run tells it each time.
    const auto [first, isFirst] = firstBindings.emplace(port.get(), &input);
    if (!isFirst && port->getLinks().size() == 1)
      ku::log::warning(category,
                       "createProcess(\"{}\"): the input \"{}\" is bound twice, \"{} <= {}\" and \"{} <= {}\", and "
                       "will get no value from either.{}",
                       process->getName(), port->getName(), first->second->left, first->second->right, input.left,
                       input.right, placeOf(input.origin));
    port->setOrigin(input.origin);
    port->addLink(source->getOutput());
  }
}

// A local source, a global source or alias, a literal, or a filter to be handed on as a value.
NodeSourcePtr FiltrixPrivate::ProcessBuilder::_findValue(const Binding& input)
{
  const std::string& value = input.right;
  if (const auto local = localSources.find(value); local != localSources.end())
    return local->second;
  if (NodeSourcePtr source = registry._findSource(value))
  {
    process->addSource(source);
    process->addSourceVersion(source);
    return source;
  }
  if (const DataPtr literal = readLiteral(value))
  {
    if (value.empty())
      ku::log::warning(category, "createProcess(\"{}\"): the input \"{}\" has an empty value, which counts as 0.0.{}",
                       process->getName(), input.left, placeOf(input.origin));
    return _makeAnonymousSource(literal);
  }
  if (value == "null")
    return _makeAnonymousSource(nullptr);
  if (registry.hasFilter(value))
    return _makeAnonymousSource(makeData(registry.createLambda(value)));
  throw ProcessError("impossible to find the specified source \"" + value, input.origin, shortPrefix);
}

// `this:SOURCE` or `PROCESS:SINK`.
NodeSourcePtr FiltrixPrivate::ProcessBuilder::_findQualified(const Binding& input)
{
  const auto [left, right] = splitOnce(input.right, ":");
  if (left == "this")
  {
    const auto local = localSources.find(std::string(right));
    if (local == localSources.end())
      throw ProcessError(fmt::format("impossible to find the local source \"{}\" in the current process.", right),
                         input.origin);
    return local->second;
  }
  const auto other = registry.processes.find(std::string(left));
  if (other == registry.processes.end())
    throw ProcessError(fmt::format("impossible to find the specified process \"{}", left), input.origin, shortPrefix);
  if (!other->second->hasSink(std::string(right)))
    throw ProcessError(fmt::format("impossible to find the specified sink \"{}\" in the process \"{}", right, left),
                       input.origin);
  const auto source = std::make_shared<NodeProcessSource>(input.right, other->second, std::string(right));
  source->setOrigin(input.origin);
  source->addDependency(other->first);
  if (const NodeSourcePtr present = process->findSource(input.right))
    return present;  // two inputs that read one sink share its snapshot
  process->addSource(source);
  process->addSourceVersion(source);
  return source;
}

NodeSourcePtr FiltrixPrivate::ProcessBuilder::_makeAnonymousSource(const DataPtr& value)
{
  const auto source = std::make_shared<NodeSource>(_nextAnonymousName());
  source->setData(value);
  process->addNode(source);
  return source;
}

std::string FiltrixPrivate::ProcessBuilder::_nextAnonymousName()
{
  return "___Anonymous" + std::to_string(registry.anonymousCount++);
}

void FiltrixPrivate::ProcessBuilder::bindOutputs(const std::vector<Binding>& outputs)
{
  for (const auto& [portName, sinkName, origin] : outputs)
  {
    const std::string where = placeOf(origin);
    const PortPtr output = node->findOutput(portName);
    if (!output)
    {
      ku::log::warning(category,
                       "createProcess(\"{}\", \"{}\", inputs, outputs): impossible to find the specified output \"{}\" "
                       ". Please verify the output list.{}",
                       process->getName(), node->getName(), portName, where);
      continue;
    }
    refuseLongName<ProcessError>("the sink's name", sinkName, origin);
    const auto first = process->getSinks().find(sinkName);
    if (first == process->getSinks().end())
    {
      sinkPorts[sinkName + "\n" + portName] = output;
      _makeSink(sinkName, output, origin);
      continue;
    }
    if (!sinkPorts.emplace(sinkName + "\n" + portName, output).second)
    {
      ku::log::warning(category,
                       "createProcess(\"{}\", \"{}\", inputs, outputs): impossible to create an aggregation "
                       "with twice the same sink.{}",
                       process->getName(), node->getName(), where);
      continue;
    }
    if (!aggregations.contains(sinkName))
      _addToAggregation(sinkName, first->second);
    _addToAggregation(sinkName, _makeSink(_nextAnonymousName(), output, origin));
  }
}

// `NAME ~> self`: the local source NAME. `NAME ~> self:SINK` and `NAME ~> PROCESS:SINK`: that sink.
void FiltrixPrivate::ProcessBuilder::aggregate(const std::vector<Binding>& aggregatedOutputs)
{
  for (const Binding& output : aggregatedOutputs)
  {
    const auto& [name, target, origin] = output;
    refuseLongName<ProcessError>("the aggregation's name", name, origin);
    if (target.find(':') == std::string::npos)
    {
      if (target != "self" && target != "this")
        throw ProcessError("\"self\" expected instead of \"" + target, origin);
      const auto local = localSources.find(name);
      if (local == localSources.end())
        throw ProcessError("The source \"" + name + "\" is not declared in the process.", origin);
      if (!sinkPorts.emplace("~" + name + "\nself", local->second->getOutput()).second)
      {
        ku::log::warning(category,
                         "createProcess(\"{}\", \"{}\", inputs, outputs): impossible to create an aggregation with "
                         "twice the same source.",
                         process->getName(), node->getName());
        continue;
      }
      _addToAggregation(name, _makeSink(_nextAnonymousName(), local->second->getOutput(), origin));
      continue;
    }
    const auto [processName, sinkName] = splitOnce(target, ":");
    const NodeSinkPtr sink = _findSink(output, std::string(processName), std::string(sinkName));
    if (!sinkPorts.emplace("~" + name + "\n" + target, nullptr).second)
    {
      ku::log::warning(category,
                       "createProcess(\"{}\", \"{}\", inputs, outputs): impossible to create an aggregation with twice "
                       "the same sink.",
                       process->getName(), node->getName());
      continue;
    }
    _addToAggregation(name, sink);
  }
}

NodeSinkPtr FiltrixPrivate::ProcessBuilder::_findSink(const Binding& output, const std::string& processName,
                                                      const std::string& sinkName)
{
  const bool own = processName == "self" || processName == "this";
  const auto other = registry.processes.find(processName);
  if (!own && other == registry.processes.end())
    throw ProcessError("The process \"" + processName + "\" is not declared.", output.origin);
  const Process& owner = own ? *process : *other->second;
  const auto sink = owner.getSinks().find(sinkName);
  if (sink == owner.getSinks().end())
    throw ProcessError("The sink \"" + sinkName + "\" is not declared in " + processName, output.origin);
  return sink->second;
}

NodeSinkPtr FiltrixPrivate::ProcessBuilder::_makeSink(const std::string& name, const PortPtr& output,
                                                      const OriginPtr& origin)
{
  auto sink = std::make_shared<NodeSink>(name);
  sink->setOrigin(origin);
  sink->getInput()->setOrigin(origin);
  sink->getInput()->addLink(output);
  process->addSink(sink);
  return sink;
}

// An aggregation reads its sinks in the order of their keys, so a number makes it that of the statements.
void FiltrixPrivate::ProcessBuilder::_addToAggregation(const std::string& name, const NodeSinkPtr& sink)
{
  AggregatedSinkPtr& aggregation = aggregations[name];
  if (!aggregation)
    aggregation = std::make_shared<AggregatedSink>(name);
  aggregation->addSink(fmt::format("{:06}", aggregation->getSinks().size()), sink);
}

void FiltrixPrivate::ProcessBuilder::finish()
{
  for (const auto& [name, aggregation] : aggregations)
    process->addAggregatedSink(aggregation);
  for (const auto& [name, source] : localSources)
  {
    process->addSource(source);
    process->addSourceVersion(source);
  }
}

bool FiltrixPrivate::createProcess(const std::string& name, const std::string& filterName, std::uint32_t priority,
                                   float frequency, Duration tolerance, const std::vector<Binding>& inputs,
                                   const std::vector<Binding>& outputs, const std::vector<Binding>& aggregatedOutputs,
                                   const std::vector<Binding>& localSources, const OriginPtr& origin)
{
  ProcessPtr process;
  try
  {
    refuseLongName<ProcessError>("the name", name, origin);
    process = std::make_shared<Process>(name, priority, frequency, tolerance);
    process->setOrigin(origin);
    ProcessBuilder builder(*this, process);
    builder.addLocalSources(localSources);
    const FilterPtr filter = _findFilter(filterName);
    if (!filter)
      throw ProcessError("the filter \"" + filterName + "\" is not present in the filter library.", origin);
    builder.setFilter(filter);

    const std::lock_guard lock(processMutex);
    if (processes.contains(name))
      throw ProcessError("a process with the name \"" + name + "\" already exists.", origin);
    if (processes.size() >= capacity.processes)
      throw ProcessError(fmt::format("there are {} processes, expected at most that many.", processes.size()), origin);
    builder.bindInputs(inputs);
    if (const std::size_t depth = readers.depthOf(*process); depth > Limits::readingDepth)
      throw ProcessError(
          fmt::format("processes read one another {} deep, expected at most {}.", depth, Limits::readingDepth), origin);
    builder.bindOutputs(outputs);
    builder.aggregate(aggregatedOutputs);
    builder.finish();
    _warnOfSharedHash(fmt::format("createProcess(\"{}\")", name), *process, placeOf(origin));
    readers.note(process);
    processes.emplace(name, process);
  }
  catch (const ProcessError& error)
  {
    const std::string_view rest = error.prefix == ProcessError::Prefix::Full ? "\", inputs, outputs): " : "\", ...): ";
    ku::log::error(category, "createProcess(\"{}\", \"{}{}{}", shortName(name), shortName(filterName), rest,
                   error.what());
    return false;
  }
  // The scheduler asks for the processes itself, so it is told when no lock is held.
  scheduler->rebuildJobs();  // also when what follows fails
  _noteNewProcess(process);
  scheduler->rebuildJobs();
  ku::log::verbose(category, "new filtrix process: \"{}\" priority: {} frequency: {} tolerance: {}", name,
                   std::min(priority, Process::maxPriority), frequency, tolerance.microseconds());
  return true;
}

// The process lock is held. `where` is the place in a text, if there is one.
void FiltrixPrivate::_warnOfSharedHash(std::string_view operation, const Process& process, std::string_view where) const
{
  const std::uint32_t hash = process.getHash();
  for (const auto& [otherName, other] : processes)
  {
    if (other.get() != &process && other->getHash() == hash)
      ku::log::warning(category,
                       "{}: the name has the same hash as that of \"{}\": the two share what runs and filters keep.{}",
                       operation, otherName, where);
  }
}
}  // namespace ZR::Filtrix
