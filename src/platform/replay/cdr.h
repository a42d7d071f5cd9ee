#pragma once

#include "platform/replay/bytes.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace ZR::Replay
{
/// Writes a message in CDR (OMG "Common Data Representation", version 1, little-endian) as ROS 2 does: four bytes that
/// tell so, then the fields, each number at a multiple of its size behind these four bytes.
class CdrWriter final
{
public:
  CdrWriter();

  template <typename Number>
  void number(Number value)
  {
    _align(sizeof value);
    out.number(value);
  }

  void text(std::string_view value);

  /// The count of a sequence, whose items follow.
  void count(std::size_t items);

  void raw(ByteSpan bytes) { out.raw(bytes); }

  [[nodiscard]] const Bytes& bytes() const { return out.bytes; }

private:
  void _align(std::size_t size);

  ByteWriter out;
};

/// Reads the same. Throws `RecordingError` when the bytes end early or are in another representation.
class CdrReader final
{
public:
  explicit CdrReader(ByteSpan message);

  template <typename Number>
  [[nodiscard]] Number number()
  {
    _align(sizeof(Number));
    return in.number<Number>();
  }

  [[nodiscard]] std::string text();

  /// The count of a sequence of items of at least `itemSize` bytes: never more than there can be.
  [[nodiscard]] std::uint32_t count(std::size_t itemSize);

  [[nodiscard]] ByteSpan raw(std::uint64_t size) { return in.raw(size); }

private:
  void _align(std::size_t size);

  ByteReader in;
};
}  // namespace ZR::Replay
