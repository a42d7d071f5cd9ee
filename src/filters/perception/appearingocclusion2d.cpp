// Marks where a gray image has changed since the last run: by more than the threshold in gray levels, and by more than
// the image's own noise. What changed everywhere at once, the light or the exposure, is taken out first. The output is
// a binary image, cleaned of single pixels.
//
// Source: T. Moeslund, A. Hilton, V. Krueger, "A Survey of Advances in Vision-Based Human Motion Capture and Analysis",
// Computer Vision and Image Understanding 104, 2006 (temporal differencing); the noise is estimated by the median
// absolute deviation, P. Huber, "Robust Statistics", 1981.

#include "data/imagepool.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace ZR::Filtrix::Filters
{
namespace
{
/// From the median absolute deviation to three standard deviations of a normal distribution.
constexpr float deviations = 3.0F * 1.48F;

/// The median of signed differences of bytes by their histogram; of their distances from `centre` when one is given.
int medianDifference(const cv::Mat& differences, const int* centre)
{
  std::array<int, 1024> counts{};
  constexpr int zero = 512;
  for (int v = 0; v < differences.rows; ++v)
  {
    const auto* const row = differences.ptr<short>(v);
    for (int u = 0; u < differences.cols; ++u)
    {
      const int value = centre != nullptr ? std::abs(row[u] - *centre) : row[u];
      ++counts[static_cast<std::size_t>(std::clamp(value, -zero, zero - 1) + zero)];
    }
  }
  const auto half = static_cast<int>(differences.total() / 2);
  int seen = 0;
  for (std::size_t i = 0; i < counts.size(); ++i)
  {
    seen += counts[i];
    if (seen > half)
      return static_cast<int>(i) - zero;
  }
  return 0;
}

// Kept: the smoothed image of the last run.
class AppearingOcclusion2D final : public PerceptionFilter
{
public:
  AppearingOcclusion2D() : PerceptionFilter("AppearingOcclusion2D") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<Type::GrayscaleImage>();
    const float threshold = *inputs[1]->get<float>();
    const bool reset = *inputs[2]->get<bool>();
    const DataPtr last = getMemory();
    if (image->cvMat().empty())
      return {};
    cv::Mat smooth;
    cv::blur(image->cvMat(), smooth, cv::Size(3, 3));
    const DataPtr current = Type::toData(TypeTag::GrayscaleImage, smooth, *inputs[0]);
    setMemory(reset ? nullptr : current);
    cv::Mat marks = makePooledMat(image->height(), image->width(), CV_8UC1);
    const auto* const reference = last ? last->get<Type::GrayscaleImage>() : nullptr;
    if (reset || reference == nullptr || reference->cvMat().size() != smooth.size())
      marks.setTo(0);
    else
      compare(smooth, reference->cvMat(), threshold, &marks);
    return {Type::toData(TypeTag::BinaryImage, marks, *inputs[0])};
  }

private:
  static void compare(const cv::Mat& image, const cv::Mat& reference, float threshold, cv::Mat* marks)
  {
    cv::Mat differences;
    cv::subtract(image, reference, differences, cv::noArray(), CV_16S);
    const int shift = medianDifference(differences, nullptr);
    const int noise = medianDifference(differences, &shift);
    const float limit = std::max(std::isfinite(threshold) ? threshold : 255.0F, deviations * static_cast<float>(noise));
    for (int v = 0; v < differences.rows; ++v)
    {
      const auto* const row = differences.ptr<short>(v);
      auto* const out = marks->ptr<unsigned char>(v);
      for (int u = 0; u < differences.cols; ++u)
        out[u] = static_cast<float>(std::abs(row[u] - shift)) > limit ? 255 : 0;
    }
    cv::morphologyEx(*marks, *marks, cv::MORPH_OPEN, cv::Mat());
    cv::morphologyEx(*marks, *marks, cv::MORPH_CLOSE, cv::Mat());
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeAppearingOcclusion2D()
{
  return std::make_shared<AppearingOcclusion2D>();
}
}  // namespace ZR::Filtrix::Filters
