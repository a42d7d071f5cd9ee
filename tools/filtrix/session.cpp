#include "tools/filtrix/session.h"

#include "module/entry.h"
#include "module/zrfiltrix.h"
#include "platform/sim/robot.h"

#include <CLI/CLI.hpp>

namespace ZR::Filtrix::Tool
{
void addRobotOptions(CLI::App& command, RobotOptions& options)
{
  command.add_option("--robot", options.robot, "The robot: simulated, or none at all")
      ->check(CLI::IsMember({"sim", "none"}))
      ->capture_default_str();
  command.add_option("--scene", options.scene, "What the simulated robot sees: a scene's name or file")
      ->capture_default_str();
}

Session::Session(const RobotOptions& options)
{
  if (options.robot == "sim")
  {
    robot = std::make_unique<Sim::Robot>(options.scene);
    robot->attach(*host.broker());
  }
  _createModule(host.broker());
  theModule = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find(ZRFiltrix::moduleName));
}

Session::~Session() = default;

FiltrixPrivate& Session::registry() const
{
  return **static_cast<std::shared_ptr<FiltrixPrivate>*>(theModule->getFiltrix());
}
}  // namespace ZR::Filtrix::Tool
