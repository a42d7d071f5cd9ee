// The same graphs in oneTBB's flow graph.

#include "bench/peers/loops.h"
#include "bench/peers/measurements.h"
#include "bench/peers/twothreads.h"

#include <fmt/core.h>
#include <oneapi/tbb/flow_graph.h>
#include <oneapi/tbb/task_arena.h>

#include <stdexcept>

namespace ZR::Filtrix::Bench
{
namespace
{
namespace flow = oneapi::tbb::flow;

// A chain or a diamond on one thread. Its nodes take one message at a time and queue what comes meanwhile. `Policy`
// says who works on a message: a task of its own, or at once the thread that brings it.
template <typename Policy>
class FlowGraph
{
public:
  FlowGraph() : arena(1)
  {
    // A graph keeps to the arena that it is made in.
    arena.execute([this] { graph = std::make_unique<flow::graph>(); });
  }

  FlowGraph(const FlowGraph&) = delete;
  FlowGraph& operator=(const FlowGraph&) = delete;

  void makeChain(std::size_t length)
  {
    for (std::size_t i = 0; i < length; ++i)
    {
      Node& node = add();
      if (i > 0)
        flow::make_edge(*nodes[i - 1], node);
    }
    finish(1, {nodes.back().get()});
  }

  void makeDiamond(std::size_t width)
  {
    Node& top = add();
    std::vector<Node*> branches;
    for (std::size_t i = 0; i < width; ++i)
    {
      branches.push_back(&add());
      flow::make_edge(top, *branches.back());
    }
    finish(width, branches);
  }

  // One value through the graph.
  void run()
  {
    arena.execute(
        [this]
        {
          nodes.front()->try_put(first);
          graph->wait_for_all();
        });
    if (!result)
      throw std::runtime_error("no value has come out of the flow graph");
    result = nullptr;
  }

private:
  using Node = flow::function_node<DataPtr, DataPtr, Policy>;
  using Sink = flow::function_node<DataPtr, flow::continue_msg, Policy>;

  // A body that might throw would not be worked on at once, whatever the policy.
  Node& add()
  {
    const auto fresh = [](const DataPtr& value) noexcept { return makeData(value->toInt() + 1); };
    return *nodes.emplace_back(std::make_unique<Node>(*graph, flow::serial, fresh));
  }

  // The end takes the values of all branches and makes the result with the last of them.
  void finish(std::size_t count, const std::vector<Node*>& branches)
  {
    const auto gather = [this, count](const DataPtr& value) noexcept
    {
      gathered.push_back(value);
      if (gathered.size() == count)
      {
        result = count == 1 ? value : makeData(gathered.front()->toInt() + 1);
        gathered.clear();
      }
      return flow::continue_msg();
    };
    gathered.reserve(count);
    sink = std::make_unique<Sink>(*graph, flow::serial, gather);
    for (Node* branch : branches)
      flow::make_edge(*branch, *sink);
  }

  oneapi::tbb::task_arena arena;
  std::unique_ptr<flow::graph> graph;
  std::vector<std::unique_ptr<Node>> nodes;
  std::unique_ptr<Sink> sink;
  std::vector<DataPtr> gathered;
  DataPtr result;
  const DataPtr first = makeData(1);
};

template <typename Policy>
Loop flowChain(std::size_t length)
{
  const auto graph = std::make_shared<FlowGraph<Policy>>();
  graph->makeChain(length);
  return {[graph] { graph->run(); }, static_cast<double>(length)};
}

template <typename Policy>
Loop flowDiamond(std::size_t width)
{
  const auto graph = std::make_shared<FlowGraph<Policy>>();
  graph->makeDiamond(width);
  return {[graph] { graph->run(); }, static_cast<double>(width)};
}

// Beside both ways of working on a message. The goal is held against the faster one, which differs from graph to graph.
void add(Report& report, const std::string& what, const Comparison& queued, const Comparison& atOnce, const Goal& goal)
{
  const bool queuedIsFaster = queued.ratio > atOnce.ratio;
  report.add(what, "oneTBB, a task each", queued, queuedIsFaster ? std::optional(goal) : std::nullopt);
  report.add(what, "oneTBB, lightweight", atOnce, queuedIsFaster ? std::nullopt : std::optional(goal));
}
}  // namespace

void measureFlowGraph(Report& report, const Settings& settings)
{
  using Queued = flow::queueing;
  using AtOnce = flow::queueing_lightweight;
  const auto beside = [&](const Loop& ours, const Loop& theirs)
  { return compareInRounds(settings.rounds, ours, theirs); };
  for (const std::size_t length : {100U, 1000U})
  {
    const Loop chain = chainLoop(length);
    add(report, fmt::format("hop of a chain of {}", length), beside(chain, flowChain<Queued>(length)),
        beside(chain, flowChain<AtOnce>(length)), {1.7, 1.0});
  }
  const Loop diamond = diamondLoop(64);
  add(report, "branch of a diamond of 64", beside(diamond, flowDiamond<Queued>(64)),
      beside(diamond, flowDiamond<AtOnce>(64)), {1.5, 1.0});

  const Loop two = loopOnTwoThreads(chainLoop(100), chainLoop(100));
  report.add("two chains on two threads, per hop", "oneTBB, a task each",
             beside(two, loopOnTwoThreads(flowChain<Queued>(100), flowChain<Queued>(100))));
}
}  // namespace ZR::Filtrix::Bench
