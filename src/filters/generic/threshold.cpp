#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
namespace
{
// 1 where the sum of the three channels is above a limit.
struct IsBrighter
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    const std::uint16_t above = limit;
    for (int x = 0; x < pixels; ++x, in += 3)
      out[x] = static_cast<std::uint16_t>(in[0] + in[1] + in[2]) > above ? 1 : 0;
  }

  std::uint16_t limit;
};

cv::Mat brighterThan(const cv::Mat& color, int ceil)
{
  // Sums are compared without a sign, so nothing is above a negative level either.
  constexpr int white = 255;
  const int level = ceil < 0 || ceil > white ? white : ceil;
  return mapPixels(color, IsBrighter{static_cast<std::uint16_t>(3 * level)});
}

cv::Mat greaterThan(const cv::Mat& image, int ceil)
{
  cv::Mat result = makePooledMat(image.rows, image.cols, CV_8UC1);
  if (!image.empty())
    cv::compare(image, ceil, result, cv::CMP_GT);
  return result;
}
}  // namespace

/// Marks the pixels of an image that are strictly above a level.
///
/// | Port | Types                                | Meaning                                                           |
/// |------|--------------------------------------|-------------------------------------------------------------------|
/// | in   | ColorImage DepthImage GrayscaleImage | any size; depth in millimetres                                    |
/// | ceil | Integer                              | a gray level, 0 to 255, for colours of the mean; or millimetres   |
/// | out  | BinaryImage                          | same size, source, time and fields of view as `in`                |
///
/// Foreground is 1 for a ColorImage and 255 for the others: consumers test for non-zero. Nothing in a ColorImage is
/// above a negative level, everything in the others is. Missing inputs or other types give no output. Stateless.
class Threshold final : public GenericFilter
{
public:
  Threshold() : GenericFilter("Threshold", "Marks the pixels that are above a level.")
  {
    input("in", {TypeTag::ColorImage, TypeTag::DepthImage, TypeTag::GrayscaleImage});
    input("ceil", {TypeTag::Integer});
    output("out", {TypeTag::BinaryImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Threshold::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || typeOf(inputs[1]) != TypeTag::Integer)
    return {};
  const int ceil = inputs[1]->toInt();
  switch (typeOf(inputs[0]))
  {
  case TypeTag::ColorImage:
    return {Type::toData(TypeTag::BinaryImage, brighterThan(Type::toCvMat(*inputs[0]), ceil), *inputs[0])};
  case TypeTag::DepthImage:
  case TypeTag::GrayscaleImage:
    return {Type::toData(TypeTag::BinaryImage, greaterThan(Type::toCvMat(*inputs[0]), ceil), *inputs[0])};
  default:
    return {};
  }
}

FilterPtr makeThreshold()
{
  return std::make_shared<Threshold>();
}
}  // namespace ZR::Filtrix::Filters
