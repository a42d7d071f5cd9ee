#pragma once

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <vector>

namespace ZR::Filtrix::Filters
{
inline constexpr int levelCount = 256;

/// How often each value stands in each channel of an image of bytes with one or three channels. The count of value i of
/// channel c is at i * channels + c.
[[nodiscard]] std::vector<std::uint32_t> countLevels(const cv::Mat& image);
}  // namespace ZR::Filtrix::Filters
