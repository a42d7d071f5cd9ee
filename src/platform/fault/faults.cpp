#include "platform/fault/faults.h"

#include <fmt/format.h>

#include <stdexcept>

namespace ZR::Fault
{
namespace
{
constexpr std::array<std::string_view, operationCount> names = {"hasDepthCamera", "getCameraModel", "subscribeCamera",
                                                                "unsubscribe",    "getImageLocal",  "releaseImage",
                                                                "setFrameRate",   "getSensorNames", "getPosition"};

constexpr int thrownNumber = 42;
}  // namespace

std::string_view nameOf(Operation operation)
{
  return names[static_cast<std::size_t>(operation)];
}

void Faults::set(Operation operation, Mode mode)
{
  const std::lock_guard lock(mutex);
  _state(operation).mode = mode;
  ++_state(operation).changes;
  changed.notify_all();
}

void Faults::setAll(Mode mode)
{
  for (std::size_t operation = 0; operation < operationCount; ++operation)
    set(static_cast<Operation>(operation), mode);
}

void Faults::setDelay(ku::Clock::duration delay_)
{
  const std::lock_guard lock(mutex);
  delay = delay_;
}

Mode Faults::get(Operation operation) const
{
  const std::lock_guard lock(mutex);
  return _state(operation).mode;
}

std::uint64_t Faults::calls(Operation operation) const
{
  const std::lock_guard lock(mutex);
  return _state(operation).calls;
}

bool Faults::waitForStalls(std::size_t count, std::chrono::milliseconds patience) const
{
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, patience, [&] { return stalls >= count; });
}

Mode Faults::enter(Operation operation)
{
  std::unique_lock lock(mutex);
  State& state = _state(operation);
  ++state.calls;
  switch (state.mode)
  {
  case Mode::ThrowStd:
    throw std::runtime_error(fmt::format("fault: {} throws", nameOf(operation)));
  case Mode::ThrowOther:
    // What is thrown is no exception on purpose. NOLINTNEXTLINE(misc-throw-by-value-catch-by-reference)
    throw thrownNumber;
  case Mode::Intermittent:
    if (state.calls % 2 == 0)
      throw std::runtime_error(fmt::format("fault: {} throws now and then", nameOf(operation)));
    return Mode::None;
  case Mode::Stall:
    _stall(lock, operation);
    return Mode::None;
  case Mode::Slow:
  {
    const auto length = delay;
    lock.unlock();
    ku::Alarm().sleepFor(length);
    return Mode::None;
  }
  default:
    return state.mode;
  }
}

void Faults::_stall(std::unique_lock<std::mutex>& lock, Operation operation)
{
  const std::uint64_t before = _state(operation).changes;
  ++stalls;
  changed.notify_all();
  changed.wait(lock, [&] { return _state(operation).changes != before; });
  --stalls;
}
}  // namespace ZR::Fault
