// Finds the row of the frame below which a body's limits end: where the columns of the shoulders have lost most of
// their pixels, or where the box does. What moves below it is not the person's hand.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/topixel.h"
#include "filtrix/histogram.h"
#include "filtrix/ku/log.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A row belongs to the body while the body fills at least this share of the shoulders' width in it.
constexpr float leastFill = 0.2F;

class BodyLimits final : public PerceptionFilter
{
public:
  BodyLimits() : PerceptionFilter("BodyLimits") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      find(*human);
    return {inputs[0]};
  }

private:
  void find(Type::Human& human) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    if (!view)
    {
      ku::log::error(category(), "human has no Object3D with the required properties");
      return;
    }
    const auto top = propertyOf<Type::Vector2>(*object, Object3DProperty::TopOfBlob);
    const auto shoulders = propertyOf<Type::Region2>(human, HumanProperty::ShoulderRoi);
    if (!top)
      return complain("ExtractTopOfBlobs");
    if (!propertyOf<Type::Histogram>(*object, Object3DProperty::HorizontalHistogram))
      return complain("ComputeHorizontalHistogram");
    if (!shoulders)
      return complain("AnalyseBodySize");
    const int first = std::clamp(toPixel(shoulders->start.x) - view->left, 0, view->width() - 1);
    const int last = std::clamp(static_cast<int>(shoulders->end.x) - view->left, first, view->width() - 1);
    int row = std::clamp(toPixel(shoulders->start.y) - view->top, 0, view->height() - 1);
    while (row + 1 < view->height() && fillOf(*view, row + 1, first, last) >= leastFill)
      ++row;
    human.setProperty(HumanProperty::BodyLimit, makeData(static_cast<std::int32_t>(view->top + row)));
  }

  static float fillOf(const ObjectView& view, int row, int first, int last)
  {
    int count = 0;
    for (int column = first; column <= last; ++column)
      count += view.isSet(row, column) ? 1 : 0;
    return static_cast<float>(count) / static_cast<float>(last - first + 1);
  }

  void complain(const char* filter) const
  {
    ku::log::error(category(), "filter {} has not been applied before", filter);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeBodyLimits()
{
  return std::make_shared<BodyLimits>();
}
}  // namespace ZR::Filtrix::Filters
