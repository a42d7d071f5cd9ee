#include "platform/zrimageyuv.h"

#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "platform/zrimagechecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace ZR
{
namespace
{
// What the formula multiplies with; all over 256.
constexpr int yWeight = 298;
constexpr int blueU = 517;
constexpr int greenU = -208;
constexpr int greenV = -100;
constexpr int redV = 409;

std::uint8_t toByte(int value)
{
  return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

template <std::size_t red, std::size_t green, std::size_t blue>
void toColor(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* color)
{
  for (; pairs > 0; --pairs, yuv += 4)
  {
    const int d = yuv[1] - 128;
    const int e = yuv[3] - 128;
    for (const int y : {int{yuv[0]}, int{yuv[2]}})
    {
      const int c = yWeight * (y - 16);
      color[blue] = toByte((c + blueU * d) >> 8);
      color[green] = toByte((c + greenU * d + greenV * e) >> 8);
      color[red] = toByte((c + redV * e) >> 8);
      color += 3;
    }
  }
}

struct Yuv
{
  double y;
  double u;
  double v;
};

// The formula solved for Y, U and V. With d = (256 B - c) / 517 and e = (256 R - c) / 409 put into the line of G, only
// c is unknown there. The formula rounds down, so a byte stands for the half above it.
Yuv toYuv(const std::uint8_t* bgr)
{
  constexpr double u = static_cast<double>(greenU) / blueU;
  constexpr double v = static_cast<double>(greenV) / redV;
  const double blue = 256 * (bgr[0] + 0.5);
  const double green = 256 * (bgr[1] + 0.5);
  const double red = 256 * (bgr[2] + 0.5);
  const double c = (green - u * blue - v * red) / (1 - u - v);
  return {16 + c / yWeight, 128 + (blue - c) / blueU, 128 + (red - c) / redV};
}

std::uint8_t roundToByte(double value)
{
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

void bgrToYuv422(const std::uint8_t* bgr, std::size_t pairs, std::uint8_t* yuv)
{
  for (; pairs > 0; --pairs, bgr += 6, yuv += 4)
  {
    const Yuv a = toYuv(bgr);
    const Yuv b = toYuv(bgr + 3);
    yuv[0] = roundToByte(a.y);
    yuv[1] = roundToByte((a.u + b.u) / 2);
    yuv[2] = roundToByte(b.y);
    yuv[3] = roundToByte((a.v + b.v) / 2);
  }
}

void toThreePlanes(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* planes)
{
  std::uint8_t* y = planes;
  std::uint8_t* u = y + 2 * pairs;
  std::uint8_t* v = u + 2 * pairs;
  for (; pairs > 0; --pairs, yuv += 4, y += 2, u += 2, v += 2)
  {
    y[0] = yuv[0];
    y[1] = yuv[2];
    u[0] = u[1] = yuv[1];
    v[0] = v[1] = yuv[3];
  }
}

void toPlanesWithHalfColor(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* planes)
{
  std::uint8_t* y = planes;
  std::uint8_t* u = y + 2 * pairs;
  std::uint8_t* v = u + pairs;
  for (; pairs > 0; --pairs, yuv += 4, y += 2)
  {
    y[0] = yuv[0];
    y[1] = yuv[2];
    *u++ = yuv[1];
    *v++ = yuv[3];
  }
}
}  // namespace

void yuv422ToBgr(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* bgr)
{
  toColor<2, 1, 0>(yuv, pairs, bgr);
}

void yuv422ToRgb(const std::uint8_t* yuv, std::size_t pairs, std::uint8_t* rgb)
{
  toColor<0, 1, 2>(yuv, pairs, rgb);
}

bool ZRImage::computeBGRimageFromYUV422(const ZRImage& input)
{
  return _convert(input, ColorSpace::yuv422, ColorSpace::bgr, yuv422ToBgr);
}

bool ZRImage::computeYUV422imageFromBGR(const ZRImage& input)
{
  return _convert(input, ColorSpace::bgr, ColorSpace::yuv422, bgrToYuv422);
}

bool ZRImage::computeYYYUUUVVVimageFromYUV422(const ZRImage& input)
{
  return _convert(input, ColorSpace::yuv422, ColorSpace::planarYuv444, toThreePlanes);
}

bool ZRImage::computeYYYYUUVVimageFromYUV422(const ZRImage& input)
{
  return _convert(input, ColorSpace::yuv422, ColorSpace::planarYuv422, toPlanesWithHalfColor);
}

bool ZRImage::_convert(const ZRImage& input, int from, int to, Conversion conversion)
{
  const ZRImageHeader& source = input.head;
  const auto fail = [](const std::string& text)
  {
    ku::log::write(ku::log::Level::Error, zrImageLog, text);
    return false;
  };
  if (source.colorSpace != from)
    return fail(fmt::format("Input image is not a {} image.", findCameraColorSpace(from)->name));
  const std::size_t count = input.bytes().size() / static_cast<std::size_t>(source.nbLayers);
  if (count % 2 != 0)
    return fail(fmt::format("Input image has {} x {} pixels, expected pairs.", source.width, source.height));

  ZRImageHeader next = source;
  next.colorSpace = to;
  next.nbLayers = findCameraColorSpace(to)->bytesPerPixel;
  const std::string problem = problemOf(next);
  if (!problem.empty())
    return fail("Converted image: " + problem);
  if (!owned && !_hasRoomFor(next))
    return fail("External buffer not compatible.");

  if (&input != this)
  {
    _become(next);
    conversion(input.data(), count / 2, data());
    return true;
  }
  // The output would overwrite what has not been read yet.
  const std::vector<std::uint8_t> copy(input.bytes().begin(), input.bytes().end());
  _become(next);
  conversion(copy.data(), count / 2, data());
  return true;
}
}  // namespace ZR
