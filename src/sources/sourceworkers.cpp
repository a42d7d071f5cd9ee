#include "sources/sourceworkers.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/periodictask.h"
#include "sources/aside.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.sourceworkers";

using Deadline = std::chrono::steady_clock::time_point;
}  // namespace

// The task belongs to the object that its calls keep alive: one that is left behind ends itself, by its last call.
class SourceWorkers::Rounds final : public std::enable_shared_from_this<Rounds>
{
public:
  explicit Rounds(std::shared_ptr<SourceWorker> worker_) : worker(std::move(worker_)) {}

  void start()
  {
    task.setName(worker->getName());
    task.setUsPeriod(10);
    task.compensateCallbackTime(true);
    task.setCallback(
        [weak = weak_from_this()]
        {
          if (const auto self = weak.lock())
            self->_makeRound();
        });
    task.start();
  }

  // Lets the round in progress be the last.
  void stop()
  {
    {
      const std::lock_guard lock(mutex);
      isStopped = true;
    }
    task.asyncStop();
  }

  // True once there is no round any more.
  bool waitUntil(Deadline deadline)
  {
    std::unique_lock lock(mutex);
    return changed.wait_until(lock, deadline, [this] { return !isInRound; });
  }

  [[nodiscard]] const std::shared_ptr<SourceWorker>& getWorker() const noexcept { return worker; }

private:
  void _makeRound()
  {
    if (!_enter())
      return;
    try
    {
      task.setPeriod(worker->step());
    }
    catch (...)
    {
      _leave();
      throw;  // the task logs it
    }
    _leave();
  }

  bool _enter()
  {
    const std::lock_guard lock(mutex);
    isInRound = !isStopped;
    return isInRound;
  }

  void _leave()
  {
    const std::lock_guard lock(mutex);
    isInRound = false;
    changed.notify_all();
  }

  const std::shared_ptr<SourceWorker> worker;

  std::mutex mutex;  // guards the two below; a leaf
  bool isStopped = false;
  bool isInRound = false;
  std::condition_variable changed;

  ku::PeriodicTask task;  // the last member: its calls use all others
};

SourceWorkers::SourceWorkers() = default;

SourceWorkers::~SourceWorkers()
{
  for (const auto& rounds : all)
    rounds->stop();
  std::vector<std::future<void>> closings;
  for (const auto& rounds : all)
    closings.push_back(runAside([worker = rounds->getWorker()] { worker->close(); }));
  const Deadline deadline = std::chrono::steady_clock::now() + endPatience;
  for (std::size_t i = 0; i < all.size(); ++i)
  {
    const bool isClosed = closings[i].wait_until(deadline) == std::future_status::ready;
    if (!all[i]->waitUntil(deadline) || !isClosed)
      ku::log::warning(category, "{}: its service has not come back for {} ms; the worker is left behind",
                       all[i]->getWorker()->getName(), endPatience.count());
  }
}

void SourceWorkers::add(std::shared_ptr<SourceWorker> worker)
{
  all.push_back(std::make_shared<Rounds>(std::move(worker)));
  all.back()->start();
}

std::vector<SourceFigures> SourceWorkers::getFigures() const
{
  std::vector<SourceFigures> figures;
  figures.reserve(all.size());
  for (const auto& rounds : all)
    figures.push_back(rounds->getWorker()->getFigures());
  return figures;
}
}  // namespace ZR::Filtrix
