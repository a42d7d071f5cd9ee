#pragma once

#include <cstddef>
#include <cstdint>

namespace ZR
{
/// Pairs of pixels, Y0 U Y1 V in four bytes, to six bytes each, by the formula of
/// `ZRImage::computeBGRimageFromYUV422`.
void yuv422ToBgr(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* bgr);
void yuv422ToRgb(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* rgb);
}  // namespace ZR
