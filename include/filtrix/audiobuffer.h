#pragma once

#include "filtrix/time.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ZR::Filtrix::Type
{
class ColorImage;

/// A stretch of sound: signed 16-bit samples, those of several channels interleaved. At least one channel.
class AudioBuffer final
{
public:
  /// What the source that captured the sound knows of it.
  struct Capture
  {
    Time timestamp;                         ///< of the first sample
    std::uint32_t sampleRate = 0;           ///< samples per second and channel, in hertz; 0 for unknown
    std::vector<std::string> channelNames;  ///< such as "front left", in the order of the channels

    bool operator==(const Capture&) const = default;
  };

  /// Silence. `size` counts the samples of all channels. Zero channels count as one.
  explicit AudioBuffer(std::uint32_t size, std::uint32_t channels = 1);

  /// Copies `size` samples, those of all channels.
  AudioBuffer(const std::int16_t* samples, std::uint32_t size, std::uint32_t channels);

  /// The samples of all channels.
  [[nodiscard]] std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(data.size()); }

  [[nodiscard]] std::uint32_t channels() const noexcept { return channelCount; }

  [[nodiscard]] std::int16_t* samples() noexcept { return data.data(); }

  [[nodiscard]] const std::int16_t* samples() const noexcept { return data.data(); }

  /// Draws the sound on black, 320 by 240: a lane per channel, one above the other, with a white bar from the lane's
  /// centre for each sample.
  [[nodiscard]] ColorImage draw() const;

  Capture capture;

private:
  std::vector<std::int16_t> data;
  std::uint32_t channelCount;
};
}  // namespace ZR::Filtrix::Type
