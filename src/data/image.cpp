#include "filtrix/image.h"

#include <fmt/format.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace ZR::Filtrix::Type
{
namespace
{
// Rounded like (int)(x + 0.5), and defined for what no int can hold: the ends of its range, 0 for what is no number.
int roundToInt(float x)
{
  constexpr double limit = 1 << 30;
  const double rounded = std::trunc(static_cast<double>(x + 0.5F));
  return std::isnan(rounded) ? 0 : static_cast<int>(std::clamp(rounded, -limit, limit));
}

Time orNow(Time time)
{
  return time.isSet() ? time : Time::now();
}

template <typename ImageClass>
cv::Mat allocate(int width, int height)
{
  if (width < 0 || height < 0)
    throw std::invalid_argument(
        fmt::format("Image: expected a width and a height of at least 0, got {}x{}", width, height));
  cv::Mat mat;
  mat.create(height, width, ImageClass::matType);
  return mat;
}

template <typename ImageClass, typename Pixel>
cv::Mat wrap(Pixel* pixels, int width, int height)
{
  if (width < 0 || height < 0)
    throw std::invalid_argument(
        fmt::format("Image: expected a width and a height of at least 0, got {}x{}", width, height));
  return cv::Mat(height, width, ImageClass::matType, pixels);
}

cv::Mat checked(const cv::Mat& mat, int wanted)
{
  if (mat.type() == wanted || (mat.empty() && mat.data == nullptr))
    return mat;
  throw std::invalid_argument(fmt::format("Image: expected a matrix of type {}, got {}", cv::typeToString(wanted),
                                          cv::typeToString(mat.type())));
}

// Calls `visit` with the image in a value of one of the six types that the conversions know.
template <typename Visit>
auto visitImage(const Data& value, const char* failure, const Visit& visit)
{
  if (const auto* const image = value.get<ColorImage>())
    return visit(*image);
  if (const auto* const image = value.get<GrayscaleImage>())
    return visit(*image);
  if (const auto* const image = value.get<BinaryImage>())
    return visit(*image);
  if (const auto* const image = value.get<LabelImage>())
    return visit(*image);
  if (const auto* const image = value.get<DepthImage>())
    return visit(*image);
  if (const auto* const image = value.get<XYZImage>())
    return visit(*image);
  throw std::runtime_error(failure);
}

constexpr const char* noMatrix = "Cannot convert Filtrix data to cv::Mat";
constexpr const char* noImage = "Cannot convert Filtrix Data Filtrix Image";

template <typename ImageClass>
DataPtr makeImage(const cv::Mat& mat, const Data& model)
{
  auto image =
      std::make_shared<ImageClass>(mat, sourceName(model), timestamp(model), horizontalFov(model), verticalFov(model));
  const Time time = image->timestamp();
  auto value = makeData(std::move(image));
  value->setTimestamp(time);
  return value;
}
}  // namespace

template <typename Pixel, int Channels>
Image<Pixel, Channels>::Image(const cv::Mat& mat_, std::string sourceName, Time timestamp, float horizontalFov,
                              float verticalFov)
    : mat(checked(mat_, matType)), source(std::move(sourceName)), time(orNow(timestamp)), horizontal(horizontalFov),
      vertical(verticalFov)
{
}

template <typename Pixel, int Channels>
Image<Pixel, Channels>::Image(int width, int height, std::string sourceName, Time timestamp, float horizontalFov,
                              float verticalFov)
    : Image(allocate<Image>(width, height), std::move(sourceName), timestamp, horizontalFov, verticalFov)
{
}

template <typename Pixel, int Channels>
Image<Pixel, Channels>::Image(Pixel* pixels, int width, int height, std::string sourceName, Time timestamp,
                              float horizontalFov, float verticalFov)
    : Image(wrap<Image>(pixels, width, height), std::move(sourceName), timestamp, horizontalFov, verticalFov)
{
}

template <typename Pixel, int Channels>
Image<Pixel, Channels>::Image(CopyPixels, const Pixel* pixels, int width, int height, std::string sourceName,
                              Time timestamp, float horizontalFov, float verticalFov)
    : Image(wrap<Image>(const_cast<Pixel*>(pixels), width, height).clone(), std::move(sourceName), timestamp,
            horizontalFov, verticalFov)
{
}

template <typename Pixel, int Channels>
cv::Mat Image<Pixel, Channels>::_crop(float left, float top, float right, float bottom) const
{
  const int l = std::max(roundToInt(left), 0);
  const int t = std::max(roundToInt(top), 0);
  const int roundedRight = roundToInt(right);
  const int roundedBottom = roundToInt(bottom);
  const int r = roundedRight < mat.cols ? roundedRight : mat.cols - 1;
  const int b = roundedBottom < mat.rows ? roundedBottom : mat.rows - 1;
  return mat(cv::Range(t, b + 1), cv::Range(l, r + 1)).clone();
}

template <typename Pixel, int Channels>
cv::Mat Image<Pixel, Channels>::_scaledDown(int factor) const
{
  if (factor < 1 || factor > std::min(mat.cols, mat.rows))
    throw std::invalid_argument(
        fmt::format("Image::scaleDown: expected a factor of 1 to {}, got {}", std::min(mat.cols, mat.rows), factor));
  cv::Mat scaled;
  cv::resize(mat, scaled, cv::Size(mat.cols / factor, mat.rows / factor), 0.0, 0.0, cv::INTER_NEAREST);
  return scaled;
}

template class Image<unsigned char, 3>;
template class Image<unsigned char, 1>;
template class Image<int, 1>;
template class Image<unsigned short, 1>;
template class Image<float, 3>;
template class Image<float, 1>;

cv::Mat toCvMat(const Data& value)
{
  return visitImage(value, noMatrix, [](const auto& image) { return image.cvMat(); });
}

DataPtr toData(TypeTag tag, const cv::Mat& mat, const Data& model)
{
  switch (tag)
  {
  case TypeTag::ColorImage:
    return makeImage<ColorImage>(mat, model);
  case TypeTag::GrayscaleImage:
    return makeImage<GrayscaleImage>(mat, model);
  case TypeTag::BinaryImage:
    return makeImage<BinaryImage>(mat, model);
  case TypeTag::LabelImage:
    return makeImage<LabelImage>(mat, model);
  case TypeTag::DepthImage:
    return makeImage<DepthImage>(mat, model);
  case TypeTag::XYZImage:
    return makeImage<XYZImage>(mat, model);
  default:
    throw std::runtime_error(noMatrix);
  }
}

float horizontalFov(const Data& value)
{
  return visitImage(value, noImage, [](const auto& image) { return image.horizontalFov(); });
}

float verticalFov(const Data& value)
{
  return visitImage(value, noImage, [](const auto& image) { return image.verticalFov(); });
}

const std::string& sourceName(const Data& value)
{
  return *visitImage(value, noImage, [](const auto& image) { return &image.sourceName(); });
}

Time timestamp(const Data& value)
{
  return visitImage(value, noImage, [](const auto& image) { return image.timestamp(); });
}
}  // namespace ZR::Filtrix::Type
