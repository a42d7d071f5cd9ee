#pragma once

#include "exec/processregistry.h"
#include "exec/scheduler.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Bench
{
/// The least that a scheduler needs to know of its processes.
class ProcessList final : public ProcessRegistry
{
public:
  explicit ProcessList(std::vector<ProcessPtr> processes_) : processes(std::move(processes_)) {}

  void forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const override
  {
    for (const ProcessPtr& process : processes)
      visit(process);
  }

  [[nodiscard]] bool isRegistered(const std::string&) const override { return true; }

private:
  const std::vector<ProcessPtr> processes;
};
}  // namespace ZR::Filtrix::Bench
