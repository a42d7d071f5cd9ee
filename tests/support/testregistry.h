#pragma once

#include "exec/process.h"
#include "exec/processregistry.h"

#include <map>
#include <mutex>
#include <string>

namespace ZR::Filtrix::Test
{
/// The processes of a test, as the scheduler sees them.
class TestRegistry final : public ProcessRegistry
{
public:
  void add(const ProcessPtr& process)
  {
    const std::lock_guard lock(mutex);
    processes[process->getName()] = process;
  }

  void remove(const std::string& name)
  {
    const std::lock_guard lock(mutex);
    processes.erase(name);
  }

  void forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const override
  {
    const std::lock_guard lock(mutex);
    for (const auto& [name, process] : processes)
      visit(process);
  }

  [[nodiscard]] bool isRegistered(const std::string& name) const override
  {
    const std::lock_guard lock(mutex);
    return processes.contains(name);
  }

private:
  mutable std::mutex mutex;
  std::map<std::string, ProcessPtr> processes;
};
}  // namespace ZR::Filtrix::Test
