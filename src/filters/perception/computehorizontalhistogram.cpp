// What each column of an object holds. Channel 0 counts its pixels; channel 1 tells the row, from the top of the box,
// of its highest pixel that others below it support, or the box's height when there is none: a sensor lets single
// pixels fly above a head.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"

#include <opencv2/core/mat.hpp>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr std::uint32_t channels = 2;

/// A top needs this many pixels set among so many from it downwards.
constexpr int support = 3;
constexpr int supportRows = 4;

int topOf(const cv::Mat& mask, int column)
{
  const auto isSet = [&](int row) { return mask.ptr<unsigned char>(row)[column] != 0; };
  for (int row = 0; row < mask.rows; ++row)
  {
    if (!isSet(row))
      continue;
    int count = 0;
    for (int below = row; below < std::min(row + supportRows, mask.rows); ++below)
      count += isSet(below) ? 1 : 0;
    if (count >= std::min(support, mask.rows))
      return row;
  }
  return mask.rows;
}

class ComputeHorizontalHistogram final : public PerceptionFilter
{
public:
  ComputeHorizontalHistogram() : PerceptionFilter("ComputeHorizontalHistogram") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& object : elementsOf<Type::Object3D>(inputs[0], category()))
    {
      if (const auto mask = propertyOf<Type::BinaryImage>(*object, Object3DProperty::Mask))
        object->setProperty(Object3DProperty::HorizontalHistogram, makeData(histogramOf(mask->cvMat())));
    }
    return {inputs[0]};
  }

private:
  static Type::Histogram histogramOf(const cv::Mat& mask)
  {
    Type::Histogram histogram(channels * static_cast<std::uint32_t>(mask.cols), channels);
    float* value = histogram.values();
    for (int column = 0; column < mask.cols; ++column)
    {
      int count = 0;
      for (int row = 0; row < mask.rows; ++row)
        count += mask.ptr<unsigned char>(row)[column] != 0 ? 1 : 0;
      *value++ = static_cast<float>(count);
      *value++ = static_cast<float>(topOf(mask, column));
    }
    return histogram;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeHorizontalHistogram()
{
  return std::make_shared<ComputeHorizontalHistogram>();
}
}  // namespace ZR::Filtrix::Filters
