#pragma once

#include <chrono>
#include <thread>

namespace ZR::Filtrix::Test
{
/// Waits until something has come about on another thread; false when it has not after 20 seconds of real time, which
/// is enough for a slow machine under a sanitizer.
template <typename Condition>
[[nodiscard]] bool eventually(const Condition& condition)
{
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition())
  {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}
}  // namespace ZR::Filtrix::Test
