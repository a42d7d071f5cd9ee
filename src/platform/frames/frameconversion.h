#pragma once

#include "filtrix/zrimage.h"

#include <memory>

namespace ZR
{
/// The frames that a subscription asks for.
struct FrameFormat
{
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  int colorSpace = 0;

  bool operator==(const FrameFormat&) const = default;
};

/// By the camera service's numbers. An unknown one throws std::invalid_argument.
[[nodiscard]] FrameFormat frameFormat(int resolution, int colorSpace);

/// True within the colours (gray, RGB, BGR, YUV422), and from a colour space to itself, and between depth and distance.
[[nodiscard]] bool canConvert(int fromColorSpace, int toColorSpace);

/// The same picture in another size and colour space, with the time, the camera and the view. Colours are averaged over
/// the area that a pixel covers; of depth the nearest pixel is taken, since the mean of a near and a far thing is
/// neither. Throws std::invalid_argument where `canConvert` is false.
[[nodiscard]] std::unique_ptr<ZRImage> convertFrame(const ZRImage& frame, const FrameFormat& to);
}  // namespace ZR
