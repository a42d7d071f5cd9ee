// Moves the top of an object upwards, by metres, where what the depth shows is not the real top: black hair returns no
// light, so a body may seem to end at its forehead. Objects that reach the image's upper border, and those too small to
// be a body, are left as they are.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// What is lower than this, in metres, is no body.
constexpr float smallestBody = 0.4F;

class ApplyVerticalOffset final : public PerceptionFilter
{
public:
  ApplyVerticalOffset() : PerceptionFilter("ApplyVerticalOffset") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float offset = *inputs[1]->get<float>();
    if (!std::isfinite(offset))
    {
      ku::log::error(category(), "expected a finite vertical offset");
      return {};
    }
    for (const auto& object : elementsOf<Type::Object3D>(inputs[0], category()))
      apply(*object, offset);
    return {inputs[0]};
  }

private:
  static void apply(Type::Object3D& object, float offset)
  {
    const auto view = ObjectView::of(object);
    const auto top = propertyOf<Type::Vector2>(object, Object3DProperty::TopOfBlob);
    const auto size = propertyOf<Type::Vector2>(object, Object3DProperty::RealVisibleSize);
    if (!view || !top || !size || size->y < smallestBody || view->distance <= 0.0F ||
        !isTrue(object, Object3DProperty::TopIsVerticallyOffset) || isTrue(object, Object3DProperty::TopBorderTouched))
      return;
    const float row = std::max(0.0F, top->y - offset * view->camera.focalY() / view->distance);
    object.setProperty(Object3DProperty::TopOfBlob, makeData(top->x, row));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeApplyVerticalOffset()
{
  return std::make_shared<ApplyVerticalOffset>();
}
}  // namespace ZR::Filtrix::Filters
