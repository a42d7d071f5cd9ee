#pragma once

#include "filtrix/data.h"
#include "filtrix/region.h"
#include "filtrix/time.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <string>
#include <utility>

namespace ZR::Filtrix::Type
{
/// Asks an image constructor to copy the pixels that it is given.
struct CopyPixels
{
};

/// The pixels of an image and where they come from: an OpenCV matrix, the name of the source, the time of capture and
/// the fields of view in radians. The header holds no camera pose.
///
/// Images travel by shared pointer and are not changed once published. Copying an image shares the pixels; `clone` does
/// not.
template <typename Pixel, int Channels>
class Image
{
public:
  using PixelType = Pixel;
  static constexpr int channels = Channels;

  /// The matrix type, such as CV_8UC3.
  static constexpr int matType = CV_MAKETYPE(cv::DataType<Pixel>::depth, Channels);

  /// On a matrix: a shared header, no pixel is copied. An unset time becomes the current one, here and below.
  /// Throws std::invalid_argument when the matrix is of another type; an empty matrix without a type passes.
  Image(const cv::Mat& mat, std::string sourceName, Time timestamp, float horizontalFov, float verticalFov);

  /// With room for the pixels, which are not set. Throws std::invalid_argument for a negative size, here and below.
  Image(int width, int height, std::string sourceName, Time timestamp, float horizontalFov, float verticalFov);

  /// On the caller's pixels, rows without gaps, which must outlive the image and all that shares it.
  Image(Pixel* pixels, int width, int height, std::string sourceName, Time timestamp, float horizontalFov,
        float verticalFov);

  /// On a copy of the pixels.
  Image(CopyPixels, const Pixel* pixels, int width, int height, std::string sourceName, Time timestamp,
        float horizontalFov, float verticalFov);

  Image(const Image&) = default;
  Image& operator=(const Image&) = default;
  virtual ~Image() = default;

  [[nodiscard]] int width() const noexcept { return mat.cols; }

  [[nodiscard]] int height() const noexcept { return mat.rows; }

  /// The first pixel.
  [[nodiscard]] Pixel* data() const noexcept { return reinterpret_cast<Pixel*>(mat.data); }

  [[nodiscard]] const cv::Mat& cvMat() const noexcept { return mat; }

  [[nodiscard]] cv::Mat& cvMat() noexcept { return mat; }

  [[nodiscard]] const std::string& sourceName() const noexcept { return source; }

  [[nodiscard]] Time timestamp() const noexcept { return time; }

  [[nodiscard]] float horizontalFov() const noexcept { return horizontal; }

  [[nodiscard]] float verticalFov() const noexcept { return vertical; }

  /// Row `y`: `width() * channels` elements. Not checked.
  [[nodiscard]] Pixel* row(int y) const noexcept { return const_cast<Pixel*>(mat.ptr<Pixel>(y)); }

  /// One element; `x` is the column. Not checked.
  [[nodiscard]] Pixel& at(int x, int y, int channel = 0) const noexcept { return row(y)[x * Channels + channel]; }

protected:
  [[nodiscard]] cv::Mat _crop(float left, float top, float right, float bottom) const;
  [[nodiscard]] cv::Mat _scaledDown(int factor) const;

private:
  cv::Mat mat;
  std::string source;
  Time time;
  float horizontal;
  float vertical;
};

/// What the named classes have in common but for their name: the operations that give an image of the same class.
template <typename Named, typename Pixel, int Channels>
class NamedImage : public Image<Pixel, Channels>
{
public:
  using Image<Pixel, Channels>::Image;

  /// A copy with pixels of its own; the time stays.
  [[nodiscard]] Named clone() const
  {
    return _derive(this->cvMat().clone(), this->horizontalFov(), this->verticalFov());
  }

  /// The pixels from (left, top) to (right, bottom), both included, on a copy. The corners are rounded, those beyond
  /// the image are clipped to it; a rectangle wholly outside throws cv::Exception. The fields of view shrink in
  /// proportion to the pixels.
  [[nodiscard]] Named subImage(float left, float top, float right, float bottom) const
  {
    const cv::Mat part = this->_crop(left, top, right, bottom);
    const float widthShare = static_cast<float>(part.cols) / static_cast<float>(this->width());
    const float heightShare = static_cast<float>(part.rows) / static_cast<float>(this->height());
    return _derive(part, widthShare * this->horizontalFov(), heightShare * this->verticalFov());
  }

  [[nodiscard]] Named subImage(const Region2& region) const
  {
    return subImage(region.start.x, region.start.y, region.end.x, region.end.y);
  }

  /// Every `factor`-th pixel: width and height are divided by it and truncated, the view does not change.
  /// Throws std::invalid_argument unless `factor` is 1 to the shorter side.
  [[nodiscard]] Named scaleDown(int factor) const
  {
    return _derive(this->_scaledDown(factor), this->horizontalFov(), this->verticalFov());
  }

private:
  [[nodiscard]] Named _derive(const cv::Mat& pixels, float horizontalFov, float verticalFov) const
  {
    return Named(pixels, this->sourceName(), this->timestamp(), horizontalFov, verticalFov);
  }
};

/// Red, green, blue.
class ColorImage final : public NamedImage<ColorImage, unsigned char, 3>
{
public:
  using NamedImage::NamedImage;
};

class GrayscaleImage final : public NamedImage<GrayscaleImage, unsigned char, 1>
{
public:
  using NamedImage::NamedImage;
};

/// Foreground is whatever is not zero.
class BinaryImage final : public NamedImage<BinaryImage, unsigned char, 1>
{
public:
  using NamedImage::NamedImage;
};

/// A label per pixel; 0 is the background.
class LabelImage final : public NamedImage<LabelImage, int, 1>
{
public:
  using NamedImage::NamedImage;
};

/// Millimetres; 0 is no measurement.
class DepthImage final : public NamedImage<DepthImage, unsigned short, 1>
{
public:
  using NamedImage::NamedImage;
};

/// A point per pixel: x, y, z in metres.
class XYZImage final : public NamedImage<XYZImage, float, 3>
{
public:
  using NamedImage::NamedImage;
};

class MatrixImage final : public NamedImage<MatrixImage, float, 1>
{
public:
  using NamedImage::NamedImage;
};

/// A header on the pixels of a value of any image type but MatrixImage. Throws std::runtime_error, "Cannot convert
/// Filtrix data to cv::Mat", for every other value.
[[nodiscard]] cv::Mat toCvMat(const Data& value);

/// An image of the class named by `tag` on the given matrix, with the header of the image in `model`; the value carries
/// the image's time. Takes the same six tags and throws the same text for every other one.
[[nodiscard]] DataPtr toData(TypeTag tag, const cv::Mat& mat, const Data& model);

/// The header of an image of any of the six types. Any other value throws std::runtime_error, "Cannot convert Filtrix
/// Data Filtrix Image".
[[nodiscard]] float horizontalFov(const Data& value);
[[nodiscard]] float verticalFov(const Data& value);
[[nodiscard]] const std::string& sourceName(const Data& value);
[[nodiscard]] Time timestamp(const Data& value);
}  // namespace ZR::Filtrix::Type
