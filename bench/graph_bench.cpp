#include "bench/allocations.h"
#include "bench/graphs.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <unordered_map>

namespace ZR::Filtrix::Bench
{
namespace
{
// What every figure is held against: the least that a hop needs. One virtual call, which makes one fresh value, takes
// one lock that nobody else wants, and makes and erases one entry of a hash map.
class Stage
{
public:
  Stage() = default;
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  virtual ~Stage() = default;
  virtual DataPtr pass(const DataPtr& value) = 0;
};

class FloorStage final : public Stage
{
public:
  DataPtr pass(const DataPtr& value) override
  {
    const std::lock_guard lock(mutex);
    entries.emplace(117'112'104U, 1);
    DataPtr next = makeData(value->toInt() + 1);
    entries.erase(117'112'104U);
    return next;
  }

private:
  std::mutex mutex;
  std::unordered_map<std::uint32_t, int> entries;
};

// The counters from which the closing table is made: how many hops an iteration makes, and what the heap had to do.
class HopCounter
{
public:
  explicit HopCounter(benchmark::State& state_, std::size_t hops_) : state(state_), hops(hops_), before(allocations())
  {
  }

  HopCounter(const HopCounter&) = delete;
  HopCounter& operator=(const HopCounter&) = delete;

  ~HopCounter()
  {
    const auto count = static_cast<double>(allocations() - before);
    const auto all = static_cast<double>(hops) * static_cast<double>(state.iterations());
    state.counters["hops"] = static_cast<double>(hops);
    state.counters["allocs/hop"] = count / all;
  }

private:
  benchmark::State& state;
  const std::size_t hops;
  const std::uint64_t before;
};

void floorLoop(benchmark::State& state)
{
  constexpr std::size_t length = 100;
  std::vector<std::unique_ptr<Stage>> stages;
  for (std::size_t i = 0; i < length; ++i)
    stages.push_back(std::make_unique<FloorStage>());
  const DataPtr first = makeData(1);
  const HopCounter counter(state, length);
  for (auto _ : state)
  {
    DataPtr value = first;
    for (const auto& stage : stages)
      value = stage->pass(value);
    benchmark::DoNotOptimize(value);
  }
}

void chain(benchmark::State& state)
{
  Graph graph = makeChain(static_cast<std::size_t>(state.range(0)));
  graph.run();
  const HopCounter counter(state, graph.nodes.size());
  for (auto _ : state)
    graph.run();
}

// What it costs to keep a report of every hop.
void chainWithReports(benchmark::State& state)
{
  Graph graph = makeChain(static_cast<std::size_t>(state.range(0)));
  for (const auto& node : graph.nodes)
    node->keepReports(true);
  graph.run();
  const HopCounter counter(state, graph.nodes.size());
  for (auto _ : state)
    graph.run();
}

void diamond(benchmark::State& state)
{
  Graph graph = makeDiamond(static_cast<std::size_t>(state.range(0)));
  graph.run();
  const HopCounter counter(state, graph.nodes.size());
  for (auto _ : state)
    graph.run();
}

void nest(benchmark::State& state)
{
  const auto depth = static_cast<std::size_t>(state.range(0));
  Graph graph = makeNest(depth);
  graph.run();
  const HopCounter counter(state, depth + 1);
  for (auto _ : state)
    graph.run();
}

// Two threads, each with a process of its own through nodes of its own.
void twoWorkersDisjoint(benchmark::State& state)
{
  Graph graph = makeChain(100, "worker" + std::to_string(state.thread_index()));
  graph.run();
  for (auto _ : state)
    graph.run();
  state.counters["hops"] = benchmark::Counter(100, benchmark::Counter::kAvgThreads);
}

// Two threads, each with a process of its own, through the same nodes.
void twoWorkersShared(benchmark::State& state)
{
  static const Graph shared = makeChain(100);
  Graph graph = shared;
  graph.finish("worker" + std::to_string(state.thread_index()), onlyOutput(*shared.nodes.back()));
  graph.run();
  for (auto _ : state)
    graph.run();
  state.counters["hops"] = benchmark::Counter(100, benchmark::Counter::kAvgThreads);
}

BENCHMARK(floorLoop);
BENCHMARK(chain)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(chainWithReports)->Arg(100);
BENCHMARK(diamond)->RangeMultiplier(2)->Range(2, 64);
BENCHMARK(nest)->Arg(1)->Arg(2)->Arg(4)->Arg(8);
BENCHMARK(twoWorkersDisjoint)->Threads(2)->UseRealTime();
BENCHMARK(twoWorkersShared)->Threads(2)->UseRealTime();
}  // namespace
}  // namespace ZR::Filtrix::Bench
