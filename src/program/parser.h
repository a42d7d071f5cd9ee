#pragma once

#include "program/programtext.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix
{
class FiltrixPrivate;
class ProgramLoader;

/// The statements of a filter's body, by kind.
struct FilterBody
{
  std::vector<std::string_view> nodes;
  std::vector<std::string_view> links;
  std::vector<std::string_view> inputs;
  std::vector<std::string_view> outputs;
};

/// The statements of a process's body, by kind.
struct ProcessBody
{
  std::vector<std::string_view> inputs;
  std::vector<std::string_view> outputs;
  std::vector<std::string_view> aggregatedOutputs;
  std::vector<std::string_view> localSources;
};

/// Turns program text into calls on the registry.
///
/// A program is executed statement by statement as it is read, so each statement sees what the earlier ones made. A
/// load is no transaction: what was created before a failure stays, and a last error line says what that is. No state
/// is kept between programs. Log category "filtrix.parser": what fails is logged at level 2, a failed `delete` and text
/// that is lost at level 3. Thread-safe; loads that run at once interleave by statements.
class Parser final
{
public:
  /// The most statements of one body, the links of a chain counted singly: each costs some hundred bytes while it is
  /// read.
  static constexpr std::size_t maxStatements = 250'000;

  explicit Parser(FiltrixPrivate& registry_) : registry(registry_) {}

  /// Executes a program. False when a filter, source, process or script statement failed, which ends the load.
  /// Exceptions of the registry pass through. `filtrixHandle` is how a message calls the caller; `basePath` is the
  /// folder that imports start from and stay beneath. With an empty one a relative import starts from the working
  /// folder.
  bool loadProgram(std::string_view program, const std::string& filtrixHandle,
                   const std::filesystem::path& basePath = {});

  /// The same for one of the programs of a running load.
  bool loadProgram(const ProgramText& program, const std::string& filtrixHandle, ProgramLoader& loader);

  // The statements. Names, headers and bodies are pieces of `program`, which knows where they stand.

  /// `filter NAME { ... }`
  bool createFilter(const ProgramText& program, std::string_view name, std::string_view body);
  bool createFilter(const ProgramText& program, std::string_view name, const FilterBody& body);

  /// `process NAME(FILTER, PRIORITY, FREQUENCY, TOLERANCE) { ... }`
  bool createProcess(const ProgramText& program, std::string_view header, std::string_view body);
  bool createProcess(const ProgramText& program, std::string_view header, const ProcessBody& body);

  /// `script NAME(LANGUAGE, INPUTS, OUTPUTS) { ... }`: always false, since no language is supported.
  bool createFilterFromScript(const ProgramText& program, std::string_view header, std::string_view body);
  bool createFilterFromScript(const ProgramText& program, std::string_view name, std::string_view script,
                              std::string_view language, const std::vector<std::string_view>& inputs,
                              const std::vector<std::string_view>& outputs);

  /// `event TARGET { PROCESS:SINK }`, or a source in place of the sink. Always true: an event that cannot be made is
  /// logged and does not end a load.
  bool createEvent(const ProgramText& program, std::string_view name, std::string_view body);

private:
  enum class Kind;
  struct Statement;

  static Statement _readHeader(std::string_view header);
  bool _run(const ProgramText& program, const Statement& statement, const std::string& filtrixHandle,
            ProgramLoader& loader);
  bool _setSource(const ProgramText& program, const Statement& statement, const std::string& filtrixHandle);
  void _delete(const ProgramText& program, const Statement& statement, ProgramLoader& loader);

  FiltrixPrivate& registry;
};
}  // namespace ZR::Filtrix
