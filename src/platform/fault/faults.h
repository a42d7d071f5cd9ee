#pragma once

#include "filtrix/ku/clock.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>

/// Services that fail on purpose, to try out what stands behind them.
namespace ZR::Fault
{
/// How an operation fails. What an operation cannot do, such as a wrong time stamp of a position, leaves it sound.
enum class Mode
{
  None,          ///< works
  ThrowStd,      ///< throws std::runtime_error
  ThrowOther,    ///< throws an int
  Null,          ///< gives null, an empty text, an empty list, 0 or false
  Stall,         ///< does not come back until the mode changes
  Slow,          ///< comes back late, on `ku::Clock`
  Intermittent,  ///< every second call throws std::runtime_error, the first does not
  Garbage,       ///< gives random pixels, texts and numbers
  WrongSize,     ///< gives frames of another size than asked for, lists of another length
  RepeatedTime,  ///< gives all frames the time of the first
  TimeBackward,  ///< gives frames whose time runs backwards
  TimeAhead      ///< gives frames whose time lies far ahead
};

enum class Operation
{
  HasDepthCamera,
  GetCameraModel,
  SubscribeCamera,
  UnsubscribeCamera,
  GetImage,
  ReleaseImage,
  SetFrameRate,
  GetSensorNames,
  GetPosition
};

inline constexpr std::size_t operationCount = static_cast<std::size_t>(Operation::GetPosition) + 1;

[[nodiscard]] std::string_view nameOf(Operation operation);

/// The modes of the operations, and how often each was called. May be set while calls run. Thread-safe.
class Faults final
{
public:
  Faults() = default;
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;

  /// A call that stalls comes back when its operation's mode is set, be it to the same. Set what stalls to another mode
  /// before its service ends.
  void set(Operation operation, Mode mode);
  void setAll(Mode mode);

  /// How long a slow call takes longer.
  void setDelay(ku::Clock::duration delay);

  [[nodiscard]] Mode get(Operation operation) const;
  [[nodiscard]] std::uint64_t calls(Operation operation) const;

  /// Waits, in real time, until at least so many calls stall; false after `patience`.
  [[nodiscard]] bool waitForStalls(std::size_t count,
                                   std::chrono::milliseconds patience = std::chrono::seconds(10)) const;

  /// Counts a call and does what its mode says before it: throws, stalls, delays. Gives the mode that is left for the
  /// result, which is None for those.
  Mode enter(Operation operation);

private:
  struct State
  {
    Mode mode = Mode::None;
    std::uint64_t calls = 0;
    std::uint64_t changes = 0;
  };

  [[nodiscard]] State& _state(Operation operation) { return states[static_cast<std::size_t>(operation)]; }

  [[nodiscard]] const State& _state(Operation operation) const { return states[static_cast<std::size_t>(operation)]; }

  void _stall(std::unique_lock<std::mutex>& lock, Operation operation);

  mutable std::mutex mutex;  // guards the rest; a leaf
  mutable std::condition_variable changed;
  std::array<State, operationCount> states;
  ku::Clock::duration delay = std::chrono::milliseconds(200);
  std::size_t stalls = 0;
};
}  // namespace ZR::Fault
