#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"
#include "filters/generic/labels.h"
#include "filtrix/audiobuffer.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
using Pixel = cv::Vec3b;

cv::Mat makePicture(const cv::Mat& model)
{
  return makePooledMat(model.rows, model.cols, CV_8UC3);
}

cv::Mat fromGray(const cv::Mat& gray)
{
  cv::Mat picture = makePicture(gray);
  if (!gray.empty())
    cv::cvtColor(gray, picture, cv::COLOR_GRAY2RGB);
  return picture;
}

cv::Mat fromBinary(const cv::Mat& binary)
{
  cv::Mat whole = makePooledMat(binary.rows, binary.cols, CV_8UC1);
  if (!binary.empty())
    cv::compare(binary, 0, whole, cv::CMP_NE);
  return fromGray(whole);
}

// Full red, and the low bytes of where the label first stands: neighbouring labels differ, and a region that stays in
// its place keeps its colour although its number may change.
cv::Mat fromLabels(const cv::Mat& labels)
{
  cv::Mat picture = makePicture(labels);
  LabelTable<std::uint32_t> firsts(labels);  // plus 1; 0 is not yet known
  forEachRun(labels,
             [&](int y, int begin, int end, int label)
             {
               Pixel color(0, 0, 0);
               if (label > 0)
               {
                 std::uint32_t& first = firsts[label];
                 if (first == 0)
                   first = static_cast<std::uint32_t>(y) * static_cast<std::uint32_t>(labels.cols) +
                           static_cast<std::uint32_t>(begin) + 1;
                 color = {255, static_cast<std::uint8_t>(first - 1), static_cast<std::uint8_t>((first - 1) >> 8)};
               }
               auto* const row = picture.ptr<Pixel>(y);
               std::fill(row + begin, row + end, color);
             });
  return picture;
}

// Colours for distances: red near the lower limit over green to blue at its end and beyond.
struct Ramp
{
  double lower;  // millimetres
  double span;   // millimetres

  [[nodiscard]] Pixel colorOf(double millimetres) const
  {
    if (millimetres == 0.0 || std::isnan(millimetres))
      return {0, 0, 0};
    if (millimetres < lower)
      return {85, 85, 85};
    const double t = std::min((millimetres - lower) / span, 1.0);
    const double u = (1.0 - t) * (1.0 - t) * (1.0 - t);
    const auto level = [](double share) { return static_cast<std::uint8_t>(share * 255.0); };
    return {level(u), level(1.0 - (u + t * t)), level(t * t)};
  }
};

constexpr Ramp depthRamp{200.0, 3800.0};
constexpr Ramp forwardRamp{300.0, 3700.0};

// The colours of all depths; from the last one on they stay the same.
constexpr std::size_t lastDepth = 4000;

std::array<Pixel, lastDepth + 1> makeDepthColors()
{
  std::array<Pixel, lastDepth + 1> colors;
  for (std::size_t depth = 0; depth < colors.size(); ++depth)
    colors[depth] = depthRamp.colorOf(static_cast<double>(depth));
  return colors;
}

cv::Mat fromDepth(const cv::Mat& depth)
{
  static const auto colors = makeDepthColors();
  cv::Mat picture = makePicture(depth);
  for (int y = 0; y < depth.rows; ++y)
  {
    const auto* const in = depth.ptr<std::uint16_t>(y);
    auto* const out = picture.ptr<Pixel>(y);
    for (int x = 0; x < depth.cols; ++x)
      out[x] = colors[std::min<std::size_t>(in[x], lastDepth)];
  }
  return picture;
}

cv::Mat fromPoints(const cv::Mat& points)
{
  constexpr double millimetresPerMetre = 1000.0;
  cv::Mat picture = makePicture(points);
  for (int y = 0; y < points.rows; ++y)
  {
    const auto* const in = points.ptr<cv::Vec3f>(y);
    auto* const out = picture.ptr<Pixel>(y);
    for (int x = 0; x < points.cols; ++x)
      out[x] = forwardRamp.colorOf(static_cast<double>(in[x][0]) * millimetresPerMetre);
  }
  return picture;
}

DataPtr fromAudio(const Type::AudioBuffer& sound)
{
  auto picture = std::make_shared<Type::ColorImage>(sound.draw());
  const Time time = picture->timestamp();
  DataPtr result = makeData(std::move(picture));
  result->setTimestamp(time);
  return result;
}

cv::Mat draw(const Data& image)
{
  const cv::Mat mat = Type::toCvMat(image);
  switch (image.type())
  {
  case TypeTag::GrayscaleImage:
    return fromGray(mat);
  case TypeTag::BinaryImage:
    return fromBinary(mat);
  case TypeTag::LabelImage:
    return fromLabels(mat);
  case TypeTag::DepthImage:
    return fromDepth(mat);
  default:
    return fromPoints(mat);
  }
}
}  // namespace

/// Makes a picture of a value, for people to look at.
///
/// | Port | Types          | The picture                                                                              |
/// |------|----------------|------------------------------------------------------------------------------------------|
/// | in   | ColorImage     | the value itself, passed on                                                              |
/// |      | GrayscaleImage | the levels as gray                                                                       |
/// |      | BinaryImage    | 0 black, anything else white                                                             |
/// |      | LabelImage     | background black; a label has full red, green and blue from the place of its first pixel |
/// |      | DepthImage     | from red at 0.2 m over green to blue at 4 m and beyond; nearer is gray, 0 black          |
/// |      | XYZImage       | the same for x, the distance ahead, from 0.3 m; black where it is no number, too         |
/// |      | AudioBuffer    | the wave form, 320 by 240                                                                |
/// | out  | ColorImage     | same size, source, time and fields of view                                               |
///
/// A missing input or another type gives no output. Stateless.
class ToColorImage final : public GenericFilter
{
public:
  ToColorImage() : GenericFilter("ToColorImage", "Makes a picture of an image, a label image, distances or sound.")
  {
    input("in", {TypeTag::ColorImage, TypeTag::BinaryImage, TypeTag::LabelImage, TypeTag::GrayscaleImage,
                 TypeTag::AudioBuffer, TypeTag::DepthImage, TypeTag::XYZImage});
    output("out", {TypeTag::ColorImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList ToColorImage::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1)
    return {};
  const TypeTag type = typeOf(inputs[0]);
  if (type == TypeTag::ColorImage)
    return {inputs[0]};
  if (const auto* const sound = inputAs<Type::AudioBuffer>(inputs, 0))
    return {fromAudio(*sound)};
  if (!isOneOf(type, {TypeTag::BinaryImage, TypeTag::LabelImage, TypeTag::GrayscaleImage, TypeTag::DepthImage,
                      TypeTag::XYZImage}))
    return {};
  return {Type::toData(TypeTag::ColorImage, draw(*inputs[0]), *inputs[0])};
}

FilterPtr makeToColorImage()
{
  return std::make_shared<ToColorImage>();
}
}  // namespace ZR::Filtrix::Filters
