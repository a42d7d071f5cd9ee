#include "support/graphkit.h"
#include "support/testregistry.h"

#include "exec/scheduler.h"
#include "graph/processkey.h"

#include <gmock/gmock.h>

#include <latch>
#include <map>
#include <optional>
#include <random>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::IsEmpty;

// A random acyclic graph, with composites, missing values and optional inputs, beside a plain description of it that
// can be evaluated by recursion: what the runtime gives must be what the recursion gives. The recursion keeps to the
// order of pulling, since it can be seen: a node that is passed by before it is pulled gives nothing in that run.
class RandomGraph
{
public:
  explicit RandomGraph(unsigned seed) : random(seed)
  {
    const std::size_t sourceCount = 1 + pick(3);
    for (std::size_t i = 0; i < sourceCount; ++i)
      sources.push_back(makeSource("s" + std::to_string(i)));
    const std::size_t nodeCount = 1 + pick(25);
    for (std::size_t i = 0; i < nodeCount; ++i)
      addNode(i);
    const std::size_t sinkCount = 1 + pick(4);
    for (std::size_t i = 0; i < sinkCount; ++i)
    {
      const std::size_t from = pick(nodes.size());
      sinkInputs.push_back({from, pick(2)});
      sinks.push_back(
          makeSink("sink" + std::to_string(i), *nodes[from].node, sinkInputs.back().output == 0 ? "a" : "b"));
    }
  }

  void setSources()
  {
    for (const NodeSourcePtr& source : sources)
    {
      values[source.get()] = pick(4) == 0 ? std::nullopt : std::optional(static_cast<int>(pick(1000)));
      const auto& value = values[source.get()];
      source->setData(value ? makeData(*value) : nullptr);
    }
  }

  /// The value of every sink after a run.
  [[nodiscard]] std::vector<int> expected() const
  {
    std::map<std::size_t, Result> results;
    std::vector<int> sinkValues;
    for (const SinkInput& input : sinkInputs)
    {
      const Result& result = evaluate(input.node, results);
      sinkValues.push_back((input.output == 0 ? result.a : result.b).value_or(-1));
    }
    return sinkValues;
  }

  [[nodiscard]] std::vector<int> actual() const
  {
    std::vector<int> sinkValues;
    for (const NodeSinkPtr& sink : sinks)
      sinkValues.push_back(number(sink->getLastData()));
    return sinkValues;
  }

  [[nodiscard]] std::size_t raisedCounts() const
  {
    std::size_t count = 0;
    for (const NodeSourcePtr& source : sources)
      count += source->getActiveScopes();
    for (const Vertex& vertex : nodes)
      count += vertex.node->getActiveScopes();
    for (const NodeSinkPtr& sink : sinks)
      count += sink->getActiveScopes();
    return count;
  }

  std::vector<NodeSinkPtr> sinks;

private:
  struct Result
  {
    std::optional<int> a;
    std::optional<int> b;
  };

  struct Input
  {
    const NodeSource* source = nullptr;  // or a node before
    std::size_t node = 0;
    std::size_t output = 0;
    bool optional = false;
    bool unbound = false;
  };

  struct Vertex
  {
    std::shared_ptr<NodeFilter> node;
    std::vector<Input> inputs;
    int factor = 1;
    bool inComposite = false;  // then all inputs are pulled, since a composite's are optional
  };

  struct SinkInput
  {
    std::size_t node;
    std::size_t output;
  };

  std::size_t pick(std::size_t below) { return random() % below; }

