#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ZR::Filtrix::Type
{
static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand in memory");

/// The first byte of every encoding.
inline constexpr std::uint8_t codecVersion = 1;

/// Appends numbers and texts to bytes.
class ByteWriter final
{
public:
  template <typename Number>
  void number(Number value)
  {
    static_assert(std::is_arithmetic_v<Number>);
    raw(&value, sizeof value);
  }

  void text(std::string_view value)
  {
    count(value.size());
    raw(value.data(), value.size());
  }

  void count(std::size_t value) { number(static_cast<std::uint32_t>(value)); }

  void raw(const void* data, std::size_t size)
  {
    if (size == 0)
      return;
    const std::size_t at = bytes.size();
    bytes.resize(at + size);
    std::memcpy(bytes.data() + at, data, size);
  }

  std::vector<std::byte> bytes;
};
}  // namespace ZR::Filtrix::Type
