#include "sources/vision/zrimagetocvmat.h"

#include "filtrix/cameraformats.h"

#include <fmt/format.h>

#include <cstddef>
#include <stdexcept>

namespace vision
{
namespace
{
[[noreturn]] void fail(const std::string& text)
{
  throw std::runtime_error("ZRVision::zrImageToCvMat: " + text);
}

int matTypeOf(int colorSpace)
{
  const ZR::CameraColorSpace* const row = ZR::findCameraColorSpace(colorSpace);
  if (row == nullptr)
    fail(fmt::format("Color space \"{}\" not supported", colorSpace));
  const int depth = row->bytesPerPixel / row->channels;
  switch (depth)
  {
  case 1:
    return CV_8UC(row->channels);
  case 2:
    return CV_16UC(row->channels);
  case 4:
    return CV_32FC(row->channels);
  default:
    fail(fmt::format("Depth \"{}\" not supported", depth));
  }
}
}  // namespace

cv::Mat zrImageToCvMat(const ZR::ZRImage& record, int type)
{
  const int matType = type == -1 ? matTypeOf(record.colorSpace()) : type;
  const std::size_t expected = static_cast<std::size_t>(record.width()) * static_cast<std::size_t>(record.height()) *
                               static_cast<std::size_t>(CV_ELEM_SIZE(matType));
  if (record.bytes().size() < expected)
    fail(fmt::format("expected at least {} bytes of pixels for {} x {}, came {}", expected, record.width(),
                     record.height(), record.bytes().size()));
  return cv::Mat(record.height(), record.width(), matType, const_cast<std::uint8_t*>(record.data()));
}
}  // namespace vision
