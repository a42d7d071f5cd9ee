#pragma once

#include "filtrix/ku/clock.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ku
{
/// Keeps what fails again and again from filling the log: says which failures to tell. The first one, one with another
/// text than the last line after a second, and one with the same text after ten. Not thread-safe.
class FailureLog
{
public:
  /// Of every failure once: the text to log, with the number of those that were left out before it; or nothing.
  [[nodiscard]] std::optional<std::string> tell(std::string_view text);

private:
  std::string lastText;
  Clock::time_point lastTime;
  std::uint64_t leftOut = 0;
  bool hasTold = false;
};
}  // namespace ku
