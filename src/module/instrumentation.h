#pragma once

#include "exec/runstatistics.h"
#include "filtrix/zrvalue.h"
#include "graph/nodefilter.h"
#include "sources/sourcefigures.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
class FiltrixPrivate;

/// What a filter node of a process has cost. The nodes within a composite filter serve every process that uses it, so
/// their figures are those of all uses.
struct NodeInstrumentation
{
  std::string path;    ///< from the process's own filter inwards: "People/tracker"
  std::string filter;  ///< the library filter's name
  NodeFigures figures;
};

struct ProcessInstrumentation
{
  std::string name;
  std::uint32_t priority = 0;
  float askedRate = 0.0F;  ///< runs per second
  bool enabled = false;
  bool zombie = false;
  RunFigures figures;
  std::vector<NodeInstrumentation> nodes;
};

struct Instrumentation
{
  std::vector<ProcessInstrumentation> processes;
  std::vector<SourceFigures> sources;  ///< those that a service fills
};

/// The figures of every process at this moment, by name. Thread-safe.
[[nodiscard]] std::vector<ProcessInstrumentation> collectProcesses(const FiltrixPrivate& registry);

/// A table for people: a line per process, and below it a line per filter node, the costliest first; then a line per
/// source, of those that a process reads or has read.
[[nodiscard]] std::string toText(const Instrumentation& instrumentation);

/// The same for tools, with all sources: a map of two arrays, "processes" and "sources", with a map for each; times in
/// microseconds.
[[nodiscard]] ZRValue toZRValue(const Instrumentation& instrumentation);
}  // namespace ZR::Filtrix
