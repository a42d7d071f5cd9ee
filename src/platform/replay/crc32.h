#pragma once

#include "platform/replay/bytes.h"

#include <cstdint>

namespace ZR::Replay
{
/// The 32-bit cyclic redundancy check of Ethernet, zip and PNG, over bytes that may come in pieces.
///
/// Source: M. Kounavis and F. Berry, "A Systematic Approach to Building High Performance Software-Based CRC
/// Generators", ISCC 2005: eight bytes a step by eight tables.
class Crc32 final
{
public:
  void add(ByteSpan bytes);

  [[nodiscard]] std::uint32_t value() const { return ~state; }

private:
  std::uint32_t state = ~std::uint32_t{0};
};

[[nodiscard]] std::uint32_t crc32(ByteSpan bytes);
}  // namespace ZR::Replay
