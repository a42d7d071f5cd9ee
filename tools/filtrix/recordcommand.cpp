// `filtrix record`: what a robot sees and where it is, to a file; and what is in such a file.

#include "filtrix/ku/clock.h"
#include "module/zrfiltrix.h"
#include "platform/replay/recorder.h"
#include "platform/replay/recordinginfo.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/interrupt.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
struct RecordOptions
{
  RobotOptions robot;
  std::vector<std::string> sources;
  std::string resolution = "QVGA";
  double rate = 15.0;
  double seconds = 0.0;
  std::string file;  ///< of `record info`
};

// What is recorded when nobody says what: both cameras that people are found with, and where they are.
std::vector<std::string> usualSources(const Session& session, const std::string& resolution)
{
  std::vector<std::string> sources{"VideoDevice_TopCamera<" + resolution + ">"};
  if (session.hasDepthCamera())
    sources.push_back("VideoDevice_DepthCamera<" + resolution + ">");
  for (const std::string& source : session.registry().getSources())
  {
    if (source.starts_with("Motion_") && !source.ends_with("_synchronized"))
      sources.push_back(source);
  }
  return sources;
}

// A source gives what a process wants of it: one for each, that passes it on.
std::string programFor(const std::vector<std::string>& sources, double rate)
{
  std::string text;
  for (std::size_t i = 0; i < sources.size(); ++i)
    text += fmt::format("process record{}(Identity, 5, {}) {{ in <= {}; out => out; }}\n", i, rate, sources[i]);
  return text;
}

int record(const RecordOptions& options)
{
  const Session session(options.robot);
  const auto sources = options.sources.empty() ? usualSources(session, options.resolution) : options.sources;
  const std::vector<std::string> known = session.registry().getSources();
  for (const std::string& source : sources)
  {
    if (std::ranges::find(known, source) == known.end())
      return complain(fmt::format("there is no source \"{}\"", source));
  }
  if (!session.registry().loadProgram(programFor(sources, options.rate)))
    return complain("the sources cannot be read");
  catchInterrupts();
  const auto start = std::chrono::steady_clock::now();
  const auto isOver = [&]
  {
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - start;
    return options.seconds > 0.0 && lasted.count() >= options.seconds;
  };
  session.module().startScheduler();
  while (!wasInterrupted() && !isOver())
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  session.module().stopScheduler();
  session.recorder()->close();
  std::cout << Replay::toText(Replay::info(options.robot.record));
  return Exit::success;
}
}  // namespace

void addRecordCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<RecordOptions>();
  CLI::App& command = *app.add_subcommand("record", "Records what a robot sees and where it is, to a file.");
  CLI::App& info = *command.add_subcommand("info", "Tells what is in a recording.");
  info.add_option("FILE", options->file, "A recording or a folder of pictures")->required();
  info.callback(
      [&action, options]
      {
        action = [options]
        {
          std::cout << Replay::toText(Replay::info(options->file));
          return Exit::success;
        };
      });
  addRobotOptions(command, options->robot);
  command.get_option("--record")->description("The file to write")->type_name("FILE");
  command.add_option("--source", options->sources, "What to record instead of the cameras and their positions");
  command.add_option("--resolution", options->resolution, "Of the cameras")
      ->check(CLI::IsMember({"QQVGA", "QVGA", "VGA"}))
      ->capture_default_str();
  command.add_option("--rate", options->rate, "Frames a second")->check(CLI::Range(0.1, 60.0))->capture_default_str();
  command.add_option("--for", options->seconds, "Stops after so many seconds")->check(CLI::Range(0.001, 1.0e9));
  command.footer("Examples:\n  filtrix record --record walk.mcap --for 20\n  filtrix record info walk.mcap");
  command.callback(
      [&action, &command, options]
      {
        if (!command.get_subcommands().empty())
          return;
        if (options->robot.record.empty())
          throw CLI::RequiredError("--record");
        action = [options] { return record(*options); };
      });
}
}  // namespace ZR::Filtrix::Tool
