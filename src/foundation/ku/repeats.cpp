#include "foundation/ku/repeats.h"

#include <utility>

namespace ku::log
{
std::optional<std::uint64_t> Repeats::pass(std::size_t line, Clock::time_point now)
{
  const std::lock_guard lock(mutex);
  if (lines.size() >= remembered && !lines.contains(line))
    _forgetOld(now);
  Entry& entry = lines.try_emplace(line, Entry{now}).first->second;
  if (now - entry.start >= std::chrono::seconds(1))
  {
    entry.start = now;
    entry.written = 0;
  }
  if (entry.written == mostInASecond)
  {
    ++entry.leftOut;
    return std::nullopt;
  }
  ++entry.written;
  return std::exchange(entry.leftOut, 0);
}

// With so many lines in one second, none of them is the one that comes for ever.
void Repeats::_forgetOld(Clock::time_point now)
{
  std::erase_if(lines, [now](const auto& line) { return now - line.second.start >= std::chrono::seconds(1); });
  if (lines.size() >= remembered)
    lines.clear();
}
}  // namespace ku::log
