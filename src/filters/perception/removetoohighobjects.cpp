// Leaves out objects that reach higher than a person can: lamps, cupboards, walls.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

namespace ZR::Filtrix::Filters
{
namespace
{
/// A single pixel may fly: the object is too high where it holds so many too high ones.
constexpr int fewestPixels = 5;

class RemoveTooHighObjects final : public PerceptionFilter
{
public:
  RemoveTooHighObjects() : PerceptionFilter("RemoveTooHighObjects") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float limit = *inputs[2]->get<float>() - *inputs[1]->get<float>();
    auto objects = elementsOf<Type::Object3D>(inputs[0], category());
    std::erase_if(objects, [limit](const auto& object) { return isHigher(*object, limit); });
    return {toArray(objects)};
  }

private:
  // Rows from the top, until one holds nothing that is too high.
  static bool isHigher(const Type::Object3D& object, float limit)
  {
    const auto view = ObjectView::of(object);
    if (!view)
      return false;
    int pixels = 0;
    for (int row = 0; row < view->height(); ++row)
    {
      const int before = pixels;
      for (int column = 0; column < view->width(); ++column)
      {
        const float depth = view->depth(row, column);
        if (view->isSet(row, column) && depth > 0.0F && view->heightOf(row, column, depth) > limit)
          ++pixels;
      }
      if (pixels >= fewestPixels)
        return true;
      if (pixels == before && row > fewestPixels)
        return false;
    }
    return false;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeRemoveTooHighObjects()
{
  return std::make_shared<RemoveTooHighObjects>();
}
}  // namespace ZR::Filtrix::Filters
