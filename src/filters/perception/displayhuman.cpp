// Draws people: what is seen of each body, its box, its head, and what is known of it.

#include "filters/perception/humandrawing.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class DisplayHuman final : public PerceptionFilter
{
public:
  DisplayHuman() : PerceptionFilter("DisplayHuman") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto people = elementsOf<Type::Human>(inputs[0], category());
    Canvas canvas = canvasFor(people);
    for (const auto& human : people)
      drawBody(canvas, *human);
    // Text last, so that no body covers it.
    for (const auto& human : people)
      annotate(canvas, *human);
    return {canvas.toData()};
  }

private:
  static void annotate(Canvas& canvas, const Type::Human& human)
  {
    const cv::Scalar color = Canvas::colorOf(human.getId());
    const auto object = bodyOf(human);
    if (const auto shoulders = propertyOf<Type::Region2>(human, HumanProperty::ShoulderRoi))
      canvas.drawBox(*shoulders, 0.5 * color);
    if (const auto top = object ? propertyOf<Type::Vector2>(*object, Object3DProperty::TopOfBlob) : nullptr)
      canvas.drawCross(*top, color);
    canvas.drawText(boxOf(human).start, captionOf(human), color);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayHuman()
{
  return std::make_shared<DisplayHuman>();
}
}  // namespace ZR::Filtrix::Filters
