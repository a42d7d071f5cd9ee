#pragma once

#include "filtrix/ku/clock.h"
#include "platform/sim/scene.h"
#include "platform/sim/simrobot.h"
#include "tools/filtrix/evaluation.h"
#include "tools/filtrix/session.h"

#include <memory>
#include <string>

namespace ZR::Filtrix::Tool
{
struct SceneRunOptions
{
  double rate = 15.0;               ///< frames a second
  std::string resolution = "QVGA";  ///< of depth and of colour
  bool isPerfect = false;           ///< without the depth camera's noise and losses
  bool isFlat = false;              ///< with the colour camera alone

  /// More of a program, behind people.fxs, with a process "people" that has a sink "population". Its sources are
  /// SceneDepth, SceneColor, SceneTorso, SceneRobot, SceneWorld and SceneHeightOffset. Empty for the one that finds
  /// people.
  std::string program = {};
};

/// Runs the program that finds people on a scene, frame by frame, in the scene's own time: each frame is finished
/// before the next, so that a run gives the same on every machine. A manual clock is in force as long as it lives.
class SceneRun final
{
public:
  /// Throws std::runtime_error when the program cannot be loaded.
  SceneRun(Sim::Scene scene, const SceneRunOptions& options_);
  ~SceneRun();
  SceneRun(const SceneRun&) = delete;
  SceneRun& operator=(const SceneRun&) = delete;

  /// The next frame, with the truth.
  [[nodiscard]] JudgedFrame step();

  [[nodiscard]] const Sim::Scene& scene() const { return robot.photographer().stage().scene(); }

  [[nodiscard]] Session& session() noexcept { return theSession; }

private:
  void _set(const std::string& source, int camera, int colorSpace);
  void _setPoses(const std::string& prefix, int camera);

  const SceneRunOptions options;
  ku::ManualClock clock;
  const Sim::Robot robot;
  Session theSession;
  int frame = 0;
  double time = 0.0;  // seconds in the scene
};
}  // namespace ZR::Filtrix::Tool
