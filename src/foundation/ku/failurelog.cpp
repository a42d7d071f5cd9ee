#include "foundation/ku/failurelog.h"

#include <fmt/core.h>

#include <utility>

namespace ku
{
namespace
{
constexpr std::chrono::seconds paceOfOthers{1};
constexpr std::chrono::seconds paceOfSame{10};
}  // namespace

std::optional<std::string> FailureLog::tell(std::string_view text)
{
  const Clock::time_point now = Clock::now();
  const Clock::duration since = now - lastTime;
  const bool isPaced = since >= Clock::duration::zero() && since < (text == lastText ? paceOfSame : paceOfOthers);
  if (hasTold && isPaced)
  {
    ++leftOut;
    return std::nullopt;
  }
  hasTold = true;
  lastText = text;
  lastTime = now;
  const std::uint64_t before = std::exchange(leftOut, 0);
  return before == 0 ? lastText : fmt::format("{} (and {} failures before that were not logged)", text, before);
}
}  // namespace ku
