// `filtrix scene`: looks into the simulated robot's scenes: what it sees there, and what is really there.

#include "filtrix/image.h"
#include "platform/sim/robotbody.h"
#include "platform/sim/simrobot.h"
#include "platform/sim/truth.h"
#include "tools/filtrix/commands.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
namespace fs = std::filesystem;

struct SceneOptions
{
  std::string scene;
  std::string pictures;
  std::string truth;
  double every = 2.0;
  bool perfect = false;
  bool speed = false;
};

int listScenes()
{
  for (const std::string& name : Sim::sceneNames())
  {
    const Sim::Scene scene = Sim::loadScene(name);
    std::cout << fmt::format("{:16} {:5.0f} s  {} people  {}\n", name, scene.duration,
                             std::ranges::count(scene.actors, Sim::Actor::Kind::Person, &Sim::Actor::kind),
                             scene.title);
  }
  return Exit::success;
}

constexpr int width = 320;
constexpr int height = 240;

std::unique_ptr<ZRImage> take(const Sim::Photographer& photographer, int camera, int colorSpace, double time)
{
  return photographer.take(camera, width, height, colorSpace, time);
}

// Near is bright, nothing is dark red.
cv::Mat depthPicture(ZRImage& frame)
{
  const cv::Mat1w depth(height, width, reinterpret_cast<unsigned short*>(frame.data()));
  cv::Mat gray;
  depth.convertTo(gray, CV_8U, -255.0 / 6000.0, 255.0);
  cv::Mat picture;
  cv::cvtColor(gray, picture, cv::COLOR_GRAY2BGR);
  picture.setTo(cv::Scalar(0, 0, 90), depth == 0);
  return picture;
}

void writePicture(const Sim::Photographer& photographer, double time, const fs::path& file)
{
  const auto colors = take(photographer, Sim::Camera::top, ColorSpace::bgr, time);
  const auto depth = take(photographer, Sim::Camera::depth, ColorSpace::depth, time);
  cv::Mat both;
  cv::hconcat(cv::Mat(height, width, CV_8UC3, colors->data()), depthPicture(*depth), both);
  cv::imwrite(file.string(), both);
}

int measureSpeed(const Sim::Photographer& photographer)
{
  constexpr int frames = 200;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < frames; ++i)
  {
    const double time = photographer.stage().scene().duration * i / frames;
    static_cast<void>(take(photographer, Sim::Camera::top, ColorSpace::rgb, time));
    static_cast<void>(take(photographer, Sim::Camera::depth, ColorSpace::depth, time));
  }
  const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - start;
  std::cout << fmt::format("{:.0f} frames a second of depth and color together, {} by {}, on one core\n",
                           frames / lasted.count(), width, height);
  return Exit::success;
}

int scene(const SceneOptions& options)
{
  if (options.scene.empty())
    return listScenes();
  Sim::RobotOptions robotOptions;
  robotOptions.sensor.isPerfect = options.perfect;
  const Sim::Robot robot(Sim::loadScene(options.scene), robotOptions);
  const Sim::Photographer& photographer = robot.photographer();
  if (options.speed)
    return measureSpeed(photographer);
  if (!options.pictures.empty())
    fs::create_directories(options.pictures);
  std::ofstream file;
  if (!options.truth.empty())
  {
    file.open(options.truth);
    if (!file)
      return complain(fmt::format("\"{}\" cannot be written", options.truth));
  }
  std::ostream& out = options.truth.empty() ? std::cout : file;
  const std::string name = fs::path(options.scene).stem().string();
  const double duration = photographer.stage().scene().duration;
  for (int i = 0; i * options.every < duration && out.good(); ++i)
  {
    const double time = i * options.every;
    if (!options.pictures.empty())
      writePicture(photographer, time, fs::path(options.pictures) / fmt::format("{}-{:05.2f}.png", name, time));
    out << toJson(truthAt(photographer, time)).dump() << '\n';
  }
  return Exit::success;
}
}  // namespace

void addSceneCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<SceneOptions>();
  CLI::App& command =
      *app.add_subcommand("scene", "Lists the simulated robot's scenes, or tells what is really there in one.");
  command.add_option("scene", options->scene, "A scene's name or file; without it all are listed");
  command.add_option("--every", options->every, "Seconds from one moment to the next")
      ->check(CLI::Range(0.001, 3600.0))
      ->capture_default_str();
  command.add_option("--truth", options->truth, "A file for the truth, a line of JSON a moment, instead of the output");
  command.add_option("--pictures", options->pictures, "A folder for pictures of what the robot sees: color and depth");
  command.add_flag("--perfect", options->perfect, "Without the depth camera's noise and losses");
  command.add_flag("--speed", options->speed, "Measures how fast pictures are computed instead");
  command.footer("Example:\n  filtrix scene waving --every 0.5 --pictures pictures --truth waving.jsonl");
  command.callback([&action, options] { action = [options] { return scene(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
