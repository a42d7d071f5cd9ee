// How far to the left each column, and how far up each row of a depth image looks, per metre of depth: made once and
// used by everything that turns depth into points.

#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

namespace ZR::Filtrix::Filters
{
namespace
{
using Type::DepthImage;
using Type::MatrixImage;

// Kept as the array that is handed out; the images' headers tell which camera they belong to.
class ComputeProjectionTables final : public PerceptionFilter
{
public:
  ComputeProjectionTables() : PerceptionFilter("ComputeProjectionTables") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<DepthImage>();
    const Pinhole camera(static_cast<float>(image->width()), static_cast<float>(image->height()),
                         image->horizontalFov(), image->verticalFov());
    if (!camera.isValid())
    {
      ku::log::error(category(),
                     "expected a depth image with pixels and fields of view below pi, got {}x{}, {} and {} rad",
                     image->width(), image->height(), image->horizontalFov(), image->verticalFov());
      return {};
    }
    if (!isMadeFor(getMemory(), *image))
      setMemory(makeTables(camera, *image));
    return {getMemory()};
  }

private:
  static bool isMadeFor(const DataPtr& tables, const DepthImage& image)
  {
    const auto* const array = tables ? tables->get<DataArray>() : nullptr;
    if (array == nullptr)
      return false;
    const auto* const columns = (*array)[0]->get<MatrixImage>();
    const auto* const rows = (*array)[1]->get<MatrixImage>();
    return columns->width() == image.width() && rows->height() == image.height() &&
           columns->horizontalFov() == image.horizontalFov() && columns->verticalFov() == image.verticalFov();
  }

  static DataPtr makeTables(const Pinhole& camera, const DepthImage& image)
  {
    const auto table = [&](int width, int height)
    {
      return std::make_shared<MatrixImage>(width, height, image.sourceName(), image.timestamp(), image.horizontalFov(),
                                           image.verticalFov());
    };
    const auto columns = table(image.width(), 1);
    for (int u = 0; u < image.width(); ++u)
      columns->at(u, 0) = camera.left(static_cast<float>(u));
    const auto rows = table(1, image.height());
    for (int v = 0; v < image.height(); ++v)
      rows->at(0, v) = camera.up(static_cast<float>(v));
    return makeData(DataArray{makeData(columns), makeData(rows)});
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeProjectionTables()
{
  return std::make_shared<ComputeProjectionTables>();
}
}  // namespace ZR::Filtrix::Filters
