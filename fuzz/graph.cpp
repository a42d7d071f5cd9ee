// Builds a valid graph from the bytes, runs it several times and compares every sink with a plain recursive evaluation.
// After each run no node may have a scope left, and none of it may be worth a warning.

#include "filtrix/ku/log.h"
#include "randomgraph.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

using namespace ZR;

namespace
{
[[noreturn]] void fail(const ku::log::Capture& log)
{
  for (const std::string& text : log.texts())
    std::cerr << text << '\n';
  std::abort();
}

void tearDown(Filtrix::FiltrixPrivate& registry)
{
  for (const std::string& process : registry.getProcesses())
  {
    if (!registry.deleteProcess(process))
      std::abort();
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const ku::log::Capture log(ku::log::Level::Warning);
  FuzzedDataProvider bytes(data, size);
  {
    Filtrix::FiltrixPrivate registry;
    Fuzz::RandomGraph graph(registry, bytes);
    for (std::int64_t second = 1; second <= 4; ++second)
    {
      graph.change();
      if (!graph.runAndCompare(Filtrix::Time(second * 1'000'000)))
        fail(log);
    }
    tearDown(registry);
  }
  // Nodes tell at their end what is still raised.
  if (!log.texts().empty())
    fail(log);
  return 0;
}
