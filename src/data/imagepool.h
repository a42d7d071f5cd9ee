#pragma once

#include <opencv2/core/mat.hpp>

#include <cstddef>

namespace ZR::Filtrix
{
/// A matrix whose memory comes from a pool by size and goes back to it when the last header on it ends, on whichever
/// thread: fresh memory pages cost many times what a pixel loop does. The pixels are not set. Give such a matrix as the
/// output of an OpenCV function of the same size and type, which then writes into it. Thread-safe.
[[nodiscard]] cv::Mat makePooledMat(int rows, int cols, int type);

/// The pool keeps at most so many bytes for reuse; what has waited longest goes first.
inline constexpr std::size_t imagePoolLimit = std::size_t{64} << 20;

/// How many bytes the pool keeps for reuse; those of living matrices are not among them. Thread-safe.
[[nodiscard]] std::size_t imagePoolBytes();
}  // namespace ZR::Filtrix
