#include "bench/graphs.h"
#include "exec/event.h"
#include "exec/scheduler.h"

#include <benchmark/benchmark.h>

namespace ZR::Filtrix::Bench
{
namespace
{
class Processes final : public ProcessRegistry
{
public:
  explicit Processes(std::size_t count)
  {
    for (std::size_t i = 0; i < count; ++i)
    {
      const auto priority = static_cast<std::uint32_t>(1 + i % 3);
      processes.push_back(std::make_shared<Process>("p" + std::to_string(i), priority, 10.0F, Duration()));
    }
  }

  void forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const override
  {
    for (const ProcessPtr& process : processes)
      visit(process);
  }

  [[nodiscard]] bool isRegistered(const std::string&) const override { return true; }

private:
  std::vector<ProcessPtr> processes;
};

void publication(benchmark::State& state)
{
  const NodeSourcePtr source = std::make_shared<NodeSource>("source");
  std::uint64_t heard = 0;
  for (std::int64_t i = 0; i < state.range(0); ++i)
    source->addEvent(std::make_shared<Event>([&heard](const DataPtr&) { ++heard; }));
  const DataPtr value = makeData(1);
  for (auto _ : state)
    source->setData(value);
  benchmark::DoNotOptimize(heard);
}

void rebuild(benchmark::State& state)
{
  const Processes processes(static_cast<std::size_t>(state.range(0)));
  Scheduler scheduler(processes, 2);
  for (auto _ : state)
    scheduler.rebuildJobs();
}

// A whole turn of the list: the refill, and every job taken and finished.
void cycle(benchmark::State& state)
{
  const Processes processes(static_cast<std::size_t>(state.range(0)));
  Scheduler scheduler(processes, 2);
  scheduler.rebuildJobs();
  const std::size_t length = scheduler.getCycle().size();
  for (auto _ : state)
  {
    scheduler.nextJob();
    for (std::size_t i = 0; i < length; ++i)
      scheduler.finishJob(scheduler.nextJob().process);
  }
  state.counters["ns/job"] = benchmark::Counter(
      static_cast<double>(length) * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(publication)->DenseRange(0, 8, 2);
BENCHMARK(rebuild)->RangeMultiplier(10)->Range(1, 1000);
BENCHMARK(cycle)->RangeMultiplier(10)->Range(1, 1000);
}  // namespace
}  // namespace ZR::Filtrix::Bench
