#include "filtrix/histogram.h"

#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ZR::Filtrix::Type
{
namespace
{
/// A drawing is at most so wide, in pixels.
constexpr std::uint32_t widestDrawing = 640;
}  // namespace

Histogram::Histogram(std::uint32_t size, std::uint32_t channels)
    : bins(size, 0.0F), channelCount(std::max(channels, 1U))
{
}

Histogram::Histogram(const float* values, std::uint32_t size, std::uint32_t channels)
    : bins(values, values + size), channelCount(std::max(channels, 1U))
{
}

std::uint32_t Histogram::maxIndex() const noexcept
{
  return static_cast<std::uint32_t>(std::ranges::max_element(bins) - bins.begin());
}

float Histogram::maxValue() const noexcept
{
  return bins.empty() ? 0.0F : *std::ranges::max_element(bins);
}

float Histogram::minValue() const noexcept
{
  return bins.empty() ? 0.0F : *std::ranges::min_element(bins);
}

float Histogram::maxValue(std::uint32_t channel) const noexcept
{
  if (channel >= channelCount || channel >= bins.size())
    return 0.0F;
  float greatest = bins[channel];
  for (std::size_t i = channel; i < bins.size(); i += channelCount)
    greatest = std::max(greatest, bins[i]);
  return greatest;
}

float Histogram::minValue(std::uint32_t channel) const noexcept
{
  if (channel >= channelCount || channel >= bins.size())
    return 0.0F;
  float least = bins[channel];
  for (std::size_t i = channel; i < bins.size(); i += channelCount)
    least = std::min(least, bins[i]);
  return least;
}

std::vector<std::uint32_t> Histogram::topIndices(std::uint32_t count) const
{
  count = std::min(count, totalSize());
  if (count == 1)
    return {maxIndex()};
  std::vector<std::uint32_t> indices(bins.size());
  std::iota(indices.begin(), indices.end(), 0U);
  const auto end = indices.begin() + count;
  // NaN counts as the least there is: an order that it took part in would be none.
  const auto rank = [this](std::uint32_t i) { return std::isnan(bins[i]) ? -INFINITY : bins[i]; };
  std::partial_sort(indices.begin(), end, indices.end(),
                    [&](std::uint32_t a, std::uint32_t b)
                    { return rank(a) > rank(b) || (rank(a) == rank(b) && a < b); });
  indices.erase(end, indices.end());
  return indices;
}

ColorImage Histogram::draw(int height) const
{
  // As many bins share a column, in powers of two, as it takes to stay within the width.
  std::uint32_t binsPerColumn = 1;
  while (totalSize() / binsPerColumn > widestDrawing)
    binsPerColumn *= 2;
  const auto width = static_cast<int>(std::max(totalSize() / binsPerColumn, 1U));
  ColorImage image(width, std::max(height, 1), "", Time(), 0.0F, 0.0F);
  cv::Mat& mat = image.cvMat();
  mat.setTo(cv::Scalar::all(255));
  const float greatest = maxValue();
  if (!(greatest > 0.0F) || !std::isfinite(greatest))
    return image;
  for (std::uint32_t i = 0; i < totalSize(); ++i)
  {
    const float share = std::isfinite(bins[i]) ? std::clamp(bins[i] / greatest, 0.0F, 1.0F) : 0.0F;
    const auto length = static_cast<int>(std::lround(share * static_cast<float>(mat.rows)));
    const auto x = std::min(static_cast<int>(i / binsPerColumn), width - 1);
    if (length == 0)
      continue;
    cv::Scalar color = cv::Scalar::all(0);
    if (channelCount == 3)
      color[static_cast<int>(i % 3)] = 255;
    cv::line(mat, {x, mat.rows - length}, {x, mat.rows - 1}, color);
  }
  return image;
}
}  // namespace ZR::Filtrix::Type
