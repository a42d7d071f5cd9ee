// Tells how far away the lower end of each object is: the median of what its lowest rows measure, in millimetres.

#include "filters/perception/blobprofile.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// The lower end is this share of the object's rows, but never less than `fewestRows`.
constexpr int rowShare = 20;
constexpr int fewestRows = 2;

class ExtractBottomDistance final : public PerceptionFilter
{
public:
  ExtractBottomDistance() : PerceptionFilter("ExtractBottomDistance") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& object : elementsOf<Type::Object3D>(inputs[0], category()))
    {
      const auto view = ObjectView::of(*object);
      if (!view)
        continue;
      const int rows = std::max(fewestRows, view->height() / rowShare);
      const float depth = medianDepthIn(*view, view->height() - rows, view->height() - 1, 0, view->width() - 1);
      if (depth > 0.0F)
        object->setProperty(Object3DProperty::BlobBottomDistance,
                            makeData(static_cast<std::int32_t>(std::lround(1000.0F * depth))));
    }
    return {inputs[0]};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractBottomDistance()
{
  return std::make_shared<ExtractBottomDistance>();
}
}  // namespace ZR::Filtrix::Filters