  // a: the factor plus the sum of the inputs, missing ones counting 1; b: the same doubled, only when it is even.
  static Result compute(int factor, const std::vector<std::optional<int>>& inputs)
  {
    std::int64_t sum = factor;
    for (const auto& input : inputs)
      sum += input.value_or(1);
    const int a = static_cast<int>(sum % 100'003);
    return {a, a % 2 == 0 ? std::optional(2 * a) : std::nullopt};
  }

  void addNode(std::size_t index)
  {
    Vertex vertex;
    vertex.factor = static_cast<int>(pick(100));
    std::vector<std::string> names;
    const std::size_t inputCount = pick(4);
    for (std::size_t i = 0; i < inputCount; ++i)
    {
      Input input;
      input.optional = pick(3) == 0;
      input.unbound = input.optional && pick(4) == 0;
      if (nodes.empty() || pick(4) == 0)
        input.source = sources[pick(sources.size())].get();
      else
        input = {nullptr, pick(nodes.size()), pick(2), input.optional, input.unbound};
      vertex.inputs.push_back(input);
      names.push_back((input.optional ? "?i" : "i") + std::to_string(i));
    }
    FilterPtr filter = std::make_shared<FunctionFilter>(
        "F", names, std::vector<std::string>{"a", "b"},
        [factor = vertex.factor](const DataList& given)
        {
          std::vector<std::optional<int>> inputs;
          for (const DataPtr& value : given)
            inputs.push_back(value ? std::optional(value->toInt()) : std::nullopt);
          const Result result = compute(factor, inputs);
          return DataList{makeData(*result.a), result.b ? makeData(*result.b) : nullptr};
        });
    for (std::size_t level = pick(3); level > 0; --level)
    {
      vertex.inComposite = true;
      const auto composite = std::make_shared<FilterComposite>("C");
      composite->addNode(makeNode("inner", filter));
      for (const PortPtr& port : filter->getInputs())
        composite->exposeInput("inner", port->getName());
      composite->exposeOutput("inner", "a");
      composite->exposeOutput("inner", "b");
      filter = composite;
    }
    vertex.node = makeNode("n" + std::to_string(index), filter);
    for (std::size_t i = 0; i < vertex.inputs.size(); ++i)
    {
      const Input& input = vertex.inputs[i];
      Port& port = *vertex.node->getInputs()[i];
      if (input.unbound)
        continue;
      if (input.source != nullptr)
        port.addLink(input.source->getOutput());
      else
        port.addLink(nodes[input.node].node->getOutputs()[input.output]);
    }
    nodes.push_back(vertex);
  }

  const Result& evaluate(std::size_t index, std::map<std::size_t, Result>& results) const
  {
    if (const auto known = results.find(index); known != results.end())
      return known->second;
    const Vertex& vertex = nodes[index];
    std::vector<std::optional<int>> inputs;
    bool complete = true;
    for (const Input& input : vertex.inputs)
    {
      const bool fromNode = !input.unbound && input.source == nullptr;
      if (!complete && !vertex.inComposite)
      {
        if (fromNode)
          passBy(input.node, results);
        continue;
      }
      std::optional<int> value;
      if (fromNode)
      {
        const Result& result = evaluate(input.node, results);
        value = input.output == 0 ? result.a : result.b;
      }
      else if (!input.unbound)
      {
        value = values.at(input.source);
      }
      complete = complete && (value || input.optional);
      inputs.push_back(value);
    }
    return results[index] = complete ? compute(vertex.factor, inputs) : Result();
  }

  void passBy(std::size_t index, std::map<std::size_t, Result>& results) const
  {
    if (!results.try_emplace(index).second)
      return;
    for (const Input& input : nodes[index].inputs)
    {
      if (!input.unbound && input.source == nullptr)
        passBy(input.node, results);
    }
  }

  std::mt19937 random;
  std::vector<NodeSourcePtr> sources;
  std::map<const NodeSource*, std::optional<int>> values;
  std::vector<Vertex> nodes;
  std::vector<SinkInput> sinkInputs;
};

TEST(RandomGraphs, GiveWhatAPlainRecursionGivesAndLeaveNothingRaised)
{
  const ku::log::Capture log;
  for (unsigned seed = 1; seed <= 150; ++seed)
  {
    RandomGraph graph(seed);
    const ProcessPtr process = makeProcess("p", graph.sinks);
    for (int run = 1; run <= 3; ++run)
    {
      graph.setSources();
      ASSERT_TRUE(process->run(seconds(run)));
      ASSERT_EQ(graph.actual(), graph.expected()) << "seed " << seed << " run " << run;
      ASSERT_EQ(graph.raisedCounts(), 0U) << "seed " << seed;
    }
  }
  EXPECT_THAT(log.texts(), IsEmpty());
}

// Four threads run four processes through the same random graph at once.
TEST(RandomGraphs, AreSafeToRunFromSeveralThreads)
{
  const ku::log::Capture log;
  for (unsigned seed = 1; seed <= 10; ++seed)
  {
    RandomGraph graph(seed);
    graph.setSources();
    std::latch start(4);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int worker = 0; worker < 4; ++worker)
    {
      threads.emplace_back(
          [&, worker]
          {
            const ProcessPtr process = makeProcess("p" + std::to_string(worker), graph.sinks);
            start.arrive_and_wait();
            for (int run = 1; run <= 50; ++run)
            {
              process->run(seconds(run));
              wrong += graph.actual() != graph.expected() ? 1 : 0;
            }
          });
    }
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(wrong, 0) << "seed " << seed;
    EXPECT_EQ(graph.raisedCounts(), 0U) << "seed " << seed;
  }
  EXPECT_THAT(log.texts(), IsEmpty());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
