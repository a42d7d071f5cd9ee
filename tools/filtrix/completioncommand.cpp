// `filtrix completion`: what a shell needs to complete our command line.

#include "tools/filtrix/commands.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <set>
#include <string>

namespace ZR::Filtrix::Tool
{
namespace
{
std::string longOptions(const CLI::App& command)
{
  std::set<std::string> options;
  for (const CLI::Option* option : command.get_options())
  {
    for (const std::string& name : option->get_lnames())
      options.insert("--" + name);
  }
  std::string text;
  for (const std::string& option : options)
    text += (text.empty() ? "" : " ") + option;
  return text;
}

// The names of filters are asked of the program itself, the rest is known here.
int printScript(const CLI::App& app)
{
  std::string commands;
  std::string cases;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
  {
    commands += (commands.empty() ? "" : " ") + command->get_name();
    cases += "    " + command->get_name() + ") options=\"" + longOptions(*command) + "\" ;;\n";
  }
  std::cout
      << "# Completion of filtrix for bash: filtrix completion bash > /etc/bash_completion.d/filtrix\n"
         "_filtrix()\n{\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} options=\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    COMPREPLY=($(compgen -W \""
      << commands
      << " --help --version\" -- \"$word\")); return\n"
         "  fi\n"
         "  case ${COMP_WORDS[1]} in\n"
      << cases
      << "  esac\n"
         "  if [[ $word == -* ]]; then COMPREPLY=($(compgen -W \"$options\" -- \"$word\")); return; fi\n"
         "  case ${COMP_WORDS[1]} in\n"
         "    filters|graph) COMPREPLY=($(compgen -W \"$(filtrix filters --names 2>/dev/null)\" -- \"$word\")) ;;\n"
         "    run|check) COMPREPLY=($(compgen -f -X '!*.@(fxs|txt)' -- \"$word\") $(compgen -d -- \"$word\")) ;;\n"
         "  esac\n"
         "}\n"
         "complete -F _filtrix filtrix\n";
  return Exit::success;
}
}  // namespace

void addCompletionCommand(CLI::App& app, Action& action)
{
  const auto shell = std::make_shared<std::string>();
  CLI::App& command = *app.add_subcommand("completion", "Prints the script by which a shell completes command lines.");
  command.add_option("SHELL", *shell, "bash; zsh reads the same script after bashcompinit")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh"}));
  command.footer("Example:\n  source <(filtrix completion bash)");
  command.callback([&app, &action] { action = [&app] { return printScript(app); }; });
}
}  // namespace ZR::Filtrix::Tool
