// Gives the pixels of a mask a depth: what stands so near that the sensor sees nothing is put at a chosen distance, in
// metres. Pixels that are measured keep what they have.

#include "data/imagepool.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ZR::Filtrix::Filters
{
namespace
{
class AddClosePixelsToDepthImage final : public PerceptionFilter
{
public:
  AddClosePixelsToDepthImage() : PerceptionFilter("AddClosePixelsToDepthImage") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<Type::DepthImage>();
    const auto* const mask = inputs[1]->get<Type::BinaryImage>();
    const float distance = 1000.0F * *inputs[2]->get<float>();
    constexpr auto farthest = static_cast<float>(std::numeric_limits<unsigned short>::max());
    if (image->cvMat().size() != mask->cvMat().size() || !(distance >= 0.0F && distance <= farthest))
    {
      ku::log::error(category(), "expected a mask of {}x{} pixels and a distance of 0 to 65 m, got {}x{} and {} m",
                     image->width(), image->height(), mask->width(), mask->height(), 0.001F * distance);
      return {};
    }
    const auto filling = static_cast<unsigned short>(distance);
    cv::Mat result = makePooledMat(image->height(), image->width(), CV_16UC1);
    for (int v = 0; v < image->height(); ++v)
    {
      const unsigned short* const depth = image->row(v);
      const unsigned char* const isClose = mask->row(v);
      auto* const out = result.ptr<unsigned short>(v);
      for (int u = 0; u < image->width(); ++u)
        out[u] = depth[u] == 0 && isClose[u] != 0 ? filling : depth[u];
    }
    return {Type::toData(TypeTag::DepthImage, result, *inputs[0])};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeAddClosePixelsToDepthImage()
{
  return std::make_shared<AddClosePixelsToDepthImage>();
}
}  // namespace ZR::Filtrix::Filters
