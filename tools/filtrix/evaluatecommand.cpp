// `filtrix evaluate`: how well people are seen in scenes whose truth is known.

#include "filtrix/image.h"
#include "platform/sim/scene.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/interrupt.h"
#include "tools/filtrix/scenerun.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
namespace fs = std::filesystem;

struct EvaluateOptions
{
  std::vector<std::string> scenes;
  SceneRunOptions run;
  double seconds = 0.0;
  std::string json;
  std::string baseline;
  std::string frames;
  bool verbose = false;
};

void writeFrame(SceneRun& run, const fs::path& file)
{
  const DataPtr display = run.session().registry().getLastData("people:display");
  if (!display)
    return;
  cv::Mat picture;
  cv::cvtColor(Type::toCvMat(*display), picture, cv::COLOR_RGB2BGR);
  cv::imwrite(file.string(), picture);
}

void tellFrame(const JudgedFrame& frame)
{
  std::cerr << fmt::format("{:6.2f} s\n", frame.truth.time);
  for (const Sim::PersonTruth& person : frame.truth.people)
    std::cerr << fmt::format("  {:6} {:8} {:5.2f} {:5.2f} m, {:4.2f} m high, seen {:3.0f} %{}{}{}{}{}\n",
                             isCounted(person) ? "there" : "hidden", person.name, person.world.x, person.world.y,
                             person.height, 100.0F * person.visible, person.headIsVisible ? "" : ", no head",
                             person.isLooking ? ", looks" : "", person.faceIsVisible ? ", face" : "",
                             person.wavesLeft || person.wavesRight ? ", waves" : "", person.isSitting ? ", sits" : "");
  std::cerr << tableOf(frame.found);
  for (const PersonView& person : frame.found)
  {
    for (const std::string& event : person.events)
      std::cerr << fmt::format("    * {} {}\n", person.id, event);
  }
}

Figures evaluate(const std::string& name, const EvaluateOptions& options)
{
  SceneRun run(Sim::loadScene(name), options.run);
  Judge judge;
  const double duration =
      options.seconds > 0.0 ? std::min(options.seconds, run.scene().duration) : run.scene().duration;
  const int frames = static_cast<int>(duration * options.run.rate);
  for (int i = 0; i < frames && !wasInterrupted(); ++i)
  {
    const JudgedFrame frame = run.step();
    judge.add(frame);
    if (options.verbose)
      tellFrame(frame);
    if (!options.frames.empty())
      writeFrame(run, fs::path(options.frames) / fmt::format("{}-{:04}.png", fs::path(name).stem().string(), i));
  }
  return judge.figures();
}

// What has become worse than the baseline says, by more than it allows.
int compare(const nlohmann::json& now, const fs::path& file)
{
  std::ifstream stream(file);
  const nlohmann::json baseline = nlohmann::json::parse(stream, nullptr, false);
  if (!baseline.is_object())
    return complain(fmt::format("\"{}\" is no baseline, expected an object", file.string()));
  int worse = 0;
  for (const auto& [scene, bounds] : baseline.items())
  {
    if (!now.contains(scene))
      continue;
    for (const auto& [name, bound] : bounds.items())
    {
      const double value = now.at(scene).at(name).get<double>();
      const double least = bound.value("least", value);
      const double most = bound.value("most", value);
      if (value >= least && value <= most)
        continue;
      std::cerr << fmt::format("{}: {} is {:.3f}, expected {} {:.3f}\n", scene, name, value,
                               value < least ? "at least" : "at most", value < least ? least : most);
      ++worse;
    }
  }
  return worse == 0 ? Exit::success : Exit::failure;
}

int evaluate(EvaluateOptions options)
{
  if (options.scenes.empty())
    options.scenes = Sim::sceneNames();
  if (!options.frames.empty())
    fs::create_directories(options.frames);
  catchInterrupts();
  std::map<std::string, Figures> scenes;
  nlohmann::json json;
  Figures all;
  for (const std::string& name : options.scenes)
  {
    const Figures figures = evaluate(name, options);
    const std::string shown = fs::path(name).stem().string();
    scenes[shown] = figures;
    json[shown] = toJson(figures);
    all += figures;
  }
  json["all"] = toJson(all);
  std::cout << tableOf(scenes);
  if (!options.json.empty() && !(std::ofstream(options.json) << json.dump(2) << '\n'))
    return complain(fmt::format("\"{}\" cannot be written", options.json));
  return options.baseline.empty() ? Exit::success : compare(json, options.baseline);
}
}  // namespace

void addEvaluateCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<EvaluateOptions>();
  CLI::App& command = *app.add_subcommand("evaluate", "Tells how well people are seen in scenes whose truth is known.");
  command.add_option("scenes", options->scenes, "Scenes, by name or file; all that there are without any");
  command.add_option("--rate", options->run.rate, "Frames a second")
      ->check(CLI::Range(1.0, 60.0))
      ->capture_default_str();
  command.add_option("--resolution", options->run.resolution, "Of the cameras")
      ->check(CLI::IsMember({"QQVGA", "QVGA", "VGA"}))
      ->capture_default_str();
  command.add_flag("--perfect", options->run.isPerfect, "Without the depth camera's noise and losses");
  command.add_flag("--no-depth", options->run.isFlat, "With the color camera alone");
  command.add_option("--for", options->seconds, "Only so many seconds of each scene")->check(CLI::Range(0.1, 3600.0));
  command.add_option("--json", options->json, "A file for the figures");
  command.add_option("--baseline", options->baseline, "Fails when a figure is outside the bounds in this file")
      ->check(CLI::ExistingFile);
  command.add_option("--frames", options->frames, "A folder to write annotated pictures to");
  command.add_flag("--verbose", options->verbose, "Tells for each frame who is there and who was found");
  command.footer("Example:\n  filtrix evaluate crossing waving --json figures.json");
  command.callback([&action, options] { action = [options] { return evaluate(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
