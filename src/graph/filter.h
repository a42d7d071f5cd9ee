#pragma once

#include "filtrix/data.h"
#include "graph/port.h"

#include <cstdint>
#include <memory>
#include <string>

namespace ZR::Filtrix
{
class DotGraph;
class FilterMemory;
class ProcessKey;

/// A unit of computation: from a value per input port to a value per output port. It knows no wiring; a `NodeFilter`
/// puts it in a graph, and one filter may stand behind many of them, on several workers at once.
class Filter
{
public:
  explicit Filter(std::string name);
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;
  virtual ~Filter();

  /// A text for users. "* no description *" unless the filter has one.
  [[nodiscard]] virtual std::string getDescription() const;

  /// True when the filter, or one within it, keeps something from one run to the next.
  [[nodiscard]] virtual bool isStateful() const { return false; }

  /// Called once per scope and run: before anything is pulled, and after the last consumer has read.
  virtual void filterSynchronize(Time time, Duration tolerance, const ProcessKey& processKey,
                                 const ProcessKey& scopeKey, std::uint64_t depth);
  virtual void filterSynchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth);

  /// One application. `inputs` has a value per input port, null where an optional one has none.
  virtual DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                               std::uint64_t depth) = 0;

  /// Tells the filter that this run passes it by.
  virtual void applyEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) = 0;

  /// Draws the filter into a graph dump.
  virtual void getDotGraph(DotGraph& graph) const = 0;

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  [[nodiscard]] const PortList& getInputs() const noexcept { return ports.inputs; }

  [[nodiscard]] const PortList& getOutputs() const noexcept { return ports.outputs; }

  /// The port of that name, the only one for an empty name, or null.
  [[nodiscard]] PortPtr findInput(const std::string& portName) const { return findPort(ports.inputs, portName); }

  [[nodiscard]] PortPtr findOutput(const std::string& portName) const { return findPort(ports.outputs, portName); }

  /// The registry sets it when the filter enters the library. It outlives the filter's runs.
  void setMemoryManager(FilterMemory* manager) noexcept { memoryManager = manager; }

  [[nodiscard]] FilterMemory* getMemoryManager() const noexcept { return memoryManager; }

protected:
  PortPtr _addInput(PortPtr port);
  PortPtr _addOutput(PortPtr port);

private:
  std::string name;
  PortLists ports;
  FilterMemory* memoryManager = nullptr;
};

using FilterPtr = std::shared_ptr<Filter>;
}  // namespace ZR::Filtrix
