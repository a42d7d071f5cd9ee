#pragma once

#include "exec/process.h"
#include "filtrix/ku/log.h"
#include "graph/filtercomposite.h"
#include "graph/filterprimitive.h"
#include "graph/nodefilter.h"
#include "graph/nodesink.h"
#include "graph/nodesource.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What the tests build graphs with.
namespace ZR::Filtrix::Test
{
/// A filter made of a function, which counts how often a run applies it or passes it by.
class FunctionFilter final : public FilterPrimitive
{
public:
  using Function = std::function<DataList(const DataList&)>;

  /// A "?" before an input's name makes it optional.
  FunctionFilter(std::string filterName, const std::vector<std::string>& inputNames,
                 const std::vector<std::string>& outputNames, Function function_)
      : FilterPrimitive(std::move(filterName)), function(std::move(function_))
  {
    for (const std::string& input : inputNames)
    {
      const bool isOptional = input.starts_with('?');
      addInput(isOptional ? input.substr(1) : input)->setOptional(isOptional);
    }
    for (const std::string& output : outputNames)
      addOutput(output);
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey& scopeKey, std::uint64_t) override
  {
    ++applied;
    lastScope = scopeKey.getHash();
    return function(inputs);
  }

  void applyEmpty(const ProcessKey&, const ProcessKey&, std::uint64_t) override { ++passedBy; }

  std::atomic<int> applied{0};
  std::atomic<int> passedBy{0};
  std::atomic<std::uint32_t> lastScope{0};

private:
  const Function function;
};

using FunctionFilterPtr = std::shared_ptr<FunctionFilter>;

/// in -> out: the input plus one, as a fresh Integer.
inline FunctionFilterPtr makeIncrement(const std::string& name = "Increment")
{
  return std::make_shared<FunctionFilter>(name, std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                          [](const DataList& inputs)
                                          { return DataList{makeData(inputs[0]->toInt() + 1)}; });
}

inline std::shared_ptr<NodeFilter> makeNode(const std::string& name, FilterPtr filter)
{
  return std::make_shared<NodeFilter>(name, std::move(filter));
}

/// Feeds an input of a node; empty port names mean the only port.
inline void link(Node& from, const std::string& output, Node& to, const std::string& input)
{
  to.findInput(input)->addLink(from.findOutput(output));
}

inline void link(Node& from, Node& to)
{
  link(from, "", to, "");
}

/// A sink that reads an output of a node.
inline NodeSinkPtr makeSink(const std::string& name, Node& from, const std::string& output = "")
{
  auto sink = std::make_shared<NodeSink>(name);
  sink->getInput()->addLink(from.findOutput(output));
  return sink;
}

inline NodeSourcePtr makeSource(const std::string& name, const DataPtr& value = nullptr)
{
  auto source = std::make_shared<NodeSource>(name);
  if (value)
    source->setData(value);
  return source;
}

/// A process fast enough never to be too early when times are a second apart.
inline ProcessPtr makeProcess(const std::string& name, const std::vector<NodeSinkPtr>& sinks)
{
  auto process = std::make_shared<Process>(name, 1, 1000.0F, Duration(0));
  for (const NodeSinkPtr& sink : sinks)
    process->addSink(sink);
  return process;
}

inline Time seconds(std::int64_t count)
{
  return Time(count * 1'000'000);
}

/// The number in a value; -1 for no value.
inline int number(const DataPtr& value)
{
  return value ? value->toInt() : -1;
}
}  // namespace ZR::Filtrix::Test
