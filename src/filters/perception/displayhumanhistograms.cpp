// Draws the histograms of each person, in rows: the body's columns, the colours of the torso, the names of its colour.

#include "filters/perception/canvas.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"

#include <algorithm>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int cellWidth = 160;
constexpr int cellHeight = 60;
constexpr int columns = 3;

class DisplayHumanHistograms final : public PerceptionFilter
{
public:
  DisplayHumanHistograms() : PerceptionFilter("DisplayHumanHistograms") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto people = elementsOf<Type::Human>(inputs[0], category());
    const auto rows = std::max<std::size_t>(people.size(), 1);
    Canvas canvas(columns * cellWidth, static_cast<int>(rows) * cellHeight);
    for (std::size_t row = 0; row < people.size(); ++row)
    {
      const Type::Human& human = *people[row];
      const auto object = bodyOf(human);
      const auto body = object ? propertyOf<Type::Histogram>(*object, Object3DProperty::HorizontalHistogram) : nullptr;
      draw(canvas, body.get(), 0, static_cast<int>(row));
      draw(canvas, propertyOf<Type::Histogram>(human, HumanProperty::ColorDescriptorData).get(), 1,
           static_cast<int>(row));
      draw(canvas, propertyOf<Type::Histogram>(human, HumanProperty::ShirtColorHistogram).get(), 2,
           static_cast<int>(row));
      canvas.drawText({1.0F, static_cast<float>(static_cast<int>(row) * cellHeight)}, std::to_string(human.getId()),
                      Canvas::colorOf(human.getId()));
    }
    return {canvas.toData()};
  }

private:
  static void draw(Canvas& canvas, const Type::Histogram* histogram, int column, int row)
  {
    if (histogram == nullptr || histogram->size() == 0)
      return;
    // Of several channels the first is what a person wants to see.
    Type::Histogram first(histogram->size());
    for (std::uint32_t i = 0; i < histogram->size(); ++i)
      first.values()[i] = histogram->values()[i * histogram->channels()];
    canvas.drawImage(first.draw(cellHeight - 2).cvMat(),
                     cv::Rect(column * cellWidth, row * cellHeight, cellWidth - 2, cellHeight - 2));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeDisplayHumanHistograms()
{
  return std::make_shared<DisplayHumanHistograms>();
}
}  // namespace ZR::Filtrix::Filters
