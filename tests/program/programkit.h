#pragma once

#include "filtrix/ku/log.h"
#include "program/filtrixprivate.h"
#include "program/parser.h"
#include "support/graphkit.h"

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

/// What the tests load programs with.
namespace ZR::Filtrix::Test
{
/// A library of filters that hand their first input on. `Compare` has two inputs, `Split` two outputs.
inline void addLibrary(FiltrixPrivate& registry)
{
  const auto add =
      [&](const std::string& name, const std::vector<std::string>& inputs, const std::vector<std::string>& outputs)
  {
    registry.addFilter(
        std::make_shared<FunctionFilter>(name, inputs, outputs,
                                         [count = outputs.size()](const DataList& values)
                                         { return DataList(count, values.empty() ? DataPtr() : values[0]); }));
  };
  for (const char* name : {"Dilation", "Erosion", "Invert"})
    add(name, {"in"}, {"out"});
  add("Threshold", {"in", "ceil"}, {"out"});
  add("Compare", {"left", "?right"}, {"out"});
  add("Split", {"in"}, {"low", "high"});
}

/// "2 filtrix.parser: the text", a line for each entry that is at least a warning.
inline std::vector<std::string> complaints(const ku::log::Capture& log)
{
  std::vector<std::string> lines;
  for (const auto& [level, category, text] : log.entries())
  {
    if (level <= ku::log::Level::Warning)
      lines.push_back(fmt::format("{} {}: {}", static_cast<int>(level), category, text));
  }
  return lines;
}

/// A registry with a library, the log of what is loaded into it, and the parser.
class ProgramBench
{
public:
  ProgramBench() { addLibrary(registry); }

  bool load(std::string_view program)
  {
    log.clear();
    return Parser(registry).loadProgram(program, "test");
  }

  [[nodiscard]] std::vector<std::string> complaints() const { return Test::complaints(log); }

  FiltrixPrivate registry;
  ku::log::Capture log;
};
}  // namespace ZR::Filtrix::Test
