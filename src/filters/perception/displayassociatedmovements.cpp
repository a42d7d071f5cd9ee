// Draws the movements that belong to each person, over a pale picture of the body, and says which hand waves.

#include "filters/perception/humandrawing.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class DisplayAssociatedMovements final : public PerceptionFilter
{
public:
  DisplayAssociatedMovements() : PerceptionFilter("DisplayAssociatedMovements") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto people = elementsOf<Type::Human>(inputs[0], category());
    Canvas canvas = canvasFor(people);
    for (const auto& human : people)
    {
      if (const auto object = bodyOf(*human))
        drawObject(canvas, *object, 0.35 * Canvas::colorOf(human->getId()));
    }
    for (const auto& human : people)
      drawMovements(canvas, *human);
    return {canvas.toData()};
  }

private:
  void drawMovements(Canvas& canvas, const Type::Human& human) const
  {
    const cv::Scalar color = Canvas::colorOf(human.getId());
    const DataPtr movements = human.getProperty(HumanProperty::AssociatedMovements);
    for (const auto& movement : elementsOf<Type::Object3D>(movements, category()))
      drawObject(canvas, *movement, color);
    std::string text = std::to_string(human.getId());
    for (const auto& [key, word] :
         {std::pair(HumanProperty::IsWavingLeft, "waves left"), std::pair(HumanProperty::IsWavingRight, "waves right"),
          std::pair(HumanProperty::IsWavingCenter, "waves")})
      text += isTrue(human, key) ? std::string("\n") + word : "";
    canvas.drawText(boxOf(human).start, text, color);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayAssociatedMovements()
{
  return std::make_shared<DisplayAssociatedMovements>();
}
}  // namespace ZR::Filtrix::Filters
