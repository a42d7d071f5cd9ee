// Marks the pixels of a depth image that tell nothing: no measurement, nearer than the sensor can see, or farther than
// it can be trusted.

#include "data/imagepool.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
// Millimetres. Source: K. Khoshelham, S. Elberink, "Accuracy and Resolution of Kinect Depth Data for Indoor Mapping
// Applications", Sensors 12, 2012: beyond 5 m the error passes that of a person's own shape.
constexpr int nearest = 400;
constexpr int farthest = 5500;

class ComputeInvalidPixelsMask final : public PerceptionFilter
{
public:
  ComputeInvalidPixelsMask() : PerceptionFilter("ComputeInvalidPixelsMask") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<Type::DepthImage>();
    cv::Mat mask = makePooledMat(image->height(), image->width(), CV_8UC1);
    for (int v = 0; v < image->height(); ++v)
    {
      const unsigned short* const depth = image->row(v);
      auto* const out = mask.ptr<unsigned char>(v);
      for (int u = 0; u < image->width(); ++u)
        out[u] = depth[u] < nearest || depth[u] > farthest ? 255 : 0;
    }
    return {Type::toData(TypeTag::BinaryImage, mask, *inputs[0])};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeInvalidPixelsMask()
{
  return std::make_shared<ComputeInvalidPixelsMask>();
}
}  // namespace ZR::Filtrix::Filters
