// Loads arbitrary text as a program into a fresh registry. Whatever it says, the registry must go on working, and a
// second load of the same text must end as well.

#include "filtrix/ku/log.h"
#include "graph/filterprimitive.h"
#include "program/filtrixprivate.h"
#include "program/parser.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

using namespace ZR::Filtrix;

namespace
{
// Hands its first input on to every output.
class PassOn final : public FilterPrimitive
{
public:
  PassOn(const std::string& name, std::size_t inputs, std::size_t outputs_) : FilterPrimitive(name), outputs(outputs_)
  {
    for (std::size_t count = 0; count < inputs; ++count)
      addInput(std::string(1, static_cast<char>('a' + count)));
    for (std::size_t count = 0; count < outputs; ++count)
      addOutput(std::string(1, static_cast<char>('x' + count)));
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    return DataList(outputs, inputs[0]);
  }

private:
  const std::size_t outputs;
};

// An import leads to files, whose content is no part of the input.
bool mayImport(const std::string& text)
{
  return text.find("import") != std::string::npos;
}

void load(FiltrixPrivate& registry, const std::string& text)
{
  try
  {
    Parser(registry).loadProgram(text, "fuzz");
  }
  catch (const std::runtime_error&)
  {
    // A negative tolerance is told so.
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string text(data, data + size);
  if (mayImport(text))
    return 0;
  const ku::log::Capture log;
  FiltrixPrivate registry;
  registry.addFilter(std::make_shared<PassOn>("F", 1, 1));
  registry.addFilter(std::make_shared<PassOn>("G", 2, 1));
  registry.addFilter(std::make_shared<PassOn>("H", 1, 2));
  load(registry, text);
  load(registry, text);
  for (const std::string& process : registry.getProcesses())
  {
    for (const std::string& sink : registry.getProcessSinks(process))
    {
      if (process.find(':') == std::string::npos)
        static_cast<void>(registry.getData(process + ":" + sink));
    }
    if (!registry.deleteProcess(process))
      std::abort();
  }
  for (const std::string& filter : registry.getFilters())
  {
    if (registry.getDotGraph(filter, 1).empty() || !registry.deleteFilter(filter))
      std::abort();
  }
  return 0;
}
