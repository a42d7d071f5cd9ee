// Draws the nearest object and a cross at its top.

#include "filters/perception/humandrawing.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class DisplayTopOfNearestBlob final : public PerceptionFilter
{
public:
  DisplayTopOfNearestBlob() : PerceptionFilter("DisplayTopOfNearestBlob") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto objects = elementsOf<Type::Object3D>(inputs[0], category());
    Canvas canvas = canvasFor(std::vector<std::shared_ptr<Type::PropertyHolder>>(objects.begin(), objects.end()));
    for (const auto& object : objects)
    {
      drawObject(canvas, *object, Canvas::colorOf(1));
      if (const auto top = propertyOf<Type::Vector2>(*object, Object3DProperty::TopOfBlob))
        canvas.drawCross(*top, cv::Scalar(255, 255, 255));
    }
    return {canvas.toData()};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayTopOfNearestBlob()
{
  return std::make_shared<DisplayTopOfNearestBlob>();
}
}  // namespace ZR::Filtrix::Filters
