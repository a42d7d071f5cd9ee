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
  explicit PerceptionFilter(std::string_view name);

  std::string getName() final { return catalogueRow.name; }

  std::string getDescription() final { return catalogueRow.description; }

  std::vector<std::string> getInputs() final { return catalogueRow.inputs; }

  std::vector<std::string> getOutputs() final { return catalogueRow.outputs; }

  bool isStateful() final { return catalogueRow.state == State::kept; }

protected:
  /// True when all required inputs are there, and all that are there have payloads of the declared types. Else one line
  /// in the log says which port takes what, and what came.
  [[nodiscard]] bool accepts(const DataList& inputs) const;

  /// "vision.filter." and the name in lower case.
  [[nodiscard]] const std::string& category() const noexcept { return defaultCategory; }

private:
  struct Input
  {
    std::string declaration;
    std::vector<TypeTag> types;
    bool isOptional;
  };

  static Input read(const std::string& declaration);

  const CatalogueEntry& catalogueRow;
  std::string defaultCategory;
  std::vector<Input> inputPorts;
};
}  // namespace ZR::Filtrix::Filters
