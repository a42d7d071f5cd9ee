// Stands in for a head where none was found: an object in the middle of the image's upper part, where the head of
// somebody who stands before the robot would be, without a distance. Heads that were found are handed on.

#include "filters/perception/objectextraction.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/properties.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
class CreateDummyHeadObject final : public PerceptionFilter
{
public:
  CreateDummyHeadObject() : PerceptionFilter("CreateDummyHeadObject") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const cv::Size size = inputs[1]->get<Type::ColorImage>()->cvMat().size();
    if (!inputs[0]->get<DataArray>()->empty() || size.empty())
      return {inputs[0]};
    const CameraPoses poses{*inputs[2]->get<Type::Vector6>(), *inputs[3]->get<Type::Vector6>(),
                            *inputs[4]->get<Type::Vector6>()};
    const cv::Rect box(size.width * 3 / 8, size.height / 8, std::max(1, size.width / 4), std::max(1, size.height / 4));
    const cv::Mat mask(box.size(), CV_8UC1, cv::Scalar(255));
    return {makeData(DataArray{makeData(makeObject2D(mask, box & cv::Rect({}, size), *inputs[1], poses, 0))})};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCreateDummyHeadObject()
{
  return std::make_shared<CreateDummyHeadObject>();
}
}  // namespace ZR::Filtrix::Filters
