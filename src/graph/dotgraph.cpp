#include "graph/dotgraph.h"

#include "graph/filtercomposite.h"
#include "graph/nodefilter.h"

#include <fmt/format.h>

#include <algorithm>

namespace ZR::Filtrix
{
namespace
{
// A text between double quotes; dot knows no other escape in them than those of the quote and the backslash.
std::string quoted(std::string_view text)
{
  std::string out = "\"";
  for (const char c : text)
  {
    if (c == '"' || c == '\\')
      out += '\\';
    if (c == '\n')
      out += "\\n";
    else if (c != '\0' && c != '\r')
      out += c;
  }
  return out + '"';
}

std::string portLabel(const Port& port)
{
  std::string label = port.getName();
  for (const TypeTag type : port.getTypes())
    label.append("\n").append(Type::typeName(type));
  if (const DataPtr& value = port.getDefaultValue())
    label.append("\n= ").append(Type::toText(*value));
  else if (port.isOptional())
    label.append("\n(optional)");
  return label;
}
}  // namespace

DotGraph::DotGraph(int maxDepth_) : maxDepth(maxDepth_) {}

std::string DotGraph::draw(const Filter& filter, int maxDepth)
{
  DotGraph graph(maxDepth);
  graph.level = 1;
  filter.getDotGraph(graph);
  return fmt::format("digraph {} {{\n  rankdir=LR;\n  fontname=\"Helvetica\";\n  node[fontname=\"Helvetica\", "
                     "fontsize=10];\n{}}}\n",
                     quoted(filter.getName()), graph.text);
}

void DotGraph::addPrimitive(const Filter& filter)
{
  const std::string title = nodeTitle.empty() ? filter.getName() : nodeTitle;
  _openFrame(title, false);
  _ports(filter);
  _line("node[shape=component, style=filled, fillcolor=white];");
  _line(fmt::format("{}_body[label={}];", frame, quoted(filter.getName())));
  for (std::size_t i = 0; i < filter.getInputs().size(); ++i)
    _line(fmt::format("{} -> {}_body;", _portId(frame, "in", i), frame));
  for (std::size_t i = 0; i < filter.getOutputs().size(); ++i)
    _line(fmt::format("{}_body -> {};", frame, _portId(frame, "out", i)));
  _closeFrame();
}

void DotGraph::addComposite(const FilterComposite& composite)
{
  if (maxDepth >= 0 && level > maxDepth)
  {
    addPrimitive(composite);
    return;
  }
  const std::string title = nodeTitle.empty() || nodeTitle == composite.getName()
                                ? composite.getName()
                                : fmt::format("{} ({})", nodeTitle, composite.getName());
  _openFrame(title, level == 1);
  _ports(composite);

  // The frames inside, and with them the identifiers of every inner port by its node.
  const std::string outer = frame;
  const std::string outerTitle = nodeTitle;
  std::map<const Node*, std::string> frames;
  std::size_t index = 0;
  ++level;
  for (const auto& [name, node] : composite.getNodes())
  {
    frame = fmt::format("{}_{}", outer, index++);
    frames[node.get()] = frame;
    nodeTitle = name;
    const auto* const inner = dynamic_cast<const NodeFilter*>(node.get());
    if (inner != nullptr && inner->getFilter())
      inner->getFilter()->getDotGraph(*this);
  }
  --level;
  frame = outer;
  nodeTitle = outerTitle;

  const auto idOf = [&](const Port& port, const char* side) -> std::string
  {
    const Node* const node = port.getNode();
    const auto hit = frames.find(node);
    if (hit == frames.end())
      return {};
    const PortList& ports = std::string_view(side) == "in" ? node->getInputs() : node->getOutputs();
    const auto at = std::ranges::find_if(ports, [&](const PortPtr& own) { return own.get() == &port; });
    return at == ports.end() ? std::string() : _portId(hit->second, side, static_cast<std::size_t>(at - ports.begin()));
  };
  const auto link = [&](const std::string& from, const std::string& to)
  {
    if (!from.empty() && !to.empty())
      _line(fmt::format("{} -> {};", from, to));
  };
  for (const auto& [name, node] : composite.getNodes())
  {
    for (const PortPtr& input : node->getInputs())
    {
      for (const PortPtr& source : input->getLinks())
      {
        if (source)
          link(idOf(*source, "out"), idOf(*input, "in"));
      }
    }
  }
  for (std::size_t i = 0; i < composite.getInputs().size(); ++i)
    link(_portId(frame, "in", i), idOf(*composite.getInputs()[i]->getParent(), "in"));
  for (std::size_t i = 0; i < composite.getOutputs().size(); ++i)
    link(idOf(*composite.getOutputs()[i]->getParent(), "out"), _portId(frame, "out", i));
  _closeFrame();
}

void DotGraph::_openFrame(std::string_view title, bool highlighted)
{
  _line(fmt::format("subgraph cluster_{} {{", frame));
  _line(fmt::format("label={};", quoted(title)));
  _line("style=filled;");
  _line("color=black;");
  _line(highlighted ? "fillcolor=lightblue;" : "fillcolor=white;");
}

void DotGraph::_closeFrame()
{
  _line("}");
}

void DotGraph::_line(std::string_view line)
{
  text.append("  ").append(line).append("\n");
}

std::string DotGraph::_portId(const std::string& owner, const char* side, std::size_t index) const
{
  return fmt::format("{}_{}{}", owner, side, index);
}

void DotGraph::_ports(const Filter& filter)
{
  _line("node[shape=ellipse, style=filled, fillcolor=white];");
  for (std::size_t i = 0; i < filter.getInputs().size(); ++i)
    _line(fmt::format("{}[label={}];", _portId(frame, "in", i), quoted(portLabel(*filter.getInputs()[i]))));
  for (std::size_t i = 0; i < filter.getOutputs().size(); ++i)
    _line(fmt::format("{}[label={}];", _portId(frame, "out", i), quoted(portLabel(*filter.getOutputs()[i]))));
}
}  // namespace ZR::Filtrix
