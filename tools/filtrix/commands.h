#pragma once

#include <functional>
#include <string>

namespace CLI
{
class App;
}

/// The commands of `filtrix`. Each adds itself to the application and says there what it does; what it then runs is
/// left in `action`, whose result is the exit status.
namespace ZR::Filtrix::Tool
{
/// Exit statuses, for scripts.
namespace Exit
{
inline constexpr int success = 0;
inline constexpr int failure = 1;  ///< what was asked for went wrong, or a fault was found
inline constexpr int usage = 2;    ///< the command line itself is wrong
}  // namespace Exit

using Action = std::function<int()>;

void addPeopleCommand(CLI::App& app, Action& action);
void addRunCommand(CLI::App& app, Action& action);
void addCheckCommand(CLI::App& app, Action& action);
void addFiltersCommand(CLI::App& app, Action& action);
void addGraphCommand(CLI::App& app, Action& action);
void addCallCommand(CLI::App& app, Action& action);
void addMethodsCommand(CLI::App& app, Action& action);
void addRecordCommand(CLI::App& app, Action& action);
void addReplayCommand(CLI::App& app, Action& action);
void addSceneCommand(CLI::App& app, Action& action);
void addEvaluateCommand(CLI::App& app, Action& action);
void addCompletionCommand(CLI::App& app, Action& action);

/// One line on standard error, "filtrix: ..."; gives `Exit::failure`.
int complain(const std::string& text);
}  // namespace ZR::Filtrix::Tool
