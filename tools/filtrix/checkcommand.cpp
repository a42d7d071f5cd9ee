// `filtrix check`: what loading a program would complain of, without running it.

#include "filtrix/ku/log.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/progress.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
struct Fault
{
  std::string place;      ///< "people.fxs:12:3", or empty
  std::string statement;  ///< as it stands there
  std::string text;
  ku::log::Level level;
};

// "text [people.fxs:12:3: gain <= 12]" is how the runtime tells where something was written.
Fault readFault(const ku::log::Entry& entry)
{
  Fault fault{{}, {}, entry.text, entry.level};
  const std::size_t open = entry.text.rfind(" [");
  if (open == std::string::npos || !entry.text.ends_with(']'))
    return fault;
  const std::string_view origin = std::string_view(entry.text).substr(open + 2, entry.text.size() - open - 3);
  const std::size_t colon = origin.find(": ");
  if (colon == std::string_view::npos)
    return fault;
  fault.place = origin.substr(0, colon);
  fault.statement = origin.substr(colon + 2);
  fault.text = entry.text.substr(0, open);
  return fault;
}

// An event tries a sink and then a source, and the registry tells of both; the parser's own line says how it ended.
bool isFault(const ku::log::Entry& entry)
{
  if (entry.category != "filtrix.private")
    return true;
  constexpr std::string_view attempts[] = {"createEvent(", "Can't access source", "Can't get process",
                                           "Can't get data from source"};
  for (const std::string_view attempt : attempts)
  {
    if (entry.text.starts_with(attempt))
      return false;
  }
  return true;
}

std::vector<Fault> findFaults(const std::string& program)
{
  const Session session;
  const ku::log::Capture capture(ku::log::Level::Warning);
  const Progress progress("checking " + program);
  const bool loaded = session.registry().loadProgramFromFile(program);
  std::vector<Fault> faults;
  for (const ku::log::Entry& entry : capture.entries())
  {
    if (isFault(entry))
      faults.push_back(readFault(entry));
  }
  if (!loaded && faults.empty())
    faults.push_back({program, {}, "the program could not be loaded", ku::log::Level::Error});
  return faults;
}

bool isError(const Fault& fault)
{
  return fault.level <= ku::log::Level::Error;
}

void print(const Fault& fault)
{
  if (!fault.place.empty())
    std::cout << fault.place << ": ";
  std::cout << (isError(fault) ? "error: " : "warning: ") << fault.text << '\n';
  if (!fault.statement.empty())
    std::cout << "    " << fault.statement << '\n';
}

void printJson(const std::string& program, const Fault& fault)
{
  std::cout << nlohmann::json({{"program", program},
                               {"place", fault.place},
                               {"severity", isError(fault) ? "error" : "warning"},
                               {"statement", fault.statement},
                               {"text", fault.text}})
                   .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
            << '\n';
}

int check(const std::vector<std::string>& programs, bool json, bool strict)
{
  bool failed = false;
  for (const std::string& program : programs)
  {
    const std::vector<Fault> faults = findFaults(program);
    for (const Fault& fault : faults)
    {
      failed = failed || strict || isError(fault);
      json ? printJson(program, fault) : print(fault);
    }
    if (faults.empty() && !json)
      std::cout << program << ": no fault found\n";
  }
  return failed ? Exit::failure : Exit::success;
}
}  // namespace

void addCheckCommand(CLI::App& app, Action& action)
{
  const auto programs = std::make_shared<std::vector<std::string>>();
  const auto json = std::make_shared<bool>(false);
  const auto strict = std::make_shared<bool>(false);
  CLI::App& command = *app.add_subcommand("check", "Finds the faults of programs without running them.");
  command.add_option("PROGRAM", *programs, "A program file, .fxs or .txt")->required();
  command.add_flag("--json", *json, "Prints a line of JSON for each fault");
  command.add_flag("--strict", *strict, "Warnings count as faults, too");
  command.footer("Exit status: 0 no fault, 1 faults, 2 the command line is wrong.\n"
                 "Example:\n  filtrix check people.fxs");
  command.callback([&action, programs, json, strict] { action = [=] { return check(*programs, *json, *strict); }; });
}
}  // namespace ZR::Filtrix::Tool
