// The statement that makes processes.

#include "foundation/text/split.h"
#include "program/filtrixprivate.h"
#include "program/literal.h"
#include "program/parser.h"
#include "program/parserlog.h"

#include <algorithm>

namespace ZR::Filtrix
{
namespace
{
constexpr std::uint32_t defaultPriority = 3;
constexpr float defaultFrequency = 1.0F;  // runs per second

// What stands between the brackets of a process's header.
struct Arguments
{
  std::string filter;
  std::uint32_t priority = defaultPriority;
  float frequency = defaultFrequency;
  Duration tolerance;
};

bool contains(std::string_view text, std::string_view part)
{
  return text.find(part) != std::string_view::npos;
}

// Digits of any number; what is above the highest priority counts as that.
std::uint32_t readPriority(std::string_view digits)
{
  std::uint32_t value = 0;
  for (const char digit : digits)
    value = std::min(value * 10 + static_cast<std::uint32_t>(digit - '0'), Process::maxPriority + 0U);
  return value;
}

// What is wrong with the arguments, or nothing when they have been read.
std::string readArguments(const std::vector<std::string_view>& texts, Arguments& arguments)
{
  if (texts.empty())
    return "expected at least a filter name.";
  arguments.filter = texts[0];
  if (texts.size() > 1)
  {
    if (!isInteger(texts[1]))
      return "priority \"" + ParserLog::shown(texts[1]) + "\" is not a valid integer";
    if (texts[1].front() == '-')
      return fmt::format("priority \"{}\" is negative, expected 0 to {}.", ParserLog::shown(texts[1]),
                         Process::maxPriority);
    arguments.priority = readPriority(texts[1]);
  }
  if (texts.size() > 2)
  {
    if (!isFloat(texts[2]))
      return "frequency \"" + ParserLog::shown(texts[2]) + "\" is not a valid float.";
    arguments.frequency = toFloat(texts[2]);
  }
  if (texts.size() > 3)
  {
    if (!isInteger(texts[3]))
      return "tolerance \"" + ParserLog::shown(texts[3]) + "\" is not a valid duration.";
    arguments.tolerance = Duration(toLongInteger(texts[3]));
  }
  return {};
}

std::vector<Binding> cut(const ProgramText& program, const std::vector<std::string_view>& statements,
                         std::string_view separator)
{
  std::vector<Binding> bindings;
  for (const std::string_view statement : statements)
  {
    const auto [left, right] = splitOnce(statement, separator);
    bindings.push_back({std::string(left), std::string(right), program.locate(statement)});
  }
  return bindings;
}
}  // namespace

bool Parser::createProcess(const ProgramText& program, std::string_view header, std::string_view body)
{
  const auto pieces = splitList(body, ';');
  if (pieces.size() > maxStatements)
    return ParserLog::fail(program.locate(header), "createProcess(\"{}, body): the body has more than {} statements.",
                           ParserLog::shown(header), maxStatements);
  ProcessBody statements;
  for (const std::string_view statement : pieces)
  {
    if (contains(statement, "<="))
      statements.inputs.push_back(statement);
    else if (contains(statement, "=>"))
      statements.outputs.push_back(statement);
    else if (contains(statement, "~>"))
      statements.aggregatedOutputs.push_back(statement);
    else if (contains(statement, "source ") || contains(statement, "pulse "))
      statements.localSources.push_back(statement);
    else
      ParserLog::fail(program.locate(statement), R"(createProcess("{}, body): invalid declaration "{}")",
                      ParserLog::shown(header), ParserLog::shown(statement));
  }
  return createProcess(program, header, statements);
}

bool Parser::createProcess(const ProgramText& program, std::string_view header, const ProcessBody& body)
{
  const OriginPtr origin = program.locate(header);
  const auto pieces = splitBlocks(header, '(', ')');
  if (pieces.size() != 2)
    return ParserLog::fail(origin, "createProcess(\"{}\", inputs, outputs): Invalid process declaration",
                           ParserLog::shown(header));
  Arguments arguments;
  if (const std::string problem = readArguments(splitList(pieces[1], ','), arguments); !problem.empty())
    return ParserLog::fail(origin, "createProcess(\"{}\", priority, frequency, tolerance): {}",
                           ParserLog::shown(pieces[0]), problem);
  return registry.createProcess(std::string(pieces[0]), arguments.filter, arguments.priority, arguments.frequency,
                                arguments.tolerance, cut(program, body.inputs, "<="), cut(program, body.outputs, "=>"),
                                cut(program, body.aggregatedOutputs, "~>"), cut(program, body.localSources, " "),
                                origin);
}
}  // namespace ZR::Filtrix
