// The library's side of the registry: adding, building, describing and deleting filters.

#include "filtrix/ku/log.h"
#include "filtrix/ku/path.h"
#include "filtrix/ku/suggest.h"
#include "foundation/text/split.h"
#include "graph/dotgraph.h"
#include "graph/filteradapter.h"
#include "graph/filtercomposite.h"
#include "graph/nodefilter.h"
#include "program/filtrixprivate.h"
#include "program/literal.h"
#include "program/messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <set>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.private";

// What ends the building of a filter; caught where it is logged.
class BuildError final : public std::runtime_error
{
public:
  BuildError(const std::string& text, const OriginPtr& origin) : std::runtime_error(text + placeOf(origin)) {}
};

std::size_t saturatingSum(std::size_t a, std::size_t b)
{
  return std::min(a + b, Limits::expandedNodes + 1);
}

std::vector<PortDescription> describe(const PortList& ports)
{
  std::vector<PortDescription> descriptions;
  for (const PortPtr& port : ports)
    descriptions.push_back({port->getName(), port->getTypes(), port->isOptional()});
  return descriptions;
}

// Node by node, from the outputs to the inputs: the longest way there is, and whether it comes round to where it began.
class ChainMeasure
{
public:
  ChainMeasure(const FilterComposite& composite_, const std::map<std::string, std::size_t>& weights_)
      : composite(composite_), weights(weights_)
  {
    for (const auto& [name, node] : composite.getNodes())
      names[node.get()] = name;
  }

  // The nodes on a ring, as "a -> b -> a"; empty when there is none.
  std::string findRing()
  {
    for (const auto& [name, node] : composite.getNodes())
    {
      if (!visit(name))
        return ring;
    }
    return {};
  }

  [[nodiscard]] std::size_t longest() const
  {
    std::size_t length = 0;
    for (const auto& [name, chain] : lengths)
      length = std::max(length, chain);
    return length;
  }

private:
  struct Step
  {
    std::string name;
    std::vector<std::string> upstream;
    std::size_t next = 0;
  };

  std::vector<std::string> upstreamOf(const std::string& name) const
  {
    std::vector<std::string> upstream;
    for (const PortPtr& input : composite.getNodes().at(name)->getInputs())
    {
      for (const PortPtr& link : input->getLinks())
      {
        const auto from = names.find(link->getNode());
        if (from != names.end())
          upstream.push_back(from->second);
      }
    }
    return upstream;
  }

  // Depth first with a stack of its own, since a text decides how deep it goes. False when a ring was found.
  bool visit(const std::string& first)
  {
    if (lengths.contains(first))
      return true;
    std::vector<Step> way{{first, upstreamOf(first)}};
    std::set<std::string> onWay{first};
    while (!way.empty())
    {
      Step& step = way.back();
      if (step.next < step.upstream.size())
      {
        const std::string name = step.upstream[step.next++];
        if (onWay.contains(name))
        {
          tellRing(way, name);
          return false;
        }
        if (!lengths.contains(name))
        {
          onWay.insert(name);
          way.push_back({name, upstreamOf(name)});
        }
        continue;
      }
      std::size_t before = 0;
      for (const std::string& name : step.upstream)
        before = std::max(before, lengths.at(name));
      lengths[step.name] = saturatingSum(before, weights.at(step.name));
      onWay.erase(step.name);
      way.pop_back();
    }
    return true;
  }

  // The way was walked against the direction of the links.
  void tellRing(const std::vector<Step>& way, const std::string& closing)
  {
    ring = closing;
    for (auto step = way.rbegin(); step != way.rend(); ++step)
    {
      ring = ring + " -> ";
      ring += step->name == closing ? closing : step->name;
      if (step->name == closing)
        break;
    }
  }

  const FilterComposite& composite;
  const std::map<std::string, std::size_t>& weights;
  std::map<const Node*, std::string> names;
  std::map<std::string, std::size_t> lengths;
  std::string ring;
};

