#include "graph/filter.h"

#include <utility>

namespace ZR::Filtrix
{
Filter::Filter(std::string name_) : name(std::move(name_)) {}

Filter::~Filter() = default;

std::string Filter::getDescription() const
{
  return "* no description *";
}

void Filter::filterSynchronize(Time, Duration, const ProcessKey&, const ProcessKey&, std::uint64_t) {}

void Filter::filterSynchronizeRelease(const ProcessKey&, const ProcessKey&, std::uint64_t) {}

PortPtr Filter::_addInput(PortPtr port)
{
  return ports.inputs.emplace_back(std::move(port));
}

PortPtr Filter::_addOutput(PortPtr port)
{
  return ports.outputs.emplace_back(std::move(port));
}
}  // namespace ZR::Filtrix
