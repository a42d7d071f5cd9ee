#include "tools/filtrix/session.h"

#include "filtrix/ku/log.h"
#include "module/entry.h"
#include "module/zrfiltrix.h"
#include "platform/cameraservice.h"
#include "platform/capture/capturerobot.h"
#include "platform/replay/replayrobot.h"
#include "platform/sim/simrobot.h"

#include <CLI/CLI.hpp>

#include <exception>

namespace ZR::Filtrix::Tool
{
namespace
{
constexpr const char* defaultScene = "demo";
}  // namespace

void addRobotOptions(CLI::App& command, RobotOptions& options)
{
  options.scene = defaultScene;
  CLI::Option* const scene =
      command.add_option("--scene", options.scene, "A scene, by name or file, for the simulated robot")
          ->capture_default_str();
  CLI::Option* const replay =
      command.add_option("--replay", options.replay, "Plays a recording or a folder of pictures as the robot")
          ->excludes(scene);
  CLI::Option* const camera = command
                                  .add_option("--camera", options.camera,
                                              "Looks through a camera of this machine (its number), a film or a stream")
                                  ->excludes(scene)
                                  ->excludes(replay);
  command
      .add_flag_callback(
          "--no-robot", [&options] { options.scene.clear(); }, "No robot at all")
      ->excludes(scene)
      ->excludes(replay)
      ->excludes(camera);
}

Session::Session(const RobotOptions& options)
{
  if (!options.replay.empty())
  {
    replay = std::make_unique<Replay::ReplayRobot>(options.replay, Replay::ReplayOptions{.loop = true});
    replay->attach(*host.broker());
  }
  else if (!options.camera.empty())
  {
    Capture::CaptureOptions capturing;
    capturing.cameras[0].source = options.camera;
    capture = std::make_unique<Capture::CaptureRobot>(capturing);
    capture->attach(*host.broker());
  }
  else if (!options.scene.empty())
  {
    simulated = std::make_unique<Sim::Robot>(Sim::loadScene(options.scene));
    simulated->attach(*host.broker());
  }
  else
  {
    // Nobody asked for a robot, so that none is missing.
    for (const char* const category : {"filtrix.videosource", "filtrix.motionsource", "filtrix.audiosource"})
      ku::log::setLevel(category, ku::log::Level::Fatal);
  }
  _createModule(host.broker());
  theModule = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find(ZRFiltrix::moduleName));
}

Session::~Session() = default;

bool Session::hasDepthCamera() const
{
  try
  {
    return CameraProxy(host.broker())->hasDepthCamera();
  }
  catch (const std::exception&)
  {
    return false;
  }
}

FiltrixPrivate& Session::registry() const
{
  return **static_cast<std::shared_ptr<FiltrixPrivate>*>(theModule->getFiltrix());
}
}  // namespace ZR::Filtrix::Tool
