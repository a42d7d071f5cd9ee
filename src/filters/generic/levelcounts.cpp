#include "filters/generic/levelcounts.h"

#include <algorithm>
#include <array>
#include <functional>

namespace ZR::Filtrix::Filters
{
namespace
{
// Neighbours are counted in different tables: equal ones in a row would wait for one another's sum to be stored.
template <int channels, int tables>
std::vector<std::uint32_t> count(const cv::Mat& image)
{
  using Table = std::array<std::uint32_t, static_cast<std::size_t>(levelCount * channels)>;
  std::array<Table, tables> counts{};
  const auto countPixel = [](Table& table, const std::uint8_t* pixel)
  {
    for (int channel = 0; channel < channels; ++channel)
      ++table[static_cast<std::size_t>(pixel[channel] * channels + channel)];
  };
  for (int y = 0; y < image.rows; ++y)
  {
    const auto* pixel = image.ptr<std::uint8_t>(y);
    int x = 0;
    for (; x + tables <= image.cols; x += tables)
    {
      for (Table& table : counts)
      {
        countPixel(table, pixel);
        pixel += channels;
      }
    }
    for (; x < image.cols; ++x, pixel += channels)
      countPixel(counts[0], pixel);
  }

  std::vector<std::uint32_t> sums(counts[0].size());
  for (const Table& table : counts)
    std::ranges::transform(sums, table, sums.begin(), std::plus<>());
  return sums;
}
}  // namespace

std::vector<std::uint32_t> countLevels(const cv::Mat& image)
{
  return image.channels() == 3 ? count<3, 2>(image) : count<1, 4>(image);
}
}  // namespace ZR::Filtrix::Filters
