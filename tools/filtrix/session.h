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

namespace ZR::Sim
{
class Robot;
}

namespace ZR::Filtrix::Tool
{
/// Which robot the module is given.
struct RobotOptions
{
  std::string robot = "sim";   ///< "sim" or "none"
  std::string scene = "walk";  ///< of the simulated robot: a name among the data files, or a path
};

/// Adds `--robot` and `--scene`.
void addRobotOptions(CLI::App& command, RobotOptions& options);

/// A host in this process with a robot and the module.
class Session final
{
public:
  /// Throws std::exception when the scene cannot be read.
  explicit Session(const RobotOptions& options = {});
  ~Session();

  [[nodiscard]] ZRFiltrix& module() const noexcept { return *theModule; }

  [[nodiscard]] FiltrixPrivate& registry() const;

private:
  std::unique_ptr<Sim::Robot> robot;
  Host host;
  std::shared_ptr<ZRFiltrix> theModule;
};
}  // namespace ZR::Filtrix::Tool
