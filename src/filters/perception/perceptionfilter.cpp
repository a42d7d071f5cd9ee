#include "filters/perception/perceptionfilter.h"

#include "filtrix/ku/log.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace ZR::Filtrix::Filters
{
PerceptionFilter::PerceptionFilter(std::string_view name)
    : catalogueRow(catalogueEntry(name)), defaultCategory("vision.filter." + std::string(name))
{
  std::ranges::transform(defaultCategory, defaultCategory.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (const std::string& declaration : catalogueRow.inputs)
    inputPorts.push_back(read(declaration));
}

bool PerceptionFilter::accepts(const DataList& inputs) const
{
  for (std::size_t i = 0; i < inputPorts.size(); ++i)
  {
    const Input& port = inputPorts[i];
    const Data* const value = i < inputs.size() ? inputs[i].get() : nullptr;
    if (value == nullptr && port.isOptional)
      continue;
    const bool fits = value != nullptr && value->rawPointer() != nullptr &&
                      (port.types.empty() || std::ranges::find(port.types, value->type()) != port.types.end());
    if (fits)
      continue;
    ku::log::error(defaultCategory, "invalid input: expected {}, got {}", port.declaration,
                   value != nullptr ? Type::typeName(value->type()) : "nothing");
    return false;
  }
  return true;
}

// "optional NAME [TYPE TYPE]"
PerceptionFilter::Input PerceptionFilter::read(const std::string& declaration)
{
  Input input{declaration, {}, declaration.starts_with("optional ")};
  const std::size_t open = declaration.find('[');
  if (open == std::string::npos)
    return input;
  std::istringstream names(declaration.substr(open + 1, declaration.rfind(']') - open - 1));
  for (std::string name; names >> name;)
    input.types.push_back(Type::typeFromName(name));
  return input;
}
}  // namespace ZR::Filtrix::Filters
