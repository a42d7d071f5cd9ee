#pragma once

#include "filters/perception/catalogue.h"
#include "filtrix/userfilter.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// The base of the perception filters: name, description, ports and statefulness are those of the catalogue, so that a
/// filter's own file holds its algorithm and nothing else.
class PerceptionFilter : public UserFilter
{
public:
  explicit PerceptionFilter(std::string_view name) : entry(catalogueEntry(name)) {}

  std::string getName() final { return entry.name; }

  std::string getDescription() final { return entry.description; }

  std::vector<std::string> getInputs() final { return entry.inputs; }

  std::vector<std::string> getOutputs() final { return entry.outputs; }

  bool isStateful() final { return entry.state == State::kept; }

private:
  const CatalogueEntry& entry;
};
}  // namespace ZR::Filtrix::Filters
