// Puts two colour images into one, the first above the second; the narrower one is filled up with black.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
class DisplayTwoImages final : public PerceptionFilter
{
public:
  DisplayTwoImages() : PerceptionFilter("DisplayTwoImages") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const cv::Mat& top = inputs[0]->get<Type::ColorImage>()->cvMat();
    const cv::Mat& bottom = inputs[1]->get<Type::ColorImage>()->cvMat();
    cv::Mat both(top.rows + bottom.rows, std::max(top.cols, bottom.cols), CV_8UC3, cv::Scalar::all(0));
    top.copyTo(both(cv::Rect(0, 0, top.cols, top.rows)));
    bottom.copyTo(both(cv::Rect(0, top.rows, bottom.cols, bottom.rows)));
    return {Type::toData(TypeTag::ColorImage, both, *inputs[0])};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayTwoImages()
{
  return std::make_shared<DisplayTwoImages>();
}
}  // namespace ZR::Filtrix::Filters
