#include "sources/motionsource.h"

#include "filtrix/ku/log.h"
#include "platform/motionservice.h"
#include "program/filtrixprivate.h"
#include "sources/aside.h"
#include "sources/motionsourceworker.h"

#include <exception>
#include <thread>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.motionsource";

std::shared_ptr<const MotionProxy> makeProxy(const std::shared_ptr<ZRBroker>& broker)
{
  try
  {
    return std::make_shared<const MotionProxy>(broker);
  }
  catch (const std::exception& exception)
  {
    ku::log::error(category, "Can't create proxy on ZRMotion: {} Please verify the autoload.ini.", exception.what());
    return nullptr;
  }
}

// A thread that nobody has to join: it owns what it uses, and the future tells its end.
std::future<void> runAlone(const std::shared_ptr<MotionSourceWorker>& worker)
{
  std::packaged_task<void()> task([worker] { worker->run(); });
  auto end = task.get_future();
  std::thread(std::move(task)).detach();
  return end;
}
}  // namespace

MotionSource::MotionSource(const std::shared_ptr<ZRBroker>& broker_, std::shared_ptr<FiltrixPrivate> registry_)
    : broker(broker_), registry(std::move(registry_))
{
  startWorker();
}

MotionSource::~MotionSource()
{
  stopWorker();
}

void MotionSource::startWorker()
{
  const std::lock_guard lock(mutex);
  if (!workers.empty())
  {
    ku::log::warning(category, "Motion worker is already running");
    return;
  }
  const auto worker = std::make_shared<MotionSourceWorker>(registry, makeProxy(broker.lock()));
  workers.push_back({worker, runAlone(worker)});
}

void MotionSource::stopWorker()
{
  const std::lock_guard lock(mutex);
  for (const Running& running : workers)
    running.worker->interrupt();
  for (const Running& running : workers)
  {
    if (running.end.wait_for(endPatience) != std::future_status::ready)
      ku::log::warning(category, "ZRMotion has not come back for {} ms; the motion worker is left behind",
                       endPatience.count());
  }
  workers.clear();
}

std::vector<SourceFigures> MotionSource::getFigures() const
{
  const std::lock_guard lock(mutex);
  return workers.empty() ? std::vector<SourceFigures>() : workers.front().worker->getFigures();
}
}  // namespace ZR::Filtrix
