#pragma once

#include "filtrix/zrimage.h"
#include "platform/replay/mcaprecords.h"

#include <memory>
#include <optional>
#include <string>

namespace ZR::Replay
{
/// What all frames of one channel have in common. Frames of the service and messages of the channel turn into each
/// other without loss.
struct ImageChannel
{
  int camera = 0;
  ZRImageHeader header;  ///< but the time stamp

  bool operator==(const ImageChannel&) const = default;

  /// "/camera/2/Depth/320x240"
  [[nodiscard]] std::string topic() const;

  [[nodiscard]] Mcap::TextMap metadata() const;
};

/// That of a frame from a camera.
[[nodiscard]] ImageChannel channelOf(int camera, const ZRImage& frame);

/// The message of a frame. Throws `RecordingError` when the time does not fit.
[[nodiscard]] Bytes encodeFrame(const ImageChannel& channel, const ZRImage& frame);

/// From a channel's metadata; nothing where they are not ours. Throws `RecordingError` on what cannot be such a frame.
[[nodiscard]] std::optional<ImageChannel> readImageChannel(const Mcap::TextMap& metadata);

/// From the first message of a channel that a foreign tool wrote: depth becomes camera 2, all else camera 0, with the
/// usual view. Throws as the other does.
[[nodiscard]] ImageChannel guessImageChannel(ByteSpan firstMessage);

/// Throws `RecordingError` on a message that does not fit its channel.
[[nodiscard]] std::unique_ptr<ZRImage> decodeFrame(const ImageChannel& channel, ByteSpan message);
}  // namespace ZR::Replay
