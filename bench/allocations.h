#pragma once

#include <cstdint>

namespace ZR::Filtrix::Bench
{
/// How often this program has asked the heap for memory so far, over all threads.
[[nodiscard]] std::uint64_t allocations() noexcept;
}  // namespace ZR::Filtrix::Bench
