// The statements that make filters: `filter` and `script`.

#include "foundation/text/split.h"
#include "program/filtrixprivate.h"
#include "program/parser.h"
#include "program/parserlog.h"

namespace ZR::Filtrix
{
namespace
{
bool contains(std::string_view text, std::string_view part)
{
  return text.find(part) != std::string_view::npos;
}

// `NODE:PORT`, or `NODE` with an empty port.
std::pair<std::string, std::string> cutPort(std::string_view text)
{
  const auto [node, port] = splitOnce(text, ":");
  return {std::string(node), std::string(port)};
}

// `A:PORT -> B:PORT`, or the chain `A -> B -> C`, which has no ports: false when it begins with one.
bool addLinks(std::string_view statement, const OriginPtr& origin, std::vector<LinkDeclaration>& links)
{
  auto [left, right] = splitOnce(statement, "->");
  if (!contains(right, "->"))
  {
    auto [sourceNode, sourcePort] = cutPort(left);
    auto [targetNode, targetPort] = cutPort(right);
    links.push_back({sourceNode, sourcePort, targetNode, targetPort, origin});
    return true;
  }
  if (contains(left, ":") || contains(splitOnce(right, "->").first, ":"))
    return false;
  while (contains(right, "->") && links.size() <= Parser::maxStatements)
  {
    const auto [middle, rest] = splitOnce(right, "->");
    links.push_back({std::string(left), {}, std::string(middle), {}, origin});
    left = middle;
    right = rest;
  }
  links.push_back({std::string(left), {}, std::string(right), {}, origin});
  return true;
}

ExportDeclaration cutExport(std::string_view statement, std::string_view arrow, const OriginPtr& origin)
{
  const auto [inner, name] = splitOnce(statement, arrow);
  auto [node, port] = cutPort(inner);
  return {node, port, std::string(name), origin};
}

bool refuseLength(const ProgramText& program, std::string_view name)
{
  return ParserLog::fail(program.locate(name), "createFilter(\"{}\", body): the body has more than {} statements.",
                         ParserLog::shown(name), Parser::maxStatements);
}
}  // namespace

bool Parser::createFilter(const ProgramText& program, std::string_view name, std::string_view body)
{
  FilterBody statements;
  const auto pieces = splitList(body, ';');
  if (pieces.size() > maxStatements)
    return refuseLength(program, name);
  for (const std::string_view statement : pieces)
  {
    if (contains(statement, "->"))
      statements.links.push_back(statement);
    else if (contains(statement, "=>"))
      statements.outputs.push_back(statement);
    else if (contains(statement, "<="))
      statements.inputs.push_back(statement);
    else
      statements.nodes.push_back(statement);
  }
  return createFilter(program, name, statements);
}

bool Parser::createFilter(const ProgramText& program, std::string_view name, const FilterBody& body)
{
  FilterDeclaration declaration;
  declaration.name = name;
  declaration.origin = program.locate(name);
  for (const std::string_view statement : body.nodes)
  {
    const auto [type, node] = splitOnce(statement, " ");
    declaration.nodes.push_back({std::string(type), std::string(node), program.locate(statement)});
  }
  for (const std::string_view statement : body.links)
  {
    const OriginPtr origin = program.locate(statement);
    if (!addLinks(statement, origin, declaration.links))
      return ParserLog::fail(origin, "Chain filter can't contain a port.");
    if (declaration.links.size() > maxStatements)
      return refuseLength(program, name);
  }
  for (const std::string_view statement : body.inputs)
    declaration.inputs.push_back(cutExport(statement, "<=", program.locate(statement)));
  for (const std::string_view statement : body.outputs)
    declaration.outputs.push_back(cutExport(statement, "=>", program.locate(statement)));
  return registry.createFilter(declaration);
}

bool Parser::createFilterFromScript(const ProgramText& program, std::string_view header, std::string_view body)
{
  const OriginPtr origin = program.locate(header);
  const auto pieces = splitBlocks(header, '(', ')');
  if (pieces.size() != 2)
    return ParserLog::fail(origin, "createFilterFromScript(\"{}\", body): Invalid filter declaration",
                           ParserLog::shown(header));
  const auto arguments = splitList(pieces[1], ',');
  const auto refuse = [&](const std::string& text)
  {
    return ParserLog::fail(origin, "createFilterFromScript(\"{}\", inputs, outputs): {}", ParserLog::shown(pieces[0]),
                           text);
  };
  if (arguments.empty())
    return refuse("expected language name got nothing.");
  if (arguments[0] != "lua")
    return refuse("the language " + ParserLog::shown(arguments[0]) + " is not supported.");
  if (arguments.size() < 2)
    return refuse("expected inputs got nothing.");
  if (arguments.size() < 3)
    return refuse("expected outputs got nothing.");
  return createFilterFromScript(program, pieces[0], body, arguments[0], splitList(arguments[1], ' '),
                                splitList(arguments[2], ' '));
}

bool Parser::createFilterFromScript(const ProgramText& program, std::string_view name, std::string_view,
                                    std::string_view language, const std::vector<std::string_view>&,
                                    const std::vector<std::string_view>&)
{
  const bool isTaken = registry.hasFilter(std::string(name));
  const std::string shownName = ParserLog::shown(name);
  return ParserLog::fail(program.locate(name), "createFilterFromScript({}, script, {}): {}", shownName, language,
                         isTaken ? "The filter " + shownName + " already exist."
                                 : "The language is not supported by filtrix.");
}
}  // namespace ZR::Filtrix