void exposeInput(FilterComposite& composite, const ExportDeclaration& declaration)
{
  const auto& [node, port, name, origin] = declaration;
  refuseLongName<BuildError>("the exported input's name", name, origin);
  if (port.find('(') == std::string::npos)
  {
    if (!composite.exposeInput(node, port, name))
      throw BuildError(fmt::format("Invalid exported input: \"{}:{}", node, port), origin);
    return;
  }
  const auto pieces = splitBlocks(port, '(', ')');
  if (pieces.size() != 2)
    throw BuildError(fmt::format("Invalid default value declaration \"{}:{}\".", node, port), origin);
  const std::string portName(pieces[0]);
  if (!composite.exposeInput(node, portName, name))
    throw BuildError(fmt::format("Invalid exported input: \"{}:{}<={}\".", node, portName, name), origin);
  const PortPtr inner = composite.getNode(node)->findInput(portName);
  if (!inner)
    throw BuildError("Filtrix internal corruption !", origin);
  const DataPtr value = readLiteral(pieces[1]);
  if (!value)
    throw BuildError(fmt::format("Invalid default value: \"{}\".", pieces[1]), origin);
  if (pieces[1].empty())
    ku::log::warning(category, "createFilter(\"{}\"): the input \"{}:{}\" has an empty default, which counts as 0.0.{}",
                     composite.getName(), node, portName, placeOf(origin));
  inner->setDefaultValue(value);
}

// "d:out -> e:in"
std::string tellLink(const Port& output, const Node& target, const Port& input)
{
  const Node* const source = output.getNode();
  return fmt::format("{}:{} -> {}:{}", source != nullptr ? source->getName() : "", output.getName(), target.getName(),
                     input.getName());
}

void makeLink(const FilterComposite& composite, const LinkDeclaration& link)
{
  const NodePtr source = composite.getNode(link.sourceNode);
  if (!source)
    throw BuildError(fmt::format("The filter \"{}\" is not declared.", link.sourceNode), link.origin);
  const NodePtr target = composite.getNode(link.targetNode);
  if (!target)
    throw BuildError(fmt::format("The filter \"{}\" is not declared.", link.targetNode), link.origin);
  const PortPtr output = source->findOutput(link.sourcePort);
  if (!output)
    throw BuildError(fmt::format("The port \"{}\" is not declared in \"{}", link.sourcePort, link.sourceNode),
                     link.origin);
  const PortPtr input = target->findInput(link.targetPort);
  if (!input)
    throw BuildError(fmt::format("The port \"{}\" is not declared in \"{}", link.targetPort, link.targetNode),
                     link.origin);
  if (!output->hasCommonType(*input))
    throw BuildError(fmt::format("The port \"{}:{}\" has no common type with \"{}:{}", link.sourceNode, link.sourcePort,
                                 link.targetNode, link.targetPort),
                     link.origin);
  // Told once, of the second: a run that comes to the input tells it each time.
  if (input->getLinks().size() == 1)
    ku::log::warning(
        category,
        "createFilter(\"{}\"): the input \"{}:{}\" has two links, \"{}\" and \"{}\", and will get no value "
        "from either.{}",
        composite.getName(), target->getName(), input->getName(), tellLink(*input->getLinks().front(), *target, *input),
        tellLink(*output, *target, *input), placeOf(link.origin));
  input->addLink(output);
}
}  // namespace

bool FiltrixPrivate::addFilter(const FilterPtr& filter)
{
  if (!filter)
  {
    ku::log::error(category, "addFilter(): expected a filter, got null.");
    return false;
  }
  filter->setMemoryManager(&memoryManager);
  const std::lock_guard lock(filterMutex);
  if (const std::string reason = _noRoomForFilter(0); !reason.empty())
  {
    ku::log::error(category, "addFilter(\"{}\"): {}", shortName(filter->getName()), reason);
    return false;
  }
  if (const std::string problem = tellIfTooLong("the name", filter->getName()); !problem.empty())
  {
    ku::log::error(category, "addFilter(\"{}\"): {}", shortName(filter->getName()), problem);
    return false;
  }
  if (!filters.emplace(filter->getName(), filter).second)
  {
    ku::log::error(category, "addFilter(\"{}\"): A filter with the name \"{}\" already exists.", filter->getName(),
                   filter->getName());
    return false;
  }
  filterCosts[filter->getName()] = FilterCost();
  return true;
}

