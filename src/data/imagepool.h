#pragma once

#include <opencv2/core/mat.hpp>

namespace ZR::Filtrix
{
/// A matrix whose memory comes from a pool by size and goes back to it when the last header on it ends, on whichever
/// thread: fresh memory pages cost many times what a pixel loop does. The pixels are not set. Give such a matrix as the
/// output of an OpenCV function of the same size and type, which then writes into it. Thread-safe.
[[nodiscard]] cv::Mat makePooledMat(int rows, int cols, int type);
}  // namespace ZR::Filtrix
