#include "module/instrumentation.h"

#include "graph/filtercomposite.h"
#include "program/filtrixprivate.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <set>

namespace ZR::Filtrix
{
namespace
{
using Microseconds = std::chrono::duration<double, std::micro>;
using Seconds = std::chrono::duration<double>;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// A program may hold a hundred thousand nodes: so many are told of a process, the costliest first.
constexpr std::size_t toldNodes = 64;

// A composite stands in the list once, however often it is used: its inner nodes are the same ones.
void collectNodes(const Node& node, const std::string& outerPath, std::set<const Node*>* seen,
                  std::vector<NodeInstrumentation>* nodes)
{
  const auto* const filterNode = dynamic_cast<const NodeFilter*>(&node);
  if (filterNode == nullptr || !filterNode->getFilter() || !seen->insert(&node).second)
    return;
  const std::string path = outerPath.empty() ? node.getName() : outerPath + "/" + node.getName();
  nodes->push_back({path, filterNode->getFilter()->getName(), filterNode->getFigures()});
  if (const auto* const composite = dynamic_cast<const FilterComposite*>(filterNode->getFilter().get()))
  {
    for (const auto& [name, inner] : composite->getNodes())
      collectNodes(*inner, path, seen, nodes);
  }
}

std::vector<NodeInstrumentation> costliestNodes(const Process& process)
{
  std::vector<NodeInstrumentation> nodes;
  std::set<const Node*> seen;
  for (const NodePtr& node : process.getNodes())
    collectNodes(*node, {}, &seen, &nodes);
  std::ranges::stable_sort(nodes, std::ranges::greater(), [](const auto& node) { return node.figures.time; });
  if (nodes.size() > toldNodes)
    nodes.resize(toldNodes);
  return nodes;
}

double milliseconds(std::chrono::nanoseconds length)
{
  return Milliseconds(length).count();
}

ZRValue microseconds(std::chrono::nanoseconds length)
{
  return Microseconds(length).count();
}

ZRValue toZRValue(const NodeInstrumentation& node)
{
  return ZRValue::map({{"path", node.path},
                       {"filter", node.filter},
                       {"calls", node.figures.calls},
                       {"time", microseconds(node.figures.time)},
                       {"longest", microseconds(node.figures.longest)}});
}

ZRValue toZRValue(const ProcessInstrumentation& process)
{
  ZRValue::Array nodes;
  for (const NodeInstrumentation& node : process.nodes)
    nodes.push_back(toZRValue(node));
  const RunFigures& figures = process.figures;
  return ZRValue::map({{"name", process.name},
                       {"priority", process.priority},
                       {"enabled", process.enabled},
                       {"zombie", process.zombie},
                       {"askedRate", process.askedRate},
                       {"rate", figures.rate},
                       {"runs", figures.runs},
                       {"failures", figures.failures},
                       {"early", figures.early},
                       {"unchanged", figures.unchanged},
                       {"last", microseconds(figures.last)},
                       {"mean", microseconds(figures.mean)},
                       {"percentile99", microseconds(figures.percentile99)},
                       {"nodes", ZRValue(std::move(nodes))}});
}

const char* wordFor(SourceState state)
{
  switch (state)
  {
  case SourceState::Unwanted:
    return "not wanted";
  case SourceState::Waiting:
    return "waiting for its service";
  case SourceState::Subscribed:
    return "subscribed";
  case SourceState::Lost:
    return "lost, asked for anew";
  case SourceState::Failed:
    return "refused by its service";
  }
  return "";
}

// A robot has dozens of sources, of which a program reads a few.
bool hasBeenWanted(const SourceFigures& source)
{
  return source.state != SourceState::Unwanted || source.values + source.failures + source.refused > 0;
}

ZRValue toZRValue(const SourceFigures& source)
{
  return ZRValue::map({{"name", source.name},
                       {"state", wordFor(source.state)},
                       {"values", source.values},
                       {"failures", source.failures},
                       {"refused", source.refused},
                       {"age", source.age ? microseconds(*source.age) : ZRValue()}});
}

template <typename Item>
ZRValue toArray(const std::vector<Item>& items)
{
  ZRValue::Array array;
  for (const Item& item : items)
    array.push_back(toZRValue(item));
  return ZRValue(std::move(array));
}

std::string toText(const ProcessInstrumentation& process)
{
  const RunFigures& figures = process.figures;
  std::string text = fmt::format("{}{}\n", process.name,
                                 process.enabled  ? ""
                                 : process.zombie ? " (disabled, but read by others)"
                                                  : " (disabled)");
  text += fmt::format("  rate {:.1f} of {:.1f} Hz, runs {}, failures {}, too early {}, unchanged {}\n", figures.rate,
                      process.askedRate, figures.runs, figures.failures, figures.early, figures.unchanged);
  text += fmt::format("  run: last {:.3f} ms, mean {:.3f} ms, 99 % within {:.3f} ms\n", milliseconds(figures.last),
                      milliseconds(figures.mean), milliseconds(figures.percentile99));
  if (!process.nodes.empty())
    text += fmt::format("  {:>10} {:>11} {:>11} {:>11}  filter\n", "calls", "time ms", "mean ms", "longest ms");
  for (const NodeInstrumentation& node : process.nodes)
  {
    const auto calls = static_cast<std::int64_t>(std::max<std::uint64_t>(node.figures.calls, 1));
    text += fmt::format("  {:>10} {:>11.3f} {:>11.4f} {:>11.4f}  {}{}\n", node.figures.calls,
                        milliseconds(node.figures.time), milliseconds(node.figures.time / calls),
                        milliseconds(node.figures.longest), node.path,
                        node.path.ends_with(node.filter) ? "" : " (" + node.filter + ")");
  }
  return text;
}

std::string toText(const SourceFigures& source)
{
  const std::string age =
      source.age ? fmt::format("the newest {:.3f} s ago", Seconds(*source.age).count()) : "none so far";
  return fmt::format("  {}: {}; values {}, {}; failed calls {}, refused {}\n", source.name, wordFor(source.state),
                     source.values, age, source.failures, source.refused);
}
}  // namespace

std::vector<ProcessInstrumentation> collectProcesses(const FiltrixPrivate& registry)
{
  std::vector<ProcessPtr> processes;
  registry.forEachProcess([&](const ProcessPtr& process) { processes.push_back(process); });
  std::vector<ProcessInstrumentation> result;
  for (const ProcessPtr& process : processes)
    result.push_back({process->getName(), process->getPriority(), process->getFrequency(), process->isEnable(),
                      process->isZombie(), process->getFigures(), costliestNodes(*process)});
  std::ranges::sort(result, {}, &ProcessInstrumentation::name);
  return result;
}

std::string toText(const Instrumentation& instrumentation)
{
  std::string text;
  for (const ProcessInstrumentation& process : instrumentation.processes)
    text += toText(process);
  if (text.empty())
    text = "no processes\n";
  std::string sources;
  for (const SourceFigures& source : instrumentation.sources)
  {
    if (hasBeenWanted(source))
      sources += toText(source);
  }
  return sources.empty() ? text : text + "sources\n" + sources;
}

ZRValue toZRValue(const Instrumentation& instrumentation)
{
  return ZRValue::map(
      {{"processes", toArray(instrumentation.processes)}, {"sources", toArray(instrumentation.sources)}});
}
}  // namespace ZR::Filtrix
