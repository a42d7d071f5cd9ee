#include "platform/replay/chunkcodec.h"

#include <zstd.h>

namespace ZR::Replay
{
namespace
{
constexpr int fastest = 1;

std::size_t checked(std::size_t result)
{
  if (ZSTD_isError(result) != 0)
    throw RecordingError(fmt::format("zstd: {}", ZSTD_getErrorName(result)));
  return result;
}

// A frame that tells its size must tell the same; one that does not, or is none, is left to the decompression.
void requireSize(ByteSpan bytes, std::uint64_t size)
{
  const unsigned long long told = ZSTD_getFrameContentSize(bytes.data(), bytes.size());
  if (told == ZSTD_CONTENTSIZE_ERROR)
    throw RecordingError(fmt::format("expected a chunk compressed with zstd, came {} other bytes", bytes.size()));
  if (told != ZSTD_CONTENTSIZE_UNKNOWN && told > size)
    throw RecordingError(fmt::format("expected a chunk of {} bytes, came {}", size, told));
}

Bytes decompressZstd(ByteSpan bytes, std::uint64_t size)
{
  requireSize(bytes, size);
  Bytes plain(static_cast<std::size_t>(size));
  const std::size_t came = checked(ZSTD_decompress(plain.data(), plain.size(), bytes.data(), bytes.size()));
  if (came != size)
    throw RecordingError(fmt::format("expected a chunk of {} bytes, came {}", size, came));
  return plain;
}
}  // namespace

Bytes compressZstd(ByteSpan bytes)
{
  Bytes packed(ZSTD_compressBound(bytes.size()));
  packed.resize(checked(ZSTD_compress(packed.data(), packed.size(), bytes.data(), bytes.size(), fastest)));
  return packed;
}

Bytes decompress(std::string_view compression, ByteSpan bytes, std::uint64_t size)
{
  if (compression == Compression::zstd)
    return decompressZstd(bytes, size);
  if (compression != Compression::none)
    throw RecordingError(fmt::format("unknown compression \"{}\"; known are: \"zstd\", \"\"", compression));
  if (bytes.size() != size)
    throw RecordingError(fmt::format("expected a chunk of {} bytes, came {}", size, bytes.size()));
  return {bytes.begin(), bytes.end()};
}
}  // namespace ZR::Replay
