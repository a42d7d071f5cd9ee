#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace ku::log
{
/// Keeps a line that comes with every frame from filling a disk in weeks: of lines that are the same, so many in a
/// second are written, and the next one that is tells how many were not. Remembers a limited number of lines.
/// Thread-safe.
class Repeats final
{
public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::uint32_t mostInASecond = 10;
  static constexpr std::size_t remembered = 256;

  /// Whether a line, known by its hash, is to be written at `now`: how many like it have been left out since the last
  /// one was, or nothing when it is one of those to be left out.
  [[nodiscard]] std::optional<std::uint64_t> pass(std::size_t line, Clock::time_point now);

private:
  struct Entry
  {
    Clock::time_point start;  // of its second
    std::uint32_t written = 0;
    std::uint64_t leftOut = 0;
  };

  void _forgetOld(Clock::time_point now);

  std::mutex mutex;  // guards the next; a leaf lock
  std::unordered_map<std::size_t, Entry> lines;
};
}  // namespace ku::log
