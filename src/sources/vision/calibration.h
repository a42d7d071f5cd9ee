#pragma once

#include <opencv2/core/mat.hpp>

#include <filesystem>

namespace vision
{
/// What is known of one camera of a pair: its optics, and how its pictures are turned and projected so that the rows of
/// both cameras meet. The names are those of OpenCV's camera model, and its `stereoRectify` makes the last two.
///
/// Lives in a YAML file under the members' names. Log category "vision.calibration".
class Calibration final
{
public:
  Calibration() = default;

  /// A copy has matrices of its own.
  Calibration(const Calibration& other);
  Calibration& operator=(const Calibration& other);
  Calibration(Calibration&&) noexcept = default;
  Calibration& operator=(Calibration&&) noexcept = default;
  ~Calibration() = default;

  /// Reads a file. Whatever is wrong with it is logged and thrown as a std::exception that says what was expected and
  /// what came, and the calibration is as it was: a file that cannot be opened ("Invalid calibration file:"), is larger
  /// than 1 MiB or nested deeper than 32, sides that are not from 1 to 16384 pixels, a matrix that is missing, has
  /// another shape or type than below, a number that is not finite, or a whole one beyond 32 bits.
  void load(const std::filesystem::path& path);

  /// Writes a file that `load` gives back number by number. A failure, such as a full disk, is logged and thrown
  /// likewise, and an earlier file is as it was.
  void save(const std::filesystem::path& path) const;

  /// The calibration of the same camera at another resolution: focal lengths, centre and baseline are scaled. Throws
  /// std::invalid_argument when the aspect ratio is another one, or a side is not from 1 to 16384 pixels.
  [[nodiscard]] Calibration scaleTo(int newWidth, int newHeight) const;

  [[nodiscard]] cv::Size size() const noexcept { return {width, height}; }

  int width = 0;                ///< pixels
  int height = 0;               ///< pixels
  cv::Mat cameraMatrix;         ///< 3 x 3, 32-bit floats: focal lengths and centre, in pixels
  cv::Mat distortion;           ///< 4, 5, 8, 12 or 14 coefficients in a row or a column, 32-bit or 64-bit floats
  cv::Mat rectificationMatrix;  ///< 3 x 3, 32-bit or 64-bit floats: a rotation
  cv::Mat projectionMatrix;     ///< 3 x 4, 32-bit floats: after rectification, in pixels and metres
};
}  // namespace vision
