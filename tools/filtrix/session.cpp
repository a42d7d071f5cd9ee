#include "tools/filtrix/session.h"

#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"
#include "module/entry.h"
#include "module/zrfiltrix.h"
#include "platform/cameraservice.h"
#include "platform/capture/capturerobot.h"
#ifdef FILTRIX_HAS_OPENNI
#include "platform/openni/opennirobot.h"
#endif
#include "platform/replay/recorder.h"
#include "platform/replay/recordingservices.h"
#include "platform/replay/replayrobot.h"
#include "platform/sim/simrobot.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

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
  CLI::Option* const depth = command
                                 .add_option("--depth-camera", options.depth,
                                             "Looks through a depth camera on USB: any, its address, or an .oni file")
                                 ->excludes(scene)
                                 ->excludes(replay)
                                 ->excludes(camera);
  command.add_option("--record", options.record, "Records all that the robot gives to this file");
  command
      .add_flag_callback(
          "--no-robot", [&options] { options.scene.clear(); }, "No robot at all")
      ->excludes(scene)
      ->excludes(replay)
      ->excludes(camera)
      ->excludes(depth);
}

Session::Session(const RobotOptions& options)
{
  if (options.record.empty())
    _attachRobot(options, *host.broker());
  else
  {
    // The robot's own services are kept behind those that record.
    const Host robot("robot");
    _attachRobot(options, *robot.broker());
    _recordTo(options.record, *robot.broker());
  }
  _createModule(host.broker());
  theModule = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find(ZRFiltrix::moduleName));
}

void Session::_attachRobot(const RobotOptions& options, ZRBroker& broker)
{
  if (!options.replay.empty())
  {
    replay = std::make_unique<Replay::ReplayRobot>(
        options.replay, Replay::ReplayOptions{.loop = true, .start = {}, .stamps = Replay::Stamps::OfTheClock});
    replay->attach(broker);
  }
  else if (!options.camera.empty())
  {
    Capture::CaptureOptions capturing;
    capturing.cameras[0].source = options.camera;
    // So that a picture's age can be told.
    capturing.start = std::chrono::duration_cast<std::chrono::microseconds>(ku::Clock::now().time_since_epoch());
    capture = std::make_unique<Capture::CaptureRobot>(capturing);
    capture->attach(broker);
  }
  else if (!options.depth.empty())
    _attachDepthCamera(options.depth, broker);
  else if (!options.scene.empty())
  {
    simulated = std::make_unique<Sim::Robot>(Sim::loadScene(options.scene));
    simulated->attach(broker);
  }
  else
  {
    // Nobody asked for a robot, so that none is missing.
    for (const char* const category : {"filtrix.videosource", "filtrix.motionsource", "filtrix.audiosource"})
      ku::log::setLevel(category, ku::log::Level::Fatal);
  }
}

void Session::_attachDepthCamera(const std::string& device, ZRBroker& broker)
{
#ifdef FILTRIX_HAS_OPENNI
  depthRobot = std::make_shared<OpenNI::DepthRobot>(
      OpenNI::DeviceOptions{.device = device == "any" ? std::string() : device, .start = {}});
  depthRobot->attach(broker);
#else
  static_cast<void>(broker);
  throw std::runtime_error("no depth camera \"" + device + "\": this program was built without OpenNI2");
#endif
}

void Session::_recordTo(const std::string& file, const ZRBroker& robot)
{
  theRecorder = std::make_shared<Replay::Recorder>(file);
  if (auto camera = std::dynamic_pointer_cast<CameraService>(robot.find(CameraService::serviceName)))
    host.broker()->add(std::make_shared<Replay::RecordingCamera>(std::move(camera), theRecorder));
  if (auto motion = std::dynamic_pointer_cast<MotionService>(robot.find(MotionService::serviceName)))
    host.broker()->add(std::make_shared<Replay::RecordingMotion>(std::move(motion), theRecorder));
  if (auto audio = std::dynamic_pointer_cast<AudioService>(robot.find(AudioService::serviceName)))
    host.broker()->add(std::make_shared<Replay::RecordingAudio>(std::move(audio), theRecorder));
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
