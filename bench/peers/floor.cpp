#include "bench/peers/floor.h"

#include "filtrix/data.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Bench
{
namespace
{
class Stage
{
public:
  Stage() = default;
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  virtual ~Stage() = default;
  virtual DataPtr pass(const DataPtr& value) = 0;
};

class FloorStage final : public Stage
{
public:
  FloorStage() { entries.reserve(8); }

  DataPtr pass(const DataPtr& value) override
  {
    constexpr std::uint32_t scope = 117'112'104;  // any number: a run's name, hashed
    const std::lock_guard lock(mutex);
    const auto entry = entries.emplace(scope, 1).first;
    DataPtr next = makeData(value->toInt() + 1);
    entries.erase(entry);
    return next;
  }

private:
  std::mutex mutex;
  std::unordered_map<std::uint32_t, int> entries;
};
}  // namespace

Loop makeFloor(std::size_t count)
{
  std::vector<std::shared_ptr<Stage>> stages(count);
  for (auto& stage : stages)
    stage = std::make_shared<FloorStage>();
  const auto run = [stages = std::move(stages), first = makeData(1)]
  {
    DataPtr value = first;
    for (const auto& stage : stages)
      value = stage->pass(value);
  };
  return {run, static_cast<double>(count)};
}
}  // namespace ZR::Filtrix::Bench
