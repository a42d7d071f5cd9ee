#include "filtrix/zrimage.h"

#include "filtrix/ku/log.h"
#include "platform/zrimagechecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace ZR
{
namespace
{
constexpr std::int64_t maxBytes = std::numeric_limits<std::int32_t>::max();

int layersOf(int colorSpace)
{
  const CameraColorSpace* const row = findCameraColorSpace(colorSpace);
  if (row == nullptr)
    throw ZRImageError("ZRImage: setColorSpace: invalid color space");
  return row->bytesPerPixel;
}

ZRImageHeader describe(int width, int height, int colorSpace)
{
  ZRImageHeader header;
  header.width = width;
  header.height = height;
  header.colorSpace = colorSpace;
  header.nbLayers = layersOf(colorSpace);
  return header;
}

ZRImageHeader describe(int resolution, int colorSpace)
{
  const CameraResolution* const row = findCameraResolution(resolution);
  if (row == nullptr)
    throw ZRImageError("ZRImage: invalid resolution");
  return describe(row->width, row->height, colorSpace);
}

void require(const ZRImageHeader& header)
{
  const std::string problem = problemOf(header);
  if (!problem.empty())
    throw ZRImageError("ZRImage: " + problem);
}

void keep(std::uint8_t*) {}

std::string firstPixel(const ZRImage& image)
{
  const auto bytes = image.bytes();
  if (bytes.empty())
    return "none";
  const auto size = std::min<std::size_t>(bytes.size(), static_cast<std::size_t>(image.nbLayers()));
  return fmt::format("{}", fmt::join(bytes.first(size), " "));
}
}  // namespace

std::string problemOf(const ZRImageHeader& header)
{
  const auto& [width, height, layers, colorSpace, time, camera, angles] = header;
  if (width < 0 || height < 0)
    return fmt::format("{} x {} pixels, expected no negative side", width, height);
  if (layers < 1)
    return fmt::format("{} bytes per pixel, expected 1 or more", layers);
  if (width > 0 && height > 0 && std::int64_t{width} * height > maxBytes / layers)
    return fmt::format("{} x {} pixels of {} bytes, expected at most {} bytes", width, height, layers, maxBytes);
  const CameraColorSpace* const row = findCameraColorSpace(colorSpace);
  if (row != nullptr && row->bytesPerPixel != layers)
    return fmt::format("{} bytes per pixel, expected {} for color space {} ({})", layers, row->bytesPerPixel,
                       colorSpace, row->name);
  return {};
}

std::size_t byteCount(const ZRImageHeader& header) noexcept
{
  return static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.height) *
         static_cast<std::size_t>(header.nbLayers);
}

ZRImage::ZRImage(int width, int height, int colorSpace) : ZRImage(describe(width, height, colorSpace)) {}

ZRImage::ZRImage(int resolution, int colorSpace) : ZRImage(describe(resolution, colorSpace)) {}

ZRImage::ZRImage(const ZRImageHeader& header) : head(header)
{
  require(head);
  const std::size_t size = byteCount(head);
  pixels = _allocate(size);
  allocated = static_cast<std::int32_t>(size);
}

ZRImage::ZRImage(int width, int height, int colorSpace, PixelBuffer buffer)
    : head(describe(width, height, colorSpace)), allocated(buffer.size), owned(buffer.deleter != nullptr)
{
  require(head);
  if (!_hasRoomFor(head) || (buffer.data == nullptr && byteCount(head) > 0))
    throw ZRImageError(fmt::format("ZRImage: {} buffer of {} bytes, expected {} or more",
                                   buffer.data == nullptr ? "null" : "external", buffer.size, byteCount(head)));
  pixels = Pixels(buffer.data, owned ? std::move(buffer.deleter) : PixelBuffer::Deleter(keep));
}

ZRImage::~ZRImage() = default;

std::int32_t ZRImage::resolution() const noexcept
{
  const CameraResolution* const row = findCameraResolution(head.width, head.height);
  return row == nullptr ? -1 : row->code;
}

std::span<std::uint8_t> ZRImage::bytes() noexcept
{
  return {pixels.get(), byteCount(head)};
}

std::span<const std::uint8_t> ZRImage::bytes() const noexcept
{
  return {pixels.get(), byteCount(head)};
}

void ZRImage::setColorSpace(int code)
{
  ZRImageHeader next = head;
  next.nbLayers = layersOf(code);
  next.colorSpace = code;
  _become(next);
}

void ZRImage::reallocateDataSize(int code)
{
  const CameraResolution* row = findCameraResolution(code);
  if (row == nullptr)
    ku::log::warning(zrImageLog, "ZRImage: reallocateDataSize: Weird resolution #{}", code);
  ZRImageHeader next = head;
  next.width = row == nullptr ? 640 : row->width;
  next.height = row == nullptr ? 480 : row->height;
  _become(next);
}

std::string ZRImage::dump() const
{
  std::string text;
  const auto line = [&](const char* label, const auto& value)
  { fmt::format_to(std::back_inserter(text), "{:<14}: {}\n", label, value); };
  line("this", fmt::ptr(this));
  line("Width", head.width);
  line("Height", head.height);
  line("NbLayers", head.nbLayers);
  line("ColorSpace", head.colorSpace);
  line("TimeStamp", head.timestamp);
  line("CameraID", int{head.cameraId});
  line("Left angle", head.angles.left);
  line("Top angle", head.angles.top);
  line("Right angle", head.angles.right);
  line("Bottom angle", head.angles.bottom);
  line("Frame", fmt::ptr(data()));
  line("FirstPixel", firstPixel(*this));
  line("AllocatedSize", allocated);
  return text;
}

ZRImage::Pixels ZRImage::_allocate(std::size_t bytes)
{
  if (bytes == 0)
    return {nullptr, std::default_delete<std::uint8_t[]>()};
  return {std::make_unique<std::uint8_t[]>(bytes).release(), std::default_delete<std::uint8_t[]>()};
}

bool ZRImage::_hasRoomFor(const ZRImageHeader& next) const
{
  return allocated >= 0 && byteCount(next) <= static_cast<std::size_t>(allocated);
}

// Takes the description, with new memory where the old is too small.
void ZRImage::_become(const ZRImageHeader& next)
{
  require(next);
  if (!_hasRoomFor(next))
  {
    const std::size_t size = byteCount(next);
    if (!owned)
      throw ZRImageError(fmt::format("ZRImage: external buffer of {} bytes, expected {} or more", allocated, size));
    pixels = _allocate(size);
    allocated = static_cast<std::int32_t>(size);
  }
  head = next;
}

// Takes the description and pixels of another record that is read in; of new memory when the layout differs, so that a
// failure leaves this one as it was.
bool ZRImage::_take(const ZRImageHeader& next, const Read& readPixels)
{
  const bool sameLayout = next.width == head.width && next.height == head.height && next.nbLayers == head.nbLayers;
  if (sameLayout)
  {
    if (!readPixels(bytes()))
      return false;
    head = next;
    return true;
  }

  if (!owned)
  {
    ku::log::error(zrImageLog, "readFile: external buffer not compatible.");
    return false;
  }
  const std::size_t size = byteCount(next);
  Pixels fresh = _allocate(size);
  if (!readPixels({fresh.get(), size}))
    return false;
  pixels = std::move(fresh);
  allocated = static_cast<std::int32_t>(size);
  head = next;
  return true;
}
}  // namespace ZR
