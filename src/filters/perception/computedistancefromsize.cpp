// Estimates how far away things of a known real size are, by how large they appear. Where width and height are both
// known the mean of the two answers is given. What is cut by the image's border appears smaller than it is: an answer
// from a cut side is left out unless there is no other. Metres, an element for each object; 0 where nothing can be
// said.

#include "filters/perception/camerageometry.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <cmath>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
class ComputeDistanceFromSize final : public PerceptionFilter
{
public:
  ComputeDistanceFromSize() : PerceptionFilter("ComputeDistanceFromSize") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const Size real{inputs[1] ? *inputs[1]->get<float>() : 0.0F, inputs[2] ? *inputs[2]->get<float>() : 0.0F};
    if (!(real.width > 0.0F) && !(real.height > 0.0F))
    {
      ku::log::error(category(), "expected a real width or height above 0 m");
      return {};
    }
    if (inputs[0]->type() == TypeTag::Object2D)
      return {makeData(distanceOf(*inputs[0]->get<Type::Object2D>(), real))};
    DataArray distances;
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
    {
      const auto* const object = value ? value->get<Type::Object2D>() : nullptr;
      distances.push_back(makeData(object != nullptr ? distanceOf(*object, real) : 0.0F));
    }
    return {makeData(std::move(distances))};
  }

private:
  struct Size
  {
    float width;
    float height;
  };

  // 0 without a real length, and for one without end.
  static float distanceBy(float focal, float realLength, float pixels)
  {
    const float distance = realLength > 0.0F ? focal * realLength / pixels : 0.0F;
    return std::isfinite(distance) ? distance : 0.0F;
  }

  static float distanceOf(const Type::Object2D& object, const Size& real)
  {
    const auto region = propertyOf<Type::Region2>(object, Object2DProperty::Region2D);
    const auto size = propertyOf<Type::Vector2>(object, Object2DProperty::SizeImage);
    const auto fov = propertyOf<Type::Vector2>(object, Object2DProperty::FieldOfView);
    if (!region || !size || !fov)
      return 0.0F;
    const Pinhole camera(size->x, size->y, fov->x, fov->y);
    const float width = region->end.x - region->start.x + 1.0F;
    const float height = region->end.y - region->start.y + 1.0F;
    if (!camera.isValid() || !(width >= 1.0F) || !(height >= 1.0F))
      return 0.0F;
    const float byWidth = distanceBy(camera.focalX(), real.width, width);
    const float byHeight = distanceBy(camera.focalY(), real.height, height);
    const bool isWidthCut =
        isTrue(object, Object2DProperty::LeftBorderTouched) || isTrue(object, Object2DProperty::RightBorderTouched);
    const bool isHeightCut =
        isTrue(object, Object2DProperty::TopBorderTouched) || isTrue(object, Object2DProperty::BottomBorderTouched);
    if (byWidth == 0.0F || byHeight == 0.0F)
      return byWidth + byHeight;
    if (isWidthCut != isHeightCut)
      return isWidthCut ? byHeight : byWidth;
    return 0.5F * (byWidth + byHeight);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeDistanceFromSize()
{
  return std::make_shared<ComputeDistanceFromSize>();
}
}  // namespace ZR::Filtrix::Filters
