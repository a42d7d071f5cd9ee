// `filtrix filters`: what programs are built from.

#include "filtrix/ku/suggest.h"
#include "graph/filteradapter.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
std::string portText(const PortDescription& port)
{
  std::string text = (port.optional ? "optional " : "") + port.name;
  if (port.types.empty())
    return text;
  text += " [";
  for (const TypeTag type : port.types)
    text += (text.ends_with('[') ? "" : " ") + std::string(Type::typeName(type));
  return text + "]";
}

void describe(const FiltrixPrivate& registry, const std::string& name)
{
  std::cout << name << "\n  " << registry.getFilterDescription(name) << '\n';
  for (const PortDescription& port : registry.getFilterInputs(name))
    std::cout << "  in   " << portText(port) << '\n';
  for (const PortDescription& port : registry.getFilterOutputs(name))
    std::cout << "  out  " << portText(port) << '\n';
  std::cout << "  " << (registry.isFilterStateful(name) ? "keeps state from run to run" : "keeps no state") << '\n';
}

int filters(const std::string& wanted, bool namesOnly)
{
  const Session session;
  const FiltrixPrivate& registry = session.registry();
  const std::vector<std::string> names = registry.getFilters();
  if (wanted.empty())
  {
    for (const std::string& name : names)
    {
      if (namesOnly)
        std::cout << name << '\n';
      else
        std::cout << fmt::format("{:32}  {}\n", name, registry.getFilterDescription(name));
    }
    return Exit::success;
  }
  if (std::ranges::find(names, wanted) == names.end())
    return complain("there is no filter \"" + wanted + "\"." + ku::didYouMean(wanted, names));
  describe(registry, wanted);
  return Exit::success;
}
}  // namespace

void addFiltersCommand(CLI::App& app, Action& action)
{
  const auto name = std::make_shared<std::string>();
  const auto namesOnly = std::make_shared<bool>(false);
  CLI::App& command = *app.add_subcommand("filters", "Lists the filters, or tells the ports of one.");
  command.add_option("NAME", *name, "The filter to tell about");
  command.add_flag("--names", *namesOnly, "Only the names, a line each");
  command.footer("Example:\n  filtrix filters HumanTracker");
  command.callback([&action, name, namesOnly] { action = [=] { return filters(*name, *namesOnly); }; });
}
}  // namespace ZR::Filtrix::Tool
