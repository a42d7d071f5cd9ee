// Draws objects, each in a colour of its own; one that was matched with another has that one's box around it as well.

#include "filters/perception/humandrawing.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

#include <fmt/format.h>

namespace ZR::Filtrix::Filters
{
namespace
{
class DisplayObjects final : public PerceptionFilter
{
public:
  DisplayObjects() : PerceptionFilter("DisplayObjects") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    std::vector<std::shared_ptr<Type::PropertyHolder>> objects;
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
    {
      if (const auto object = value ? value->share<Type::Object3D>() : nullptr)
        objects.push_back(object);
      else if (const auto flat = value ? value->share<Type::Object2D>() : nullptr)
        objects.push_back(flat);
    }
    Canvas canvas = canvasFor(objects);
    for (std::size_t i = 0; i < objects.size(); ++i)
      draw(canvas, *objects[i], i);
    return {canvas.toData()};
  }

private:
  static void draw(Canvas& canvas, const Type::PropertyHolder& object, std::size_t number)
  {
    const cv::Scalar color = Canvas::colorOf(number);
    drawObject(canvas, object, color);
    const bool isFlat = dynamic_cast<const Type::Object2D*>(&object) != nullptr;
    if (isFlat)
      return;
    const auto region = propertyOf<Type::Region2>(object, Object3DProperty::Region2D);
    const auto distance = propertyOf<std::int32_t>(object, Object3DProperty::Distance);
    if (region && distance)
      canvas.drawText(region->start, fmt::format("{:.2f} m", 0.001 * *distance), color);
    const auto reference = propertyOf<Type::Object3D>(object, Object3DProperty::MatchedReference);
    if (const auto box = reference ? propertyOf<Type::Region2>(*reference, Object3DProperty::Region2D) : nullptr)
      canvas.drawBox(*box, 0.6 * color);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayObjects()
{
  return std::make_shared<DisplayObjects>();
}
}  // namespace ZR::Filtrix::Filters
