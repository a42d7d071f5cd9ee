#pragma once

#include "graph/filter.h"

namespace ZR::Filtrix
{
/// The base of the filters that are written directly against `Filter`. Its constructor declares the ports.
class FilterPrimitive : public Filter
{
public:
  using Filter::Filter;

  void applyEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;
  void getDotGraph(DotGraph& graph) const override;

protected:
  /// A new port, to be given its types, its default value or its optional mark by the caller.
  PortPtr addInput(const std::string& portName);
  PortPtr addOutput(const std::string& portName);
};
}  // namespace ZR::Filtrix
