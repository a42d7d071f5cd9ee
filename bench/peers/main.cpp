// The runtime beside its peers, as ratios measured in one run. Times on a busy machine mean little, ratios a good deal.

#include "bench/peers/measurements.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>
#include <vector>

namespace
{
using namespace ZR::Filtrix::Bench;

struct Group
{
  const char* name;
  void (*measure)(Report&, const Settings&);
};

// Peers that were not found when this was built have no group.
constexpr Group groups[] = {
    {"hops", measureHops},
#ifdef FILTRIX_WITH_TBB
    {"flowgraph", measureFlowGraph},
#endif
#ifdef FILTRIX_WITH_GSTREAMER
    {"pipeline", measurePipeline},
#endif
    {"workers", measureWorkers},     {"crowds", measureCrowds},
};

int measure(const Settings& settings, const std::vector<std::string>& wanted, bool json, bool check)
{
  Report report(json);
  for (const Group& group : groups)
  {
    if (wanted.empty() || std::ranges::find(wanted, group.name) != wanted.end())
      group.measure(report, settings);
  }
  if (json)
    fmt::print("{}\n", report.toJson());
  return check && !report.allReached() ? 1 : 0;
}
}  // namespace

int main(int argc, char** argv)
{
  Settings settings;
  bool json = false;
  bool check = false;
  std::vector<std::string> wanted;
  CLI::App app("Measures the runtime beside its peers.");
  app.add_flag("--json", json, "print JSON instead of a table");
  app.add_flag("--check", check, "exit with status 1 when a figure misses its goal");
  app.add_option("--rounds", settings.rounds, "rounds of every comparison")->check(CLI::Range(1, 100'000));
  app.add_option("--processes", settings.processes, "how many processes wait")->check(CLI::Range(1, 100'000));
  std::vector<std::string> names;
  for (const Group& group : groups)
    names.emplace_back(group.name);
  app.add_option("group", wanted, "which figures to take; all when none is named")->check(CLI::IsMember(names));
  CLI11_PARSE(app, argc, argv);

  // Reference counts are cheaper in a program that has never started a thread. The runtime lives among threads, so all
  // figures are to be taken as they are there, the first ones too.
  std::thread([] {}).join();

  try
  {
    return measure(settings, wanted, json, check);
  }
  catch (const std::exception& exception)
  {
    fmt::print(stderr, "peers: {}\n", exception.what());
    return 2;
  }
}
