// `filtrix call` and `filtrix methods`: the module's methods by name.

#include "filtrix/ku/object.h"
#include "module/zrfiltrix.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/json.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
struct CallOptions
{
  RobotOptions robot;
  std::string method;
  std::vector<std::string> arguments;
  std::vector<std::string> programs;
};

// An argument that is no JSON is taken as the text that it is: nobody wants to quote a name twice.
ZRValue readArgument(const std::string& text)
{
  const auto json = nlohmann::json::parse(text, nullptr, false);
  return json.is_discarded() ? ZRValue(text) : fromJson(json);
}

int call(const CallOptions& options)
{
  const Session session(options.robot);
  for (const std::string& program : options.programs)
  {
    if (!session.module().loadProgramFromFile(program))
      return complain("the program \"" + program + "\" could not be loaded");
  }
  ku::DynamicObject::Arguments arguments;
  for (const std::string& argument : options.arguments)
    arguments.push_back(readArgument(argument));
  const ZRValue result = session.module().call(options.method, arguments);
  if (result.isString())
    std::cout << result.asString() << '\n';
  else
    std::cout << toJson(result).dump(2) << '\n';
  return Exit::success;
}

int listMethods()
{
  const Session session;
  for (const ku::Method& method : session.module().getMethods())
  {
    std::cout << method.signature() << "\n    " << method.description << '\n';
    for (const ku::Parameter& parameter : method.parameters)
    {
      if (!parameter.description.empty())
        std::cout << "    " << parameter.name << ": " << parameter.description << '\n';
    }
  }
  return Exit::success;
}
}  // namespace

void addCallCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<CallOptions>();
  CLI::App& command = *app.add_subcommand("call", "Calls a method of the module and prints what it returns.");
  command.add_option("METHOD", options->method, "One of those that \"filtrix methods\" lists")->required();
  command.add_option("ARGUMENTS", options->arguments, "JSON each; what is no JSON is a string");
  command.add_option("--program,-p", options->programs, "A program to load before the call")->type_name("FILE");
  addRobotOptions(command, options->robot);
  command.footer("Examples:\n  filtrix call getFilterDescription Otsu\n"
                 "  filtrix call setData RobotHeightOffset '[\"Float\", 0.5]'");
  command.callback([&action, options] { action = [options] { return call(*options); }; });
}

void addMethodsCommand(CLI::App& app, Action& action)
{
  CLI::App& command = *app.add_subcommand("methods", "Lists the methods of the module.");
  command.callback([&action] { action = listMethods; });
}
}  // namespace ZR::Filtrix::Tool
