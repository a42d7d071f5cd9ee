#include "graph/filterprimitive.h"

#include "graph/dotgraph.h"

#include <memory>

namespace ZR::Filtrix
{
void FilterPrimitive::applyEmpty(const ProcessKey&, const ProcessKey&, std::uint64_t) {}

void FilterPrimitive::getDotGraph(DotGraph& graph) const
{
  graph.addPrimitive(*this);
}

PortPtr FilterPrimitive::addInput(const std::string& portName)
{
  return _addInput(std::make_shared<Port>(portName));
}

PortPtr FilterPrimitive::addOutput(const std::string& portName)
{
  return _addOutput(std::make_shared<Port>(portName));
}
}  // namespace ZR::Filtrix
