#pragma once

#include "platform/replay/bytes.h"

#include <cstdint>
#include <string_view>

namespace ZR::Replay
{
/// The compression of a chunk, by the name that the container gives it.
namespace Compression
{
inline constexpr std::string_view none = "";
inline constexpr std::string_view zstd = "zstd";
}  // namespace Compression

/// Compresses at the fastest level: pixels of depth shrink to a half or less, and a camera's thread pays for it.
[[nodiscard]] Bytes compressZstd(ByteSpan bytes);

/// Brings a chunk back, which must come out with exactly `size` bytes. Throws `RecordingError`, before memory is taken
/// where it can.
[[nodiscard]] Bytes decompress(std::string_view compression, ByteSpan bytes, std::uint64_t size);
}  // namespace ZR::Replay
