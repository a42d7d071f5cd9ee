#pragma once

#include "graph/nodesource.h"
#include "graph/sinkreader.h"

namespace ZR::Filtrix
{
/// A source whose values are those of another process's sink. The other process runs inline, at the time of the run
/// that reads it and if it is due, while this source's mutex is held. Its version is 0: a process that reads it is
/// never held back as unchanged.
class NodeProcessSource final : public NodeSource
{
public:
  NodeProcessSource(std::string name, std::shared_ptr<SinkReader> process, std::string sinkName);

  [[nodiscard]] std::uint64_t getVersion() const override;

  [[nodiscard]] const std::shared_ptr<SinkReader>& getProcess() const noexcept { return process; }

  [[nodiscard]] const std::string& getSinkName() const noexcept { return sinkName; }

protected:
  DataPtr _takeSnapshot(Time time, Duration tolerance) override;

private:
  const std::shared_ptr<SinkReader> process;
  const std::string sinkName;
};
}  // namespace ZR::Filtrix
