#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace ZR::Capture
{
/// A sound file that is read from its beginning to its end.
class SoundFile final
{
public:
  /// Throws `CaptureError` when it cannot be read as a sound.
  explicit SoundFile(const std::filesystem::path& path);

  [[nodiscard]] int sampleRate() const { return description.samplerate; }

  [[nodiscard]] int channels() const { return description.channels; }

  /// So many samples of every channel, in turn; fewer at the end.
  [[nodiscard]] std::vector<std::int16_t> read(int samplesPerChannel);

  /// Back to the beginning.
  void rewind();

private:
  struct Close
  {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
  };

  SF_INFO description{};
  std::unique_ptr<SNDFILE, Close> file;
};
}  // namespace ZR::Capture
