#pragma once

#include <functional>
#include <memory>
#include <string>

namespace ZR::Filtrix
{
class Process;

/// What the scheduler needs to know of whoever owns the processes. Thread-safe.
class ProcessRegistry
{
public:
  ProcessRegistry() = default;
  ProcessRegistry(const ProcessRegistry&) = delete;
  ProcessRegistry& operator=(const ProcessRegistry&) = delete;
  virtual ~ProcessRegistry() = default;

  /// Calls `visit` with each process, in the order of their names, under the registry's own process mutex: `visit` must
  /// not come back to the registry.
  virtual void forEachProcess(const std::function<void(const std::shared_ptr<Process>&)>& visit) const = 0;

  [[nodiscard]] virtual bool isRegistered(const std::string& processName) const = 0;
};
}  // namespace ZR::Filtrix
