#include <benchmark/benchmark.h>
#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace
{
// Gathers the time per hop of every benchmark that counts hops, and closes with a table of their ratios to the floor:
// times on a busy machine mean little, ratios within one run a good deal.
class RatioReporter final : public benchmark::ConsoleReporter
{
public:
  RatioReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override
  {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
    {
      const auto hops = run.counters.find("hops");
      if (run.run_type == Run::RT_Iteration && hops != run.counters.end())
      {
        const std::string name = run.benchmark_name();
        if (!times.contains(name))
          order.push_back(name);
        // Of several threads the wall time is shared out among all their iterations.
        times[name].push_back(run.GetAdjustedRealTime() * static_cast<double>(run.threads) / hops->second.value);
        const auto allocations = run.counters.find("allocs/hop");
        perHop[name] = allocations != run.counters.end() ? allocations->second.value : 0.0;
      }
    }
  }

  void Finalize() override
  {
    const auto floor = times.find("floorLoop");
    if (floor == times.end())
      return;
    const double unit = median(floor->second);
    fmt::print("\n{:<40} {:>10} {:>14} {:>16}\n", "per hop", "ns", "to the floor", "allocations");
    for (const std::string& name : order)
    {
      const double time = median(times[name]);
      fmt::print("{:<40} {:>10.1f} {:>13.2f}x {:>16.2f}\n", name, time, time / unit, perHop[name]);
    }
  }

private:
  static double median(std::vector<double> values)
  {
    std::ranges::sort(values);
    return values[values.size() / 2];
  }

  std::vector<std::string> order;
  std::map<std::string, std::vector<double>> times;
  std::map<std::string, double> perHop;
};
}  // namespace

int main(int argc, char** argv)
{
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
