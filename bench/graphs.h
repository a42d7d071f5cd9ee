#pragma once

#include "exec/process.h"
#include "graph/filtercomposite.h"
#include "graph/filterprimitive.h"
#include "graph/nodefilter.h"
#include "graph/nodesink.h"
#include "graph/nodesource.h"

#include <memory>
#include <string>
#include <vector>

/// The graphs that the benchmarks run.
namespace ZR::Filtrix::Bench
{
/// The least that a filter can do and still be one: a fresh value from each input value.
class Fresh final : public FilterPrimitive
{
public:
  explicit Fresh(std::size_t inputCount = 1) : FilterPrimitive("Fresh")
  {
    for (std::size_t i = 0; i < inputCount; ++i)
      addInput("in" + std::to_string(i))->addType(TypeTag::Integer);
    addOutput("out")->addType(TypeTag::Integer);
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    return {makeData(inputs[0]->toInt() + 1)};
  }
};

/// A process and the nodes that it runs through.
struct Graph
{
  NodeSourcePtr source = std::make_shared<NodeSource>("source");
  std::vector<std::shared_ptr<NodeFilter>> nodes;
  ProcessPtr process;
  std::int64_t time = 0;

  Graph() { source->setData(makeData(1)); }

  std::shared_ptr<NodeFilter> add(FilterPtr filter)
  {
    return nodes.emplace_back(std::make_shared<NodeFilter>("n" + std::to_string(nodes.size()), std::move(filter)));
  }

  void finish(const std::string& name, const PortPtr& output)
  {
    const auto sink = std::make_shared<NodeSink>("sink");
    sink->getInput()->addLink(output);
    process = std::make_shared<Process>(name, 1, 1'000.0F, Duration());
    process->addSink(sink);
  }

  /// One run, a second after the one before.
  void run() { process->run(Time(time += 1'000'000)); }
};

inline PortPtr onlyOutput(const Node& node)
{
  return node.getOutputs().front();
}

/// source -> n0 -> n1 -> ... -> sink
inline Graph makeChain(std::size_t length, const std::string& name = "chain",
                       const FilterPtr& filter = std::make_shared<Fresh>())
{
  Graph graph;
  PortPtr last = graph.source->getOutput();
  for (std::size_t i = 0; i < length; ++i)
  {
    const auto node = graph.add(filter);
    node->getInputs().front()->addLink(last);
    last = onlyOutput(*node);
  }
  graph.finish(name, last);
  return graph;
}

/// source -> top -> `width` branches -> bottom -> sink
inline Graph makeDiamond(std::size_t width)
{
  Graph graph;
  const FilterPtr filter = std::make_shared<Fresh>();
  const auto top = graph.add(filter);
  top->getInputs().front()->addLink(graph.source->getOutput());
  const auto bottom = graph.add(std::make_shared<Fresh>(width));
  for (std::size_t i = 0; i < width; ++i)
  {
    const auto branch = graph.add(filter);
    branch->getInputs().front()->addLink(onlyOutput(*top));
    bottom->getInputs()[i]->addLink(onlyOutput(*branch));
  }
  graph.finish("diamond", onlyOutput(*bottom));
  return graph;
}

/// One filter within `depth` composites.
inline Graph makeNest(std::size_t depth)
{
  FilterPtr filter = std::make_shared<Fresh>();
  for (std::size_t level = 0; level < depth; ++level)
  {
    auto composite = std::make_shared<FilterComposite>("Level");
    composite->addNode(std::make_shared<NodeFilter>("inner", filter));
    composite->exposeInput("inner", "");
    composite->exposeOutput("inner", "");
    filter = composite;
  }
  Graph graph;
  const auto node = graph.add(filter);
  node->getInputs().front()->addLink(graph.source->getOutput());
  graph.finish("nest", onlyOutput(*node));
  return graph;
}
}  // namespace ZR::Filtrix::Bench
