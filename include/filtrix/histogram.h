#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ZR::Filtrix::Type
{
class ColorImage;

/// Counts or shares per bin. With several channels their bins stand interleaved: bin i of channel c is at
/// i * channels + c. At least one channel.
class Histogram final
{
public:
  /// All bins zero. `size` counts the bins of all channels. Zero channels count as one.
  explicit Histogram(std::uint32_t size, std::uint32_t channels = 1);

  /// Copies `size` values, those of all channels.
  Histogram(const float* values, std::uint32_t size, std::uint32_t channels);

  /// The bins of one channel.
  [[nodiscard]] std::uint32_t size() const noexcept { return totalSize() / channelCount; }

  /// The bins of all channels.
  [[nodiscard]] std::uint32_t totalSize() const noexcept { return static_cast<std::uint32_t>(bins.size()); }

  [[nodiscard]] std::uint32_t channels() const noexcept { return channelCount; }

  [[nodiscard]] float* values() noexcept { return bins.data(); }

  [[nodiscard]] const float* values() const noexcept { return bins.data(); }

  /// The index of the first greatest value over all channels; 0 when there is no bin.
  [[nodiscard]] std::uint32_t maxIndex() const noexcept;

  /// Over all channels, or over one; 0 when there is no bin or no such channel.
  [[nodiscard]] float maxValue() const noexcept;
  [[nodiscard]] float minValue() const noexcept;
  [[nodiscard]] float maxValue(std::uint32_t channel) const noexcept;
  [[nodiscard]] float minValue(std::uint32_t channel) const noexcept;

  /// The indices of the `count` greatest values, the greatest first; of equal ones the first.
  [[nodiscard]] std::vector<std::uint32_t> topIndices(std::uint32_t count) const;

  /// Draws bars on white, at most 640 columns wide: with three channels in red, green and blue side by side, else in
  /// black. The highest bar fills the image. The image is made anew, `height` pixels high.
  [[nodiscard]] ColorImage draw(int height = 240) const;

private:
  std::vector<float> bins;
  std::uint32_t channelCount;
};
}  // namespace ZR::Filtrix::Type
