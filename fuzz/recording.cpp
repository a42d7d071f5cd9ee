// Opens arbitrary bytes as a recording and plays all that it claims to hold. A damaged part gives an error of its own;
// nothing may ask for more memory than the limit, nor lie outside of what the contents tell.

#include "platform/replay/recording.h"
#include "filtrix/ku/log.h"
#include "inputfile.h"
#include "platform/replay/mcapreader.h"
#include "platform/replay/recordingerror.h"
#include "platform/replay/recordinginfo.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace ZR::Replay;

namespace
{
constexpr std::size_t mostItems = 8;

// Reads the first items of a track, which rise in time.
template <typename Read>
void play(const std::vector<Nanoseconds>& times, Read read)
{
  if (!std::is_sorted(times.begin(), times.end()))
    std::abort();
  for (std::size_t item = 0; item < std::min(times.size(), mostItems); ++item)
  {
    try
    {
      read(item);
    }
    catch (const RecordingError&)
    {
      continue;
    }
  }
}

void playAll(Recording& recording)
{
  const RecordingContents& contents = recording.contents();
  for (std::size_t track = 0; track < contents.images.size(); ++track)
    play(contents.images[track].times,
         [&](std::size_t item)
         {
           if (!recording.image(track, item))
             std::abort();
         });
  for (std::size_t track = 0; track < contents.positions.size(); ++track)
    play(contents.positions[track].times,
         [&](std::size_t item) { static_cast<void>(recording.position(track, item)); });
  for (std::size_t track = 0; track < contents.audio.size(); ++track)
    play(contents.audio[track].times,
         [&](std::size_t item)
         {
           if (!recording.audio(track, item))
             std::abort();
         });
}

void readAttachments(const std::filesystem::path& path)
{
  McapReader reader(path, {std::uint64_t{1} << 20U, 2});
  for (const auto& attachment : reader.attachments())
  {
    try
    {
      static_cast<void>(reader.attachment(attachment));
    }
    catch (const RecordingError&)
    {
      continue;
    }
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const ku::log::Capture log(ku::log::Level::Fatal);
  const ZR::Fuzz::InputFile file(data, size);
  try
  {
    readAttachments(file.path());
    playAll(*openMcapRecording(file.path()));
    if (toText(info(file.path())).empty())
      std::abort();
  }
  catch (const RecordingError&)
  {
    return 0;
  }
  return 0;
}
