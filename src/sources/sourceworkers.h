#pragma once

#include "sources/sourcefigures.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
/// What fills a source from a service.
class SourceWorker
{
public:
  SourceWorker() = default;
  SourceWorker(const SourceWorker&) = delete;
  SourceWorker& operator=(const SourceWorker&) = delete;
  virtual ~SourceWorker() = default;

  /// For the log.
  [[nodiscard]] virtual std::string getName() const = 0;

  /// One round, which may block in the service. For one thread at a time. Gives how long to wait until the next.
  virtual std::chrono::microseconds step() = 0;

  /// Gives back what the worker has of the service, beside a round in progress; that round, and any later one, brings
  /// nothing to the source any more. May block in the service. Thread-safe.
  virtual void close() = 0;

  /// Thread-safe.
  [[nodiscard]] virtual SourceFigures getFigures() const = 0;
};

/// Runs workers, each as a periodic task on the shared pool, and ends them in bounded time whatever they are stuck in.
///
/// At the end all are closed side by side, which lets go a round that waits for a frame. One that is stuck in its
/// service for longer than `endPatience` all the same is left behind with a warning: when it comes back, it finds
/// itself closed and ends, without having touched the source.
class SourceWorkers final
{
public:
  SourceWorkers();
  ~SourceWorkers();
  SourceWorkers(const SourceWorkers&) = delete;
  SourceWorkers& operator=(const SourceWorkers&) = delete;

  /// Begins the worker's rounds.
  void add(std::shared_ptr<SourceWorker> worker);

  /// Of every worker, in the order in which they were added. Not beside `add`.
  [[nodiscard]] std::vector<SourceFigures> getFigures() const;

private:
  class Rounds;

  std::vector<std::shared_ptr<Rounds>> all;
};
}  // namespace ZR::Filtrix
