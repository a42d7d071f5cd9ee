#pragma once

#include "data/imagepool.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <string_view>

/// What the filters that compute pixel by pixel share. Rows are walked one by one: a matrix may be a part of a larger
/// one.
namespace ZR::Filtrix::Filters
{
/// Throws cv::Exception unless the two have the same width and height. For OpenCV itself a single pixel would pass as a
/// number, and an empty mask as none.
void requireSameSize(std::string_view filter, const cv::Mat& left, const cv::Mat& right);

#ifdef __x86_64__
template <typename Kernel, typename... Args>
[[gnu::target("avx2")]] void runOnAvx2(const Kernel& kernel, Args... args)
{
  kernel(args...);
}

inline const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0;
#endif

/// Runs `kernel(args...)`, a plain loop, on the widest vector registers that this processor has: the compiler
/// vectorises it for each kind. To be compiled anew here, its call operator must be marked [[gnu::always_inline]].
template <typename Kernel, typename... Args>
void runVectorized(const Kernel& kernel, Args... args)
{
#ifdef __x86_64__
  if (hasAvx2)
    return runOnAvx2(kernel, args...);
#endif
  kernel(args...);
}

/// A matrix of one channel, made row by row with `kernel(in, out, pixels)`. Elements are 8 bits wide on both sides.
template <typename Kernel>
[[nodiscard]] cv::Mat mapPixels(const cv::Mat& image, const Kernel& kernel)
{
  cv::Mat result = makePooledMat(image.rows, image.cols, CV_8UC1);
  for (int y = 0; y < image.rows; ++y)
    runVectorized(kernel, image.ptr<std::uint8_t>(y), result.ptr<std::uint8_t>(y), image.cols);
  return result;
}
}  // namespace ZR::Filtrix::Filters
