#pragma once

#include <compare>
#include <cstdint>
#include <limits>

namespace ZR::Filtrix
{
namespace Type
{
/// Sums of times stop at the ends of their range instead of wrapping round: a far-off time stamp from outside must not
/// turn into one of the distant past.
[[nodiscard]] constexpr std::int64_t saturatingAdd(std::int64_t a, std::int64_t b) noexcept
{
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(a, b, &sum))
    return sum;
  return b > 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

[[nodiscard]] constexpr std::int64_t saturatingSub(std::int64_t a, std::int64_t b) noexcept
{
  std::int64_t difference = 0;
  if (!__builtin_sub_overflow(a, b, &difference))
    return difference;
  return b < 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

/// A length of time: a signed count of microseconds.
class Duration final
{
public:
  constexpr Duration() noexcept = default;

  explicit constexpr Duration(std::int64_t microseconds) noexcept : count(microseconds) {}

  [[nodiscard]] constexpr std::int64_t microseconds() const noexcept { return count; }

  /// Whole milliseconds, truncated toward zero.
  [[nodiscard]] constexpr std::int64_t milliseconds() const noexcept { return count / 1000; }

  friend constexpr auto operator<=>(Duration, Duration) noexcept = default;

private:
  std::int64_t count = 0;
};

/// A moment on the steady clock (`ku::Clock`): a signed count of microseconds. Zero means unset.
/// Sums and differences saturate.
class Time final
{
public:
  constexpr Time() noexcept = default;

  explicit constexpr Time(std::int64_t microseconds) noexcept : count(microseconds) {}

  /// The clock's nanoseconds divided by 1000, truncated.
  [[nodiscard]] static Time now() noexcept;

  [[nodiscard]] constexpr std::int64_t microseconds() const noexcept { return count; }

  /// Whole seconds, truncated toward zero.
  [[nodiscard]] constexpr std::int64_t seconds() const noexcept { return count / 1'000'000; }

  [[nodiscard]] constexpr bool isSet() const noexcept { return count != 0; }

  friend constexpr auto operator<=>(Time, Time) noexcept = default;

  friend constexpr Duration operator-(Time a, Time b) noexcept { return Duration(saturatingSub(a.count, b.count)); }

  friend constexpr Time operator+(Time time, Duration step) noexcept
  {
    return Time(saturatingAdd(time.count, step.microseconds()));
  }

  friend constexpr Time operator-(Time time, Duration step) noexcept
  {
    return Time(saturatingSub(time.count, step.microseconds()));
  }

  constexpr Time& operator-=(Duration step) noexcept { return *this = *this - step; }

private:
  std::int64_t count = 0;
};
}  // namespace Type

using Type::Duration;
using Type::Time;
}  // namespace ZR::Filtrix
