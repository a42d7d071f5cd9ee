#include "tools/filtrix/commands.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace Tool = ZR::Filtrix::Tool;

int main(int argc, char** argv)
{
  CLI::App app("The perception runtime of a humanoid robot: runs programs of filters over live sensor data.");
  app.name("filtrix");
  app.set_version_flag("--version", FILTRIX_VERSION);
  app.require_subcommand(1);
  app.footer("Examples:\n"
             "  filtrix people                         finds people in a simulated robot's room\n"
             "  filtrix people --camera 0              finds people before this machine's camera\n"
             "  filtrix filters                        what there is to build programs from\n"
             "  filtrix check hello.fxs                finds the faults of a program without running it\n"
             "  filtrix run hello.fxs --print p:sink   runs it and prints a sink as it changes\n\n"
             "Exit status: 0 done, 1 something failed or a fault was found, 2 the command line is wrong.\n"
             "The environment variable FILTRIX_LOG sets how much is logged, 1 (least) to 6.");
  Tool::Action action;
  Tool::addPeopleCommand(app, action);
  Tool::addRunCommand(app, action);
  Tool::addCheckCommand(app, action);
  Tool::addFiltersCommand(app, action);
  Tool::addGraphCommand(app, action);
  Tool::addCallCommand(app, action);
  Tool::addMethodsCommand(app, action);
  Tool::addRecordCommand(app, action);
  Tool::addReplayCommand(app, action);
  Tool::addSceneCommand(app, action);
  Tool::addEvaluateCommand(app, action);
  Tool::addCompletionCommand(app, action);
  try
  {
    app.parse(argc, argv);
    return action();
  }
  catch (const CLI::ParseError& error)
  {
    return app.exit(error) == 0 ? Tool::Exit::success : Tool::Exit::usage;
  }
  catch (const std::exception& error)
  {
    return Tool::complain(error.what());
  }
}
