#include "program/parser.h"

#include "foundation/text/split.h"
#include "graph/lambda.h"
#include "program/filtrixprivate.h"
#include "program/literal.h"
#include "program/parserlog.h"
#include "program/programloader.h"
#include "program/unclosed.h"

namespace ZR::Filtrix
{
enum class Parser::Kind
{
  None,
  Filter,
  Source,
  Process,
  Event,
  Script,
  Delete,
  Import
};

// A header, cut at its first blank, and the block behind it.
struct Parser::Statement
{
  Kind kind = Kind::None;
  std::string_view header;
  std::string_view name;
  std::string_view body;
};

namespace
{
// "people.fxs:12:3"
std::string placeOf(const ProgramText& program, std::string_view piece)
{
  const OriginPtr origin = program.locate(piece);
  const std::string file = origin->file.empty() ? "program" : ParserLog::shown(origin->file);
  return fmt::format("{}:{}:{}", file, origin->line, origin->column);
}

// Text that is lost must not be so without a word.
void warnOfLostText(const ProgramText& program, bool isBodyMissing, std::string_view header)
{
  if (const auto unclosed = findUnclosed(program.getText()))
    ku::log::warning(ParserLog::category, "loadProgram: the {} that opens at {} is not closed; its text is lost.",
                     unclosed->isString ? "string" : "block",
                     placeOf(program, program.getText().substr(unclosed->position, 1)));
  else if (isBodyMissing)
    ku::log::warning(ParserLog::category, "loadProgram: \"{}\" at {} is not followed by a block; it is lost.",
                     ParserLog::shown(header), placeOf(program, header));
}

void tellFailure(const ProgramText& program, std::string_view header, const std::string& created)
{
  ParserLog::fail(nullptr, "loadProgram: stopped at {}: \"{}\"; created before: {}", placeOf(program, header),
                  ku::toValidUtf8(program.locate(header)->statement), created);
}
}  // namespace

bool Parser::loadProgram(std::string_view program, const std::string& filtrixHandle,
                         const std::filesystem::path& basePath)
{
  return ProgramLoader(registry).loadText(program, filtrixHandle, basePath);
}

bool Parser::loadProgram(const ProgramText& program, const std::string& filtrixHandle, ProgramLoader& loader)
{
  const std::size_t start = loader.getRecord().position();
  const auto items = splitBlocks(program.getText(), '{', '}');
  Statement statement;
  try
  {
    for (const std::string_view item : items)
    {
      if (statement.kind == Kind::None)
      {
        statement = _readHeader(item);
        continue;
      }
      statement.body = item;
      if (!_run(program, statement, filtrixHandle, loader))
      {
        warnOfLostText(program, false, {});
        tellFailure(program, statement.header, loader.getRecord().tell(start));
        return false;
      }
      statement.kind = Kind::None;
    }
  }
  catch (...)
  {
    tellFailure(program, statement.header, loader.getRecord().tell(start));
    throw;
  }
  warnOfLostText(program, statement.kind != Kind::None, statement.header);
  return true;
}

// A header that says nothing is passed over, and the block behind it is then taken for the next header.
Parser::Statement Parser::_readHeader(std::string_view header)
{
  constexpr std::pair<std::string_view, Kind> keywords[] = {
      {"filter", Kind::Filter}, {"source", Kind::Source}, {"process", Kind::Process},
      {"event", Kind::Event},   {"script", Kind::Script}, {"delete", Kind::Delete},
  };
  const auto [keyword, rest] = splitOnce(header, " ");
  for (const auto& [name, kind] : keywords)
  {
    if (name == keyword)
      return {kind, header, rest, {}};
  }
  return {keyword == "import" && rest == "file" ? Kind::Import : Kind::None, header, rest, {}};
}

bool Parser::_run(const ProgramText& program, const Statement& statement, const std::string& filtrixHandle,
                  ProgramLoader& loader)
{
  const auto& [kind, header, name, body] = statement;
  LoadRecord& record = loader.getRecord();
  switch (kind)
  {
  case Kind::Filter:
    if (!createFilter(program, name, body))
      return false;
    record.add("filter", name);
    return true;
  case Kind::Source:
    if (!registry.createSource(std::string(name), program.locate(header)))
      return false;
    record.add("source", name);
    return _setSource(program, statement, filtrixHandle);
  case Kind::Process:
    if (!createProcess(program, name, body))
      return false;
    record.add("process", splitBlocks(name, '(', ')').front());
    return true;
  case Kind::Event:
    return createEvent(program, name, body);
  case Kind::Script:
    return createFilterFromScript(program, name, body);
  case Kind::Delete:
    _delete(program, statement, loader);
    return true;
  case Kind::Import:
    // A file that cannot be loaded has told so itself, and does not end this load.
    static_cast<void>(loader.importFile(body, program.locate(body)));
    return true;
  case Kind::None:
    break;
  }
  return true;
}

bool Parser::_setSource(const ProgramText& program, const Statement& statement, const std::string& filtrixHandle)
{
  if (statement.body.empty())
    return true;
  const std::string name(statement.name);
  const std::string body(statement.body);
  if (const DataPtr literal = readLiteral(body))
  {
    registry.setData(name, literal);
    return true;
  }
  if (body == "null")
  {
    registry.setData(name, DataPtr());
    return true;
  }
  if (const auto lambda = registry.hasFilter(body) ? registry.createLambda(body) : nullptr)
  {
    registry.setData(name, makeData(lambda));
    return true;
  }
  return ParserLog::fail(program.locate(statement.body),
                         "loadProgram({}, filtrixHandle): The source {} has an invalid body: {}", filtrixHandle,
                         ParserLog::shown(name), ParserLog::shown(body));
}

void Parser::_delete(const ProgramText& program, const Statement& statement, ProgramLoader& loader)
{
  const std::string name(statement.body);
  const std::string_view kind = statement.name;
  bool deleted = false;
  if (kind == "source")
    deleted = registry.deleteSource(name);
  else if (kind == "filter")
    deleted = registry.deleteFilter(name);
  else if (kind == "process")
    deleted = registry.deleteProcess(name);
  else
    return;
  if (deleted)
    loader.getRecord().remove(kind, name);
  else
    ku::log::warning(ParserLog::category, "Can't delete {}: {}{}", kind, ParserLog::shown(name),
                     ParserLog::at(program.locate(statement.header)));
}

bool Parser::createEvent(const ProgramText& program, std::string_view name, std::string_view body)
{
  const std::string target(name);
  const OriginPtr origin = program.locate(body);
  if (registry.createEvent(target, std::string(body), origin))
    return true;
  const bool hasOwner = body.find(':') != std::string_view::npos;
  const auto [process, source] = hasOwner ? splitOnce(body, ":") : std::pair(std::string_view(), body);
  if (!registry.createSourceEvent(target, std::string(source), std::string(process), origin))
    ParserLog::fail(origin, "createEvent(\"{}\", \"{}\"): expected a process to run, and a sink or source to wait for.",
                    ParserLog::shown(name), ParserLog::shown(body));
  return true;
}
}  // namespace ZR::Filtrix
