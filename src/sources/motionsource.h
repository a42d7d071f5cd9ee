#pragma once

#include "sources/sourcefigures.h"

#include <future>
#include <memory>
#include <mutex>
#include <vector>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Filtrix
{
class FiltrixPrivate;
class MotionSourceWorker;

/// The positions of the robot's sensors as sources of the graph: "Motion_CameraTop<WORLD>" and so on, one per sensor
/// and frame, each a Vector6 in metres and radians with the time when it was asked for. A worker thread asks the motion
/// service for those that a live process reads, and only as often as these processes run. A robot without a motion
/// service gets no such sources; a worker that is started later finds a service that has come meanwhile.
///
/// Thread-safe. Log category "filtrix.motionsource".
class MotionSource final
{
public:
  /// Starts the worker. A missing service is logged.
  MotionSource(const std::shared_ptr<ZRBroker>& broker_, std::shared_ptr<FiltrixPrivate> registry_);
  ~MotionSource();
  MotionSource(const MotionSource&) = delete;
  MotionSource& operator=(const MotionSource&) = delete;

  /// Logged when there is a worker already.
  void startWorker();

  /// Waits until the worker has ended, or is stuck in the service for so long that it is left behind with a warning.
  void stopWorker();

  /// Of each position; none without a worker.
  [[nodiscard]] std::vector<SourceFigures> getFigures() const;

private:
  struct Running
  {
    std::shared_ptr<MotionSourceWorker> worker;
    std::future<void> end;
  };

  const std::weak_ptr<ZRBroker> broker;
  const std::shared_ptr<FiltrixPrivate> registry;

  mutable std::mutex mutex;  // guards the workers
  std::vector<Running> workers;
};
}  // namespace ZR::Filtrix
