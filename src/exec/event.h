#pragma once

#include "graph/origin.h"
#include "graph/valuelistener.h"

#include <boost/function.hpp>

#include <memory>

namespace ZR::Filtrix
{
class Process;
class Scheduler;

/// What a source or a sink does with a new value: run a process at the value's time, or call a function with it.
/// Keeps neither the process nor the scheduler alive; once one of them is gone, nothing happens.
class Event final : public ValueListener, public Located
{
public:
  using Callback = boost::function<void(const DataPtr&)>;

  Event(const std::shared_ptr<Scheduler>& scheduler, const std::shared_ptr<Process>& process);
  explicit Event(Callback callback);

  /// Queues the run, or calls the function, on the calling thread. An empty function throws
  /// "call to empty boost::function".
  void fire(const DataPtr& value) override;

private:
  const bool isCallback;
  const std::weak_ptr<Scheduler> scheduler;
  const std::weak_ptr<Process> process;
  const Callback callback;
};
}  // namespace ZR::Filtrix
