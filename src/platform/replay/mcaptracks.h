#pragma once

#include "platform/replay/imagechannel.h"
#include "platform/replay/mcapreader.h"
#include "platform/replay/recording.h"

#include <cstdint>
#include <map>
#include <vector>

namespace ZR::Replay
{
/// The messages that make up a track.
struct TrackMessages
{
  std::vector<McapEntry> entries;
  std::map<std::uint16_t, ImageChannel> imageChannels;  // by channel, of an image track
  bool exact = true;                                    // of a position track: the floats, not the pose
};

/// The tracks of an MCAP file.
struct McapTracks
{
  RecordingContents contents;

  // In the order of the contents' tracks.
  std::vector<TrackMessages> images;
  std::vector<TrackMessages> positions;
  std::vector<TrackMessages> audio;
};

/// Sorts a file's channels into tracks. A channel that makes no sense is logged and left out.
[[nodiscard]] McapTracks readTracks(McapReader& reader);
}  // namespace ZR::Replay
