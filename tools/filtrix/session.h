#pragma once

#include "platform/inprocessbroker.h"

#include <memory>
#include <string>

namespace CLI
{
class App;
}

namespace ZR
{
class ZRFiltrix;
}

namespace ZR::Filtrix
{
class FiltrixPrivate;
}

namespace ZR::Replay
{
class Recorder;
class ReplayRobot;
}  // namespace ZR::Replay

namespace ZR::Capture
{
class CaptureRobot;
}

namespace ZR::OpenNI
{
class DepthRobot;
}

namespace ZR::Sim
{
class Robot;
}

namespace ZR::Filtrix::Tool
{
/// Which robot the module is given.
struct RobotOptions
{
  std::string replay;  ///< a recording or a folder of pictures; empty for none
  std::string camera;  ///< the number of a camera of this machine, a film, or a stream; empty for none
  std::string depth;   ///< "any", an address or an .oni file for a depth camera on USB; empty for none
  std::string scene;   ///< of the simulated robot; empty for none
  std::string record;  ///< the file that all that the robot gives is recorded to; empty for none
};

/// Adds `--scene`, `--replay`, `--camera`, `--depth-camera` and `--no-robot`. Without any of them it is the simulated
/// robot. And
/// `--record`.
void addRobotOptions(CLI::App& command, RobotOptions& options);

/// A host in this process with a robot, or none, and the module.
class Session final
{
public:
  /// Throws std::exception when the scene, the recording or the camera cannot be opened.
  explicit Session(const RobotOptions& options = {});
  ~Session();

  [[nodiscard]] ZRFiltrix& module() const noexcept { return *theModule; }

  [[nodiscard]] FiltrixPrivate& registry() const;

  /// Null when nothing is recorded.
  [[nodiscard]] Replay::Recorder* recorder() const noexcept { return theRecorder.get(); }

  /// False also when the robot has no cameras at all.
  [[nodiscard]] bool hasDepthCamera() const;

private:
  void _attachRobot(const RobotOptions& options, ZRBroker& broker);
  void _attachDepthCamera(const std::string& device, ZRBroker& broker);
  void _recordTo(const std::string& file, const ZRBroker& robot);

  std::unique_ptr<Replay::ReplayRobot> replay;
  std::unique_ptr<Capture::CaptureRobot> capture;
  std::shared_ptr<OpenNI::DepthRobot> depthRobot;  // null where the program was built without
  std::unique_ptr<Sim::Robot> simulated;
  std::shared_ptr<Replay::Recorder> theRecorder;
  Host host;
  std::shared_ptr<ZRFiltrix> theModule;
};
}  // namespace ZR::Filtrix::Tool
