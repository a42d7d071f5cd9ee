#include "exec/event.h"

#include "exec/process.h"
#include "exec/scheduler.h"

#include <utility>

namespace ZR::Filtrix
{
Event::Event(const std::shared_ptr<Scheduler>& scheduler_, const std::shared_ptr<Process>& process_)
    : isCallback(false), scheduler(scheduler_), process(process_)
{
}

Event::Event(Callback callback_) : isCallback(true), callback(std::move(callback_)) {}

void Event::fire(const DataPtr& value)
{
  if (isCallback)
  {
    callback(value);
    return;
  }
  const auto liveScheduler = scheduler.lock();
  const auto liveProcess = process.lock();
  if (liveScheduler && liveProcess)
    liveScheduler->addJob(liveProcess, value->timestamp());
}
}  // namespace ZR::Filtrix
