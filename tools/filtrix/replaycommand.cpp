// `filtrix replay`: programs on a recording, each frame finished before the next.

#include "filtrix/data.h"
#include "module/valuebridge.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/interrupt.h"
#include "tools/filtrix/json.h"
#include "tools/filtrix/stepreplay.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
struct ReplayCommandOptions
{
  std::string recording;
  std::vector<std::string> programs;
  std::vector<std::string> sinks;
  bool json = false;
};

void print(const std::string& sink, const DataPtr& value, bool json)
{
  if (json)
    std::cout << nlohmann::json{{"time", value ? value->timestamp().microseconds() : 0},
                                {"sink", sink},
                                {"value", toJson(ValueBridge::toZRValue(value))}}
                     .dump()
              << '\n';
  else
    std::cout << sink << " = " << (value ? Type::toText(*value) : "null") << '\n';
}

int replay(const ReplayCommandOptions& options)
{
  StepReplay replayed(options.recording);
  FiltrixPrivate& registry = replayed.session().registry();
  for (const std::string& program : options.programs)
  {
    if (!registry.loadProgramFromFile(program))
      return complain("the program \"" + program + "\" could not be loaded");
  }
  std::vector<std::string> sinks = options.sinks;
  if (sinks.empty())
  {
    for (const std::string& process : registry.getProcesses())
    {
      for (const std::string& sink : registry.getProcessSinks(process))
        sinks.push_back(process + ":" + sink);
    }
  }
  std::map<std::string, DataPtr> last;
  for (const std::string& sink : sinks)
    last[sink] = registry.getLastData(sink);  // throws for a name that is not there
  catchInterrupts();
  const auto start = std::chrono::steady_clock::now();
  int moments = 0;
  while (!wasInterrupted() && std::cout.good() && replayed.step())
  {
    ++moments;
    for (auto& [sink, value] : last)
    {
      DataPtr now = registry.getLastData(sink);
      if (now != value)
        print(sink, now, options.json);
      value = std::move(now);
    }
  }
  const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - start;
  std::cerr << fmt::format("{} moments in {:.1f} s: {:.0f} a second\n", moments, lasted.count(),
                           moments / std::max(lasted.count(), 1.0e-3));
  return Exit::success;
}
}  // namespace

void addReplayCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<ReplayCommandOptions>();
  CLI::App& command = *app.add_subcommand(
      "replay", "Runs programs on a recording, each frame finished before the next, as fast as it goes.");
  command.add_option("RECORDING", options->recording, "A recording or a folder of pictures")->required();
  command.add_option("PROGRAM", options->programs, "A program file, .fxs or .txt")->required();
  command.add_option("--print,-p", options->sinks, "Prints a sink with each new value; without any, all of them")
      ->type_name("PROCESS:SINK");
  command.add_flag("--json", options->json, "Prints a line of JSON for each value");
  command.footer("The same recording gives the same output on every run. At its own pace it plays with\n"
                 "\"filtrix run PROGRAM --replay RECORDING\".\n\n"
                 "Example:\n  filtrix replay walk.mcap objects.fxs --print objects:objects --json");
  command.callback([&action, options] { action = [options] { return replay(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