bool FiltrixPrivate::addFilter(std::shared_ptr<UserFilter> filter)
{
  return addFilter(filter ? std::make_shared<FilterAdapter>(std::move(filter)) : FilterPtr());
}

bool FiltrixPrivate::createFilter(const FilterDeclaration& declaration)
{
  const std::lock_guard lock(filterMutex);
  try
  {
    const auto composite = std::make_shared<FilterComposite>(declaration.name);
    const FilterCost cost = _composeFilter(declaration, *composite);
    composite->setMemoryManager(&memoryManager);
    filterCosts[declaration.name] = cost;
    filters[declaration.name] = composite;
    pieceCount += cost.pieces;
    return true;
  }
  catch (const BuildError& error)
  {
    ku::log::error(category, "createFilter(\"{}\", filters, links): {}", shortName(declaration.name), error.what());
    return false;
  }
}

std::string FiltrixPrivate::_noRoomForFilter(std::size_t pieces) const
{
  if (filters.size() >= capacity.filters)
    return fmt::format("There are {} filters, expected at most that many.", filters.size());
  if (pieceCount + pieces > capacity.pieces)
    return fmt::format("All composite filters together would have {} nodes and links, expected at most {}.",
                       pieceCount + pieces, capacity.pieces);
  return {};
}

FiltrixPrivate::FilterCost FiltrixPrivate::_composeFilter(const FilterDeclaration& declaration,
                                                          FilterComposite& composite) const
{
  refuseLongName<BuildError>("the name", declaration.name, declaration.origin);
  if (filters.contains(declaration.name))
    throw BuildError(fmt::format("A filter with the name \"{}\" already exists.", declaration.name),
                     declaration.origin);

  FilterCost cost{0, 0, 0, declaration.nodes.size() + declaration.links.size()};
  if (const std::string reason = _noRoomForFilter(cost.pieces); !reason.empty())
    throw BuildError(reason, declaration.origin);
  std::map<std::string, std::size_t> chains;
  for (const NodeDeclaration& node : declaration.nodes)
  {
    refuseLongName<BuildError>("the node's name", node.name, node.origin);
    const auto type = filters.find(node.type);
    if (type == filters.end())
    {
      std::vector<std::string> known;
      for (const auto& [name, filter] : filters)
        known.push_back(name);
      throw BuildError(fmt::format("The filter \"{}\" is declared as \"{}\" but \"{}\" has never been declared.{}",
                                   node.name, node.type, node.type, ku::didYouMean(node.type, known)),
                       node.origin);
    }
    const FilterCost& inner = filterCosts.at(node.type);
    cost.nodes = saturatingSum(cost.nodes, inner.nodes + (inner.nesting > 0 ? 1 : 0));
    cost.nesting = std::max(cost.nesting, inner.nesting);
    if (cost.nodes > Limits::expandedNodes)
      throw BuildError(fmt::format("The filter would run through more than {} nodes, expected at most that many.",
                                   Limits::expandedNodes),
                       node.origin);
    const auto vertex = std::make_shared<NodeFilter>(node.name, type->second);
    vertex->setOrigin(node.origin);
    composite.addNode(vertex);
    chains.emplace(node.name, inner.chain);
  }
  if (++cost.nesting > Limits::nesting)
    throw BuildError(fmt::format("Composite filters stand {} deep in one another, expected at most {}.", cost.nesting,
                                 Limits::nesting),
                     declaration.origin);

  for (const LinkDeclaration& link : declaration.links)
    makeLink(composite, link);
  ChainMeasure measure(composite, chains);
  if (const std::string ring = measure.findRing(); !ring.empty())
    throw BuildError(fmt::format("The links close a ring: {}.", ring), declaration.origin);
  cost.chain = measure.longest();
  if (cost.chain > Limits::chainLength)
    throw BuildError(
        fmt::format("A chain of nodes is longer than {}, expected at most that many.", Limits::chainLength),
        declaration.origin);

  for (const ExportDeclaration& input : declaration.inputs)
    exposeInput(composite, input);
  for (const ExportDeclaration& output : declaration.outputs)
  {
    refuseLongName<BuildError>("the exported output's name", output.name, output.origin);
    if (!composite.exposeOutput(output.node, output.port, output.name))
      throw BuildError("Invalid exported output: \"", output.origin);
  }
  return cost;
}

