#include "filtrix/zrimage.h"

#include "filtrix/ku/log.h"
#include "platform/zrimagechecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ZR
{
namespace
{
constexpr std::size_t itemCount = 12;
constexpr std::int64_t microsecondsPerSecond = 1'000'000;

template <typename Integer>
Integer integerAt(const ZRValue& value, std::size_t index)
{
  const std::int64_t number = value.at(index).toInteger();
  if (!std::in_range<Integer>(number))
    throw ZRValueError(fmt::format("{} is out of range", number));
  return static_cast<Integer>(number);
}

std::int64_t timestampOf(const ZRValue& value)
{
  const std::int64_t seconds = value.at(4).toInteger();
  std::int64_t time = 0;
  if (__builtin_mul_overflow(seconds, microsecondsPerSecond, &time) ||
      __builtin_add_overflow(time, value.at(5).toInteger(), &time))
    throw ZRValueError(fmt::format("{} seconds are out of range", seconds));
  return time;
}

// Throws `ZRValueError` on any item that does not fit.
ZRImageHeader headerOf(const ZRValue& value)
{
  ZRImageHeader header;
  header.width = integerAt<std::int32_t>(value, 0);
  header.height = integerAt<std::int32_t>(value, 1);
  header.nbLayers = integerAt<std::int32_t>(value, 2);
  header.colorSpace = integerAt<std::int32_t>(value, 3);
  header.timestamp = timestampOf(value);
  header.cameraId = integerAt<std::int8_t>(value, 7);
  header.angles = {value.at(8).toFloat(), value.at(9).toFloat(), value.at(10).toFloat(), value.at(11).toFloat()};

  const std::string problem = problemOf(header);
  if (!problem.empty())
    throw ZRValueError(problem);
  const std::size_t size = value.at(6).asBlob().size();
  if (size < byteCount(header))
    throw ZRValueError(fmt::format("{} bytes of pixels, expected {}", size, byteCount(header)));
  return header;
}

std::unique_ptr<ZRImage> refuse(const std::string& detail)
{
  ku::log::error("ZRImage", "ZRValue is not an image, cannot convert{}{}", detail.empty() ? "" : ": ", detail);
  return nullptr;
}
}  // namespace

ZRValue ZRImage::toZRValue() const
{
  const auto& [left, top, right, bottom] = head.angles;
  ZRValue::Array items = {head.width,
                          head.height,
                          head.nbLayers,
                          head.colorSpace,
                          head.timestamp / microsecondsPerSecond,
                          head.timestamp % microsecondsPerSecond,
                          ZRValue::Blob(bytes().begin(), bytes().end()),
                          head.cameraId,
                          left,
                          top,
                          right,
                          bottom};
  return ZRValue(std::move(items));
}

std::unique_ptr<ZRImage> ZRImage::fromZRValue(const ZRValue& value)
{
  if (!value.isArray() || value.size() < itemCount)
    return refuse({});
  try
  {
    auto image = std::make_unique<ZRImage>(headerOf(value));
    const auto to = image->bytes();
    std::copy_n(value.at(6).asBlob().begin(), to.size(), to.begin());
    return image;
  }
  catch (const ZRValueError& error)
  {
    return refuse(error.what());
  }
}
}  // namespace ZR
