#pragma once

#include "filtrix/ku/clock.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace ZR::Filtrix
{
/// How a process has fared since it was made or reset.
struct RunFigures
{
  std::uint64_t runs = 0;       ///< that came to their end
  std::uint64_t failures = 0;   ///< that broke off
  std::uint64_t early = 0;      ///< times it was asked before its period had passed
  std::uint64_t unchanged = 0;  ///< times it was asked again for the same time with no source changed
  ku::Clock::duration last{};   ///< lengths of runs, failed ones included
  ku::Clock::duration mean{};
  ku::Clock::duration percentile99{};  ///< to within one part in sixteen, never too small
  float rate = 0.0F;                   ///< runs per second over the last runs, up to now
};

/// Keeps the figures of a process: two readings of the clock and a short leaf lock a run, nothing that grows.
/// Thread-safe.
class RunStatistics final
{
public:
  enum class Outcome
  {
    Done,
    Failed
  };

  void addRun(ku::Clock::time_point start, ku::Clock::duration length, Outcome outcome);

  void addEarly() noexcept { early.fetch_add(1, std::memory_order_relaxed); }

  void addUnchanged() noexcept { unchanged.fetch_add(1, std::memory_order_relaxed); }

  [[nodiscard]] RunFigures figures(ku::Clock::time_point now) const;
  void clear();

private:
  // Lengths are counted in buckets: sixteen to each power of two of nanoseconds.
  static constexpr std::size_t stepsPerPower = 16;
  static constexpr std::size_t buckets = 61 * stepsPerPower;

  static constexpr std::size_t keptStarts = 32;

  static std::size_t _bucketOf(std::uint64_t nanoseconds) noexcept;
  static std::uint64_t _endOf(std::size_t bucket) noexcept;
  [[nodiscard]] ku::Clock::duration _percentile99(std::uint64_t count) const;
  [[nodiscard]] float _rate(std::uint64_t count, ku::Clock::time_point now) const;

  std::atomic<std::uint64_t> early{0};
  std::atomic<std::uint64_t> unchanged{0};

  mutable std::mutex mutex;  // guards the rest; a leaf
  std::uint64_t runs = 0;
  std::uint64_t failures = 0;
  ku::Clock::duration last{};
  ku::Clock::duration total{};
  std::array<std::uint32_t, buckets> lengths{};
  std::array<ku::Clock::time_point, keptStarts> starts{};  // a ring: run n stands at n modulo its size
};
}  // namespace ZR::Filtrix
