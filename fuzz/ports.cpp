// Declares a filter's ports by arbitrary texts, a line each: those up to the first empty line are inputs, the others
// outputs. What cannot be read is told and left out, and the filter lives on with the rest.

#include "filtrix/ku/log.h"
#include "graph/filteradapter.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace ZR::Filtrix;

namespace
{
class Declared final : public UserFilter
{
public:
  explicit Declared(const std::string& text)
  {
    std::istringstream lines(text);
    bool inInputs = true;
    for (std::string line; std::getline(lines, line);)
    {
      if (inInputs && line.empty())
        inInputs = false;
      else
        (inInputs ? inputs : outputs).push_back(line);
    }
  }

  std::string getName() override { return "Declared"; }

  std::string getDescription() override { return {}; }

  std::vector<std::string> getInputs() override { return inputs; }

  std::vector<std::string> getOutputs() override { return outputs; }

  DataList run(const DataList&) override { return {}; }

private:
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
};

// A port without a message, or a message and a port: one of them is wrong. Types that do not exist are told one by one.
void check(const FilterAdapter& filter, const ku::log::Capture& log, std::size_t declared)
{
  const std::size_t made = filter.getInputs().size() + filter.getOutputs().size();
  std::size_t refused = 0;
  for (const std::string& text : log.texts())
    refused += text.starts_with("Can't parse") ? 1 : 0;
  if (made + refused != declared)
    std::abort();
  for (const PortPtr& port : filter.getInputs())
  {
    if (port->getName().empty() || port->getName().find_first_of(" \t") != std::string::npos)
      std::abort();
    for (const TypeTag type : port->getTypes())
    {
      if (type == TypeTag::Invalid)
        std::abort();
    }
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const ku::log::Capture log(ku::log::Level::Error);
  const auto declared = std::make_shared<Declared>(std::string(data, data + size));
  const FilterAdapter filter(declared);
  check(filter, log, declared->getInputs().size() + declared->getOutputs().size());
  return 0;
}
