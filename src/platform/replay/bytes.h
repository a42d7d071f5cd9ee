#pragma once

#include "platform/replay/recordingerror.h"

#include <fmt/format.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ZR::Replay
{
static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand in memory");

using Bytes = std::vector<std::uint8_t>;
using ByteSpan = std::span<const std::uint8_t>;

/// The bytes of a text, which must outlive them.
inline ByteSpan bytesOf(std::string_view text)
{
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Appends little-endian numbers and texts to bytes.
class ByteWriter final
{
public:
  template <typename Number>
  void number(Number value)
  {
    static_assert(std::is_arithmetic_v<Number>);
    _append(&value, sizeof value);
  }

  void raw(ByteSpan from) { _append(from.data(), from.size()); }

  /// Puts a number over one that was written before.
  template <typename Number>
  void overwrite(std::size_t at, Number value)
  {
    std::memcpy(bytes.data() + at, &value, sizeof value);
  }

  Bytes bytes;

private:
  void _append(const void* from, std::size_t size)
  {
    if (size == 0)
      return;
    const std::size_t at = bytes.size();
    bytes.resize(at + size);
    std::memcpy(bytes.data() + at, from, size);
  }
};

/// Takes the same from bytes, which must outlive it. Throws `RecordingError` rather than read beyond their end.
class ByteReader final
{
public:
  explicit ByteReader(ByteSpan bytes_) : bytes(bytes_) {}

  [[nodiscard]] std::size_t position() const { return at; }

  [[nodiscard]] std::size_t left() const { return bytes.size() - at; }

  template <typename Number>
  [[nodiscard]] Number number()
  {
    static_assert(std::is_arithmetic_v<Number>);
    Number value{};
    const ByteSpan from = raw(sizeof value);
    std::memcpy(&value, from.data(), sizeof value);
    return value;
  }

  [[nodiscard]] ByteSpan raw(std::uint64_t size)
  {
    if (size > left())
      throw RecordingError(fmt::format("expected {} bytes at byte {}, {} are left", size, at, left()));
    const ByteSpan taken = bytes.subspan(at, static_cast<std::size_t>(size));
    at += taken.size();
    return taken;
  }

  [[nodiscard]] std::string text(std::uint64_t size)
  {
    const ByteSpan from = raw(size);
    return {from.begin(), from.end()};
  }

private:
  ByteSpan bytes;
  std::size_t at = 0;
};
}  // namespace ZR::Replay
