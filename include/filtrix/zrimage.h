#pragma once

#include "filtrix/cameraformats.h"
#include "filtrix/zrvalue.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace ZR
{
/// A record cannot be made or changed as asked. The text says what was expected and what came.
class ZRImageError final : public std::invalid_argument
{
public:
  using std::invalid_argument::invalid_argument;
};

/// Where the edges of the picture lie, in radians from the camera's axis: left and top positive, right and bottom
/// negative. The starting values are those of the robot's head cameras.
struct ViewAngles
{
  float left = 0.4169222F;
  float top = 0.3209778F;
  float right = -0.4169222F;
  float bottom = -0.3209778F;

  bool operator==(const ViewAngles&) const = default;
};

/// The memory of a record's pixels. One with a deleter belongs to the record, which calls it once; one without is
/// external: it must outlive the record, which writes to it but never replaces it.
struct PixelBuffer
{
  using Deleter = std::function<void(std::uint8_t*)>;

  std::uint8_t* data = nullptr;
  std::int32_t size = 0;  ///< bytes
  Deleter deleter;
};

/// What a record is, apart from its pixels.
struct ZRImageHeader
{
  std::int32_t width = 0;       ///< pixels
  std::int32_t height = 0;      ///< pixels
  std::int32_t nbLayers = 0;    ///< bytes per pixel
  std::int32_t colorSpace = 0;  ///< one of `cameraColorSpaces()`; from a value, also any other number
  std::int64_t timestamp = 0;   ///< microseconds; what zero is, is for the camera service to say
  std::int8_t cameraId = 0;
  ViewAngles angles;

  bool operator==(const ZRImageHeader&) const = default;
};

/// A frame as the camera service hands it over, and an image as it leaves the module: pixels in the service's own
/// layout and colour space, row by row without gaps, with the time, the camera and the view.
///
/// Records are neither copied nor moved: they travel by pointer.
/// Log lines have the category "vision.zrimage", those of `fromZRValue` "ZRImage".
class ZRImage final
{
public:
  /// A black picture (all bytes zero) that owns its pixels. An unknown colour space, a negative side and a picture of
  /// more than 2^31 - 1 bytes throw `ZRImageError`.
  ZRImage(int width, int height, int colorSpace);

  /// The same by the service's number for the size, or throws `ZRImageError` "ZRImage: invalid resolution".
  ZRImage(int resolution, int colorSpace);

  /// On memory that is there. Throws as the first form does, and when the memory is too small; then the memory stays
  /// the caller's.
  ZRImage(int width, int height, int colorSpace, PixelBuffer buffer);

  /// A black picture of this description. Throws as the first form does, but takes a colour space that is not ours.
  explicit ZRImage(const ZRImageHeader& header);

  ZRImage(const ZRImage&) = delete;
  ZRImage& operator=(const ZRImage&) = delete;
  ~ZRImage();

  [[nodiscard]] const ZRImageHeader& header() const noexcept { return head; }

  [[nodiscard]] std::int32_t width() const noexcept { return head.width; }

  [[nodiscard]] std::int32_t height() const noexcept { return head.height; }

  [[nodiscard]] std::int32_t nbLayers() const noexcept { return head.nbLayers; }

  [[nodiscard]] std::int32_t colorSpace() const noexcept { return head.colorSpace; }

  [[nodiscard]] std::int64_t timestamp() const noexcept { return head.timestamp; }

  void setTimestamp(std::int64_t microseconds) noexcept { head.timestamp = microseconds; }

  [[nodiscard]] std::int8_t cameraId() const noexcept { return head.cameraId; }

  void setCameraId(std::int8_t id) noexcept { head.cameraId = id; }

  /// The service's number for the record's size, or -1 where it has none.
  [[nodiscard]] std::int32_t resolution() const noexcept;

  [[nodiscard]] const ViewAngles& angles() const noexcept { return head.angles; }

  void setAngles(const ViewAngles& angles) noexcept { head.angles = angles; }

  /// The first pixel; null only when there are no pixels.
  [[nodiscard]] std::uint8_t* data() noexcept { return pixels.get(); }

  [[nodiscard]] const std::uint8_t* data() const noexcept { return pixels.get(); }

  /// The pixels: width * height * nbLayers bytes.
  [[nodiscard]] std::span<std::uint8_t> bytes() noexcept;
  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept;

  /// The size of the memory behind the pixels, which may be more than they need.
  [[nodiscard]] std::int32_t allocatedSize() const noexcept { return allocated; }

  [[nodiscard]] bool ownsPixels() const noexcept { return owned; }

  /// Sets the colour space and its bytes per pixel, with new, zeroed memory where the old is too small; pixels are not
  /// converted. An unknown code throws "ZRImage: setColorSpace: invalid color space", and external memory that is too
  /// small throws too; the record is then as it was.
  void setColorSpace(int code);

  /// Makes room for a resolution and takes its size. An unknown code is logged and 640 by 480 assumed. External memory
  /// that is too small throws `ZRImageError`.
  void reallocateDataSize(int code);

  /// For a person: one line a member.
  [[nodiscard]] std::string dump() const;

  /// The form in which an image leaves the module: an array of width, height, nbLayers, colour space, seconds,
  /// microseconds, pixels (a blob), camera, and the left, top, right and bottom angle.
  [[nodiscard]] ZRValue toZRValue() const;

  /// Reads that form into a new record. Anything else is logged, and the result is null. Items beyond the twelve are
  /// passed over. Extra bytes behind the pixels are allowed, a colour space that is not ours too, but not one of ours
  /// with another number of layers.
  [[nodiscard]] static std::unique_ptr<ZRImage> fromZRValue(const ZRValue& value);

  /// Reads a `.zri` file, little-endian:
  ///
  /// | Offset | Bytes | Field                                                                             |
  /// |--------|-------|-----------------------------------------------------------------------------------|
  /// | 0      | 4     | "0IRZ" for version 0, "1IRZ" for version 1                                        |
  /// | 4      | 4 x 4 | width, height, nbLayers, colour space                                             |
  /// | 20     | 8     | time stamp                                                                        |
  /// | 28     | 4     | camera                                                                            |
  /// | 32     | 4 x 4 | version 1 only: left, top, right, bottom angle; else those of a new `ViewAngles`  |
  /// | then   |       | the pixels                                                                        |
  ///
  /// A record that owns its pixels takes any size; one on external memory only its own. A colour space that is not ours
  /// and angles that are not finite are refused; bytes behind the pixels are passed over. Failures are logged and
  /// return false, the record as it was, but that a file that breaks off while it is read may leave part of its pixels.
  /// No memory is taken for pixels that the file does not have.
  bool readFile(const std::filesystem::path& path);

  /// Reads the same from memory.
  bool readMemory(std::span<const std::uint8_t> file);

  /// Writes a `.zri` file of version 1. What `readFile` would refuse is not written. Failures are logged and return
  /// false, an earlier file as it was.
  [[nodiscard]] bool writeFile(const std::filesystem::path& path) const;

  /// Writes a PPM file: YUV422 as RGB, one layer as gray, three layers as they stand. Other pixels cannot be written.
  /// Failures are logged and return false.
  [[nodiscard]] bool writePpm(const std::filesystem::path& path) const;

  /// Makes this record the input in other pixels, with the input's time, camera and view. The input may be this record,
  /// but another record's memory must not overlap ours. An input of another colour space, one with an odd number of
  /// pixels, and external memory that is too small are logged and return false, and nothing has changed.
  ///
  /// In integers, with c = 298 (Y - 16), d = U - 128 and e = V - 128:
  /// B = (c + 517 d) / 256, G = (c - 208 d - 100 e) / 256, R = (c + 409 e) / 256, rounded down and clipped to a byte.
  bool computeBGRimageFromYUV422(const ZRImage& input);

  /// The inverse of that; the two pixels of a pair share the mean of their U and V.
  bool computeYUV422imageFromBGR(const ZRImage& input);

  /// To a plane each of Y, U and V: both pixels of a pair get its U and V.
  bool computeYYYUUUVVVimageFromYUV422(const ZRImage& input);

  /// To a plane of Y and half-sized planes of U and V.
  bool computeYYYYUUVVimageFromYUV422(const ZRImage& input);

private:
  using Pixels = std::unique_ptr<std::uint8_t[], PixelBuffer::Deleter>;
  using Read = std::function<bool(std::span<std::uint8_t>)>;
  using Conversion = void (*)(const std::uint8_t* from, std::size_t pairs, std::uint8_t* to);

  static Pixels _allocate(std::size_t bytes);
  [[nodiscard]] bool _hasRoomFor(const ZRImageHeader& next) const;
  void _become(const ZRImageHeader& next);
  bool _take(const ZRImageHeader& next, const Read& readPixels);
  bool _convert(const ZRImage& input, int from, int to, Conversion conversion);

  ZRImageHeader head;
  std::int32_t allocated = 0;
  bool owned = true;
  Pixels pixels;  // null only when there are none
};
}  // namespace ZR
