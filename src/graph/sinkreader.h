#pragma once

#include "filtrix/data.h"

#include <string>

namespace ZR::Filtrix
{
/// A process, as a source that reads one of its sinks sees it.
class SinkReader
{
public:
  SinkReader() = default;
  SinkReader(const SinkReader&) = delete;
  SinkReader& operator=(const SinkReader&) = delete;
  virtual ~SinkReader() = default;

  /// Runs the process at `time` if it is due, and gives the sink's last value.
  virtual DataPtr getData(const std::string& sinkName, Time time) = 0;

  /// Clears what a run that broke off has left, if there is something. Waits for a run in progress.
  virtual void recover() = 0;
};
}  // namespace ZR::Filtrix
