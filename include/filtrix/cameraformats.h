#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace ZR
{
/// A size of picture that the camera service knows by a number.
struct CameraResolution
{
  std::string_view word;  ///< how programs name it; empty for a stereo pair, which no program names
  int code;
  int width;   ///< pixels
  int height;  ///< pixels
  int eye;     ///< of a stereo pair, the code of each of its two halves, left and right; else `noEye`

  static constexpr int noEye = -1;
};

/// A way to store a pixel that the camera service knows by a number.
struct CameraColorSpace
{
  int code;
  std::string_view name;
  int bytesPerPixel;
  int channels;
};

/// The colour spaces that code refers to by name.
namespace ColorSpace
{
inline constexpr int gray = 0;       ///< one byte of brightness
inline constexpr int yuv422 = 9;     ///< Y0 U Y1 V: two pixels in four bytes
inline constexpr int rgb = 11;       ///< bytes red, green, blue
inline constexpr int bgr = 13;       ///< bytes blue, green, red
inline constexpr int depth = 17;     ///< 16 bits: millimetres along the camera's axis
inline constexpr int xyz = 19;       ///< three 32-bit floats, metres
inline constexpr int infrared = 20;  ///< 16 bits of brightness
inline constexpr int distance = 21;  ///< 16 bits: millimetres from the camera

/// Our own, far from the camera service's numbers, for records that no camera makes.
inline constexpr int label = 100;         ///< a signed 32-bit number
inline constexpr int planarYuv444 = 101;  ///< a plane each of Y, U and V
inline constexpr int planarYuv422 = 102;  ///< a plane of Y, then U and V with one byte for every two pixels
}  // namespace ColorSpace

[[nodiscard]] std::span<const CameraResolution> cameraResolutions() noexcept;
[[nodiscard]] std::span<const CameraColorSpace> cameraColorSpaces() noexcept;

/// The row of a code, or null.
[[nodiscard]] const CameraResolution* findCameraResolution(int code) noexcept;
[[nodiscard]] const CameraColorSpace* findCameraColorSpace(int code) noexcept;

/// The row of this size, or null.
[[nodiscard]] const CameraResolution* findCameraResolution(int width, int height) noexcept;

/// How programs name a resolution, "QVGA"; "unknown" for a code that has no word.
[[nodiscard]] std::string_view resolutionWord(int code) noexcept;

/// The code of two pictures of this resolution side by side, nothing where there is none.
[[nodiscard]] std::optional<int> stereoResolution(int eye) noexcept;
}  // namespace ZR
