#pragma once

#include "filtrix/zrimage.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace ZR
{
/// A record of random pixels, with a header that differs from a new one's in every field.
inline std::unique_ptr<ZRImage> randomImage(int width, int height, int colorSpace, unsigned seed = 1)
{
  auto image = std::make_unique<ZRImage>(width, height, colorSpace);
  image->setTimestamp(1'234'567'890'123);
  image->setCameraId(2);
  image->setAngles({0.5F, 0.25F, -0.125F, -0.75F});
  std::mt19937 random(seed);
  std::ranges::generate(image->bytes(), [&] { return static_cast<std::uint8_t>(random()); });
  return image;
}

inline std::vector<std::uint8_t> pixelsOf(const ZRImage& image)
{
  return {image.bytes().begin(), image.bytes().end()};
}
}  // namespace ZR