void FiltrixPrivate::addClassifierType(const std::string& type, ClassifierLoader load)
{
  const std::lock_guard lock(filterMutex);
  classifierTypes.insert_or_assign(type, std::move(load));
}

bool FiltrixPrivate::createClassificationFilter(const std::string& name, const std::string& type,
                                                const std::string& path)
{
  const auto fail = [&](const std::string& text)
  {
    ku::log::error(category, "createClassificationFilter(\"{}\", type, \"{}\"):{}", shortName(name), path, text);
    return false;
  };
  if (const std::string problem = tellIfTooLong("the name", name); !problem.empty())
    return fail(problem);
  const auto file = ku::path::findData(programFolder, path);
  if (!file)
    return fail("File not found.");
  if (hasFilter(name))
    return fail(fmt::format("A filter with the name \"{}\" already exists.", name));
  ClassifierLoader load;
  {
    const std::lock_guard lock(filterMutex);
    if (const auto known = classifierTypes.find(type); known != classifierTypes.end())
      load = known->second;
  }
  if (!load)
    return fail("Invalid classification type.");
  try
  {
    return addFilter(load(name, *file));
  }
  catch (const std::exception& exception)
  {
    return fail(exception.what());
  }
}

std::shared_ptr<Type::Lambda> FiltrixPrivate::createLambda(const std::string& filterName) const
{
  const FilterPtr filter = _findFilter(filterName);
  if (filter)
    return std::make_shared<Type::Lambda>(filter);
  ku::log::error(category, "createLambda(\"{}\"): The filter \"{}\" has not been found.", filterName, filterName);
  return nullptr;
}

bool FiltrixPrivate::deleteFilter(const std::string& name)
{
  FilterPtr deleted;  // ends after the lock, with all that it holds
  const std::lock_guard lock(filterMutex);
  const auto entry = filters.find(name);
  if (entry == filters.end())
    return false;
  deleted = entry->second;
  filters.erase(entry);
  if (const auto cost = filterCosts.extract(name))
    pieceCount -= cost.mapped().pieces;
  return true;
}

bool FiltrixPrivate::hasFilter(const std::string& name) const
{
  return _findFilter(name) != nullptr;
}

std::vector<std::string> FiltrixPrivate::getFilters() const
{
  const std::lock_guard lock(filterMutex);
  std::vector<std::string> names;
  for (const auto& [name, filter] : filters)
    names.push_back(name);
  return names;
}

std::string FiltrixPrivate::getFilterDescription(const std::string& name) const
{
  const FilterPtr filter = _filterOrLog(name, "getFilterDescription");
  return filter ? filter->getDescription() : std::string();
}

bool FiltrixPrivate::isFilterStateful(const std::string& name) const
{
  const FilterPtr filter = _filterOrLog(name, "isFilterStateful");
  return filter && filter->isStateful();
}

std::vector<PortDescription> FiltrixPrivate::getFilterInputs(const std::string& name) const
{
  const FilterPtr filter = _filterOrLog(name, "getFilterInputs");
  return filter ? describe(filter->getInputs()) : std::vector<PortDescription>();
}

std::vector<PortDescription> FiltrixPrivate::getFilterOutputs(const std::string& name) const
{
  const FilterPtr filter = _filterOrLog(name, "getFilterOutputs");
  return filter ? describe(filter->getOutputs()) : std::vector<PortDescription>();
}

std::string FiltrixPrivate::getDotGraph(const std::string& name, int level) const
{
  const FilterPtr filter = _findFilter(name);
  return filter ? DotGraph::draw(*filter, level) : std::string();
}

FilterPtr FiltrixPrivate::_findFilter(const std::string& name) const
{
  const std::lock_guard lock(filterMutex);
  const auto entry = filters.find(name);
  return entry != filters.end() ? entry->second : nullptr;
}

FilterPtr FiltrixPrivate::_filterOrLog(const std::string& name, std::string_view operation) const
{
  FilterPtr filter = _findFilter(name);
  if (!filter)
    ku::log::error(category, "{}(\"{}\"): filter not found.", operation, name);
  return filter;
}
}  // namespace ZR::Filtrix
