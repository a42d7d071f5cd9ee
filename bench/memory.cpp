// Runs one process a million times and prints the memory that the program holds before and after: it must not grow.

#include "bench/graphs.h"

#include <fmt/core.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace
{
long residentKilobytes()
{
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
  {
    if (line.starts_with("VmRSS:"))
      return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  return -1;
}
}  // namespace

int main(int argc, char** argv)
{
  using namespace ZR::Filtrix::Bench;
  const long runs = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1'000'000;
  Graph graph = makeChain(10);
  for (int i = 0; i < 1000; ++i)
    graph.run();
  const long before = residentKilobytes();
  for (long i = 0; i < runs; ++i)
    graph.run();
  const long after = residentKilobytes();
  fmt::print("{} runs of a chain of 10: {} kB before, {} kB after\n", runs, before, after);
  return before > 0 && after <= before + before / 50 ? 0 : 1;
}
