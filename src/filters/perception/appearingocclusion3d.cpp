// Marks what has come in front of what was there: pixels that measure nearer than a background does, by more than the
// threshold in metres and than the sensor scatters. Only nearer counts, so that somebody who leaves leaves no ghost.
// The output is the depth image of these pixels, so that they can be labelled and made objects of.
//
// The background of a pixel takes farther values over slowly enough not to believe a flicker, and creeps toward nearer
// ones, so that somebody who stands still becomes part of it after some seconds. While "reset" is true, as when the
// camera moves, there is no background and nothing is marked.
//
// Source: G. Gordon, T. Darrell, M. Harville, J. Woodfill, "Background Estimation and Removal Based on Range and
// Color", CVPR 1999.

#include "data/imagepool.h"
#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// Of the way to a farther value the background goes this share in a run.
constexpr float retreat = 0.5F;

/// Toward a nearer one it creeps, in millimetres per second.
constexpr float creep = 100.0F;

/// A gap in time counts as this at most: after a pause the background is no better known.
constexpr float longestStep = 1.0F;

/// Five of the nine pixels about one must be marked for it to be.
constexpr int majority = 5;

class AppearingOcclusion3D final : public PerceptionFilter
{
public:
  AppearingOcclusion3D() : PerceptionFilter("AppearingOcclusion3D") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<Type::DepthImage>();
    const float threshold = 1000.0F * *inputs[1]->get<float>();
    const bool reset = *inputs[2]->get<bool>();
    const auto* const background = getMemory() ? getMemory()->get<Type::MatrixImage>() : nullptr;
    cv::Mat result = makePooledMat(image->height(), image->width(), CV_16UC1);
    if (reset || background == nullptr || background->cvMat().size() != image->cvMat().size() ||
        !std::isfinite(threshold))
    {
      result.setTo(0);
      setMemory(reset ? nullptr : firstBackground(*image));
      return {Type::toData(TypeTag::DepthImage, result, *inputs[0])};
    }
    mark(*image, *background, threshold, &result);
    setMemory(nextBackground(*image, *background));
    return {Type::toData(TypeTag::DepthImage, result, *inputs[0])};
  }

private:
  // Millimetres; 0 where nothing was measured yet.
  static DataPtr firstBackground(const Type::DepthImage& image)
  {
    cv::Mat depths;
    image.cvMat().convertTo(depths, CV_32F);
    return wrap(depths, image);
  }

  static DataPtr wrap(const cv::Mat& mat, const Type::DepthImage& image)
  {
    return makeData(std::make_shared<Type::MatrixImage>(mat, image.sourceName(), image.timestamp(),
                                                        image.horizontalFov(), image.verticalFov()));
  }

  static void mark(const Type::DepthImage& image, const Type::MatrixImage& background, float threshold, cv::Mat* result)
  {
    cv::Mat marks(image.cvMat().size(), CV_8UC1);
    for (int v = 0; v < image.height(); ++v)
    {
      const unsigned short* const depth = image.row(v);
      const float* const known = background.row(v);
      auto* const out = marks.ptr<unsigned char>(v);
      for (int u = 0; u < image.width(); ++u)
      {
        const auto own = static_cast<float>(depth[u]);
        const float scatter = 1300.0F * depthTolerance(0.001F * own);
        out[u] = depth[u] != 0 && known[u] - own > std::max(threshold, scatter) ? 1 : 0;
      }
    }
    cv::Mat votes;
    cv::boxFilter(marks, votes, CV_8U, cv::Size(3, 3), cv::Point(-1, -1), false, cv::BORDER_CONSTANT);
    for (int v = 0; v < image.height(); ++v)
    {
      const auto* const vote = votes.ptr<unsigned char>(v);
      const auto* const isMarked = marks.ptr<unsigned char>(v);
      auto* const out = result->ptr<unsigned short>(v);
      for (int u = 0; u < image.width(); ++u)
        out[u] = isMarked[u] != 0 && vote[u] >= majority ? image.row(v)[u] : static_cast<unsigned short>(0);
    }
  }

  static DataPtr nextBackground(const Type::DepthImage& image, const Type::MatrixImage& background)
  {
    const float seconds = std::clamp(
        1.0e-6F * static_cast<float>((image.timestamp() - background.timestamp()).microseconds()), 0.0F, longestStep);
    const float step = creep * seconds;
    cv::Mat next = background.cvMat().clone();
    for (int v = 0; v < image.height(); ++v)
    {
      const unsigned short* const depth = image.row(v);
      auto* const known = next.ptr<float>(v);
      for (int u = 0; u < image.width(); ++u)
      {
        if (depth[u] == 0)
          continue;
        const auto own = static_cast<float>(depth[u]);
        if (known[u] == 0.0F)
          known[u] = own;
        else
          known[u] = own > known[u] ? known[u] + retreat * (own - known[u]) : std::max(own, known[u] - step);
      }
    }
    return wrap(next, image);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeAppearingOcclusion3D()
{
  return std::make_shared<AppearingOcclusion3D>();
}
}  // namespace ZR::Filtrix::Filters
