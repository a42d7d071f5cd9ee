#include "filtrix/audiobuffer.h"

#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Type
{
AudioBuffer::AudioBuffer(std::uint32_t size, std::uint32_t channels)
    : data(size, 0), channelCount(std::max(channels, 1U))
{
}

AudioBuffer::AudioBuffer(const std::int16_t* samples, std::uint32_t size, std::uint32_t channels)
    : data(samples, samples + size), channelCount(std::max(channels, 1U))
{
}

ColorImage AudioBuffer::draw() const
{
  constexpr int width = 320;
  constexpr int height = 240;
  constexpr double loudest = 32767.0;
  ColorImage image(width, height, "", capture.timestamp, 0.0F, 0.0F);
  cv::Mat& mat = image.cvMat();
  mat.setTo(cv::Scalar::all(0));
  const std::size_t samplesPerChannel = data.size() / channelCount;
  const int halfLane = height / static_cast<int>(std::min<std::uint32_t>(channelCount, height)) / 2;
  for (std::size_t i = 0; i < samplesPerChannel; ++i)
  {
    const auto x = static_cast<int>(i * width / samplesPerChannel);
    for (std::uint32_t channel = 0; channel < std::min<std::uint32_t>(channelCount, height); ++channel)
    {
      const int centre = (2 * static_cast<int>(channel) + 1) * halfLane;
      const double sample = data[i * channelCount + channel];
      const auto bar = static_cast<int>(std::lround(sample * halfLane / loudest));
      cv::line(mat, {x, centre}, {x, centre - bar}, cv::Scalar::all(255));
    }
  }
  return image;
}
}  // namespace ZR::Filtrix::Type
