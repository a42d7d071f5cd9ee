// Reads arbitrary bytes as a .zri file. What is accepted must have exactly the pixels that the file has, and its value
// form must be read back as the same record.

#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>

using ZR::ZRImage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const ku::log::Capture quiet(ku::log::Level::Fatal);
  ku::log::setLevel("", ku::log::Level::Fatal);
  const std::span file(data, size);

  std::array<std::uint8_t, 16> memory{};
  ZRImage external(2, 2, ZR::ColorSpace::rgb, {memory.data(), 16, {}});
  external.readMemory(file);

  ZRImage image(1, 1, ZR::ColorSpace::gray);
  if (!image.readMemory(file))
    return 0;
  const auto pixels = image.bytes();
  const std::size_t head = data[0] == '0' ? 32 : 48;
  if (pixels.size() > size - head || !std::equal(pixels.begin(), pixels.end(), data + head))
    std::abort();
  const auto again = ZRImage::fromZRValue(image.toZRValue());
  if (!again || !std::ranges::equal(again->bytes(), pixels) || image.dump().empty())
    std::abort();

  ZRImage converted(1, 1, ZR::ColorSpace::gray);
  if (converted.computeBGRimageFromYUV422(image) && !converted.computeYUV422imageFromBGR(converted))
    std::abort();
  return 0;
}
