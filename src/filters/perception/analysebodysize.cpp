// Measures the body at the height of the shoulders, counted from the top above its middle (a hand may be raised
// higher): how wide it is, and the box from the shoulders down in which a person has most of its pixels. The band
// begins where the neck has become shoulders and ends above the elbows: shoulders lie at 0.82 of the stature. Source:
// R. Drillis, R. Contini, "Body Segment Parameters", 1966.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// The band of the shoulders, in metres below the top.
constexpr float bandTop = 0.30F;
constexpr float bandBottom = 0.55F;

/// Where the box of the shoulders begins, in metres below the top.
constexpr float boxTop = 0.22F;

/// The top is at most so far to the sides of the body's middle, in metres.
constexpr float reach = 0.20F;

/// So many pixels side by side make a top; fewer fly.
constexpr int leastPixels = 3;

/// Holes in a row that are no wider do not end it.
constexpr int widestGap = 2;

struct Span
{
  int left;
  int right;

  [[nodiscard]] int width() const { return right - left + 1; }
};

// The stretch of set pixels about a column; when that is not set, the longest of the row. Nothing for an empty row.
std::optional<Span> spanAbout(const ObjectView& view, int row, int axis)
{
  std::vector<Span> spans;
  for (int column = 0; column < view.width(); ++column)
  {
    if (!view.isSet(row, column))
      continue;
    if (!spans.empty() && column - spans.back().right <= widestGap + 1)
      spans.back().right = column;
    else
      spans.push_back({column, column});
  }
  if (spans.empty())
    return std::nullopt;
  const auto holdsAxis = [axis](const Span& span) { return span.left <= axis && axis <= span.right; };
  const auto about = std::ranges::find_if(spans, holdsAxis);
  return about != spans.end() ? *about : *std::ranges::max_element(spans, {}, &Span::width);
}

// The first row with a stretch of pixels about a column.
int topAbout(const ObjectView& view, int axis)
{
  const auto columns = static_cast<int>(reach * view.camera.focalX() / view.distance);
  const int first = std::max(0, axis - columns);
  const int last = std::min(view.width() - 1, axis + columns);
  for (int row = 0; row < view.height(); ++row)
  {
    int count = 0;
    for (int column = first; column <= last; ++column)
    {
      count = view.isSet(row, column) ? count + 1 : 0;
      if (count == leastPixels)
        return row;
    }
  }
  return 0;
}

int median(std::vector<int> values)
{
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

class AnalyseBodySize final : public PerceptionFilter
{
public:
  AnalyseBodySize() : PerceptionFilter("AnalyseBodySize") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      analyse(*human);
    return {inputs[0]};
  }

private:
  void analyse(Type::Human& human) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    const auto centre = object ? propertyOf<Type::Vector2>(*object, Object3DProperty::CenterOfMass) : nullptr;
    if (!view || !centre || view->distance <= 0.0F)
    {
      ku::log::error(category(), "human has no Object3D with the required properties");
      return;
    }
    const float pixelsPerMetre = view->camera.focalY() / view->distance;
    const int axis = static_cast<int>(centre->x) - view->left;
    const int topRow = topAbout(*view, axis);
    const auto rowBelowTop = [&](float metres)
    { return std::min(topRow + static_cast<int>(metres * pixelsPerMetre), view->height() - 1); };
    std::vector<int> lefts;
    std::vector<int> rights;
    for (int row = rowBelowTop(bandTop); row <= rowBelowTop(bandBottom); ++row)
    {
      if (const auto span = spanAbout(*view, row, axis))
      {
        lefts.push_back(span->left);
        rights.push_back(span->right);
      }
    }
    if (lefts.empty())
      return;
    const int left = median(std::move(lefts));
    const int right = std::max(left, median(std::move(rights)));
    const int top = rowBelowTop(boxTop);
    human.setProperty(HumanProperty::BodyWidth,
                      makeData(static_cast<float>(right - left + 1) * view->distance / view->camera.focalX()));
    human.setProperty(HumanProperty::ShoulderRoi,
                      makeData(boxRegion(view->left + left, view->top + top, right - left + 1, view->height() - top)));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeAnalyseBodySize()
{
  return std::make_shared<AnalyseBodySize>();
}
}  // namespace ZR::Filtrix::Filters
