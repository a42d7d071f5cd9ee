// The factors by which a depth image's values become coordinates, as images: x, y and z in the camera frame, metres per
// metre of depth. Made once from the projection tables.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/projectiontables.h"
#include "filtrix/ku/log.h"

#include <opencv2/core.hpp>

namespace ZR::Filtrix::Filters
{
namespace
{
// Kept: the tables that the images were made of, and the images.
class ComputeProjectionImages final : public PerceptionFilter
{
public:
  ComputeProjectionImages() : PerceptionFilter("ComputeProjectionImages") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    if (kept != nullptr && (*kept)[0] == inputs[0])
      return {(*kept)[1]};
    const ProjectionTables tables(inputs[0]);
    if (tables.columns == nullptr || tables.rows == nullptr ||
        !tables.fit(tables.columns->width(), tables.rows->height()))
    {
      ku::log::error(category(), "expected the two projection tables of a depth image");
      return {};
    }
    const DataPtr images = makeImages(tables);
    setMemory(makeData(DataArray{inputs[0], images}));
    return {images};
  }

private:
  static DataPtr makeImages(const ProjectionTables& tables)
  {
    const Type::MatrixImage& header = *tables.columns;
    const auto wrap = [&](const cv::Mat& mat)
    {
      return makeData(std::make_shared<Type::MatrixImage>(mat, header.sourceName(), header.timestamp(),
                                                          header.horizontalFov(), header.verticalFov()));
    };
    const int width = header.width();
    const int height = tables.rows->height();
    const cv::Mat ones(height, width, CV_32FC1, cv::Scalar(1.0));
    return makeData(DataArray{wrap(ones), wrap(cv::repeat(header.cvMat(), height, 1)),
                              wrap(cv::repeat(tables.rows->cvMat(), 1, width))});
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeProjectionImages()
{
  return std::make_shared<ComputeProjectionImages>();
}
}  // namespace ZR::Filtrix::Filters
