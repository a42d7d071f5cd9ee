// Takes the floor out of a depth image by the camera's pose. What lies lower than a threshold that grows with the
// distance is floor: a wrong pitch lifts the far floor, and a slope meets that better than a higher threshold. Points
// below the ground, the mirror images on a shiny floor, go with it.
//
// Source of the rule: M. Munaro, E. Menegatti, "Fast RGB-D People Tracking for Service Robots", Autonomous Robots 37,
// 2014, whose ground plane is here the one that the pose gives.

#include "data/imagepool.h"
#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/projectiontables.h"
#include "filtrix/ku/log.h"

#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// By so many metres the threshold rises with each metre in front of the robot: a pitch that is wrong by 1.5 degrees
/// leaves one part in a hundred of the floor.
constexpr float slope = 0.02F;

class CutFloor final : public PerceptionFilter
{
public:
  CutFloor() : PerceptionFilter("CutFloor") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[0]->get<Type::DepthImage>();
    const auto* const pose = inputs[1]->get<Type::Vector6>();
    const float heightOffset = inputs[2]->toFloat();
    const ProjectionTables tables(inputs[3]);
    const float threshold = inputs[4]->toFloat();
    if (!tables.fit(image->width(), image->height()))
    {
      ku::log::error(category(), "expected projection tables for {}x{} pixels", image->width(), image->height());
      return {};
    }
    if (!isFinite(*pose) || !std::isfinite(heightOffset) || !std::isfinite(threshold))
    {
      ku::log::error(category(), "expected a finite pose, height offset and threshold");
      return {};
    }
    cv::Mat kept = makePooledMat(image->height(), image->width(), CV_16UC1);
    cv::Mat floor = makePooledMat(image->height(), image->width(), CV_8UC1);
    cut(*image, tables, CameraPose(*pose), heightOffset, threshold, &kept, &floor);
    return {Type::toData(TypeTag::DepthImage, kept, *inputs[0]), Type::toData(TypeTag::BinaryImage, floor, *inputs[0])};
  }

private:
  // A point is floor when z + offset < threshold + slope * x. Both sides are linear in the depth, with a factor that is
  // a sum of one of the column and one of the row: two additions and a product per pixel.
  static void cut(const Type::DepthImage& image, const ProjectionTables& tables, const CameraPose& pose,
                  float heightOffset, float threshold, cv::Mat* kept, cv::Mat* floor)
  {
    const cv::Matx33f& r = pose.rotation;
    const auto factor = [&](int axis) { return r(2, axis) - slope * r(0, axis); };
    constexpr float metres = 0.001F;
    const float limit = (threshold + slope * pose.translation[0] - pose.translation[2] - heightOffset) / metres;
    std::vector<float> ofColumn(static_cast<std::size_t>(image.width()));
    for (int u = 0; u < image.width(); ++u)
      ofColumn[static_cast<std::size_t>(u)] = factor(0) + factor(1) * tables.columns->at(u, 0);
    for (int v = 0; v < image.height(); ++v)
    {
      const float ofRow = factor(2) * tables.rows->at(0, v);
      const unsigned short* const depth = image.row(v);
      auto* const out = kept->ptr<unsigned short>(v);
      auto* const mark = floor->ptr<unsigned char>(v);
      for (int u = 0; u < image.width(); ++u)
      {
        const bool isFloor = static_cast<float>(depth[u]) * (ofColumn[static_cast<std::size_t>(u)] + ofRow) < limit;
        out[u] = isFloor ? static_cast<unsigned short>(0) : depth[u];
        mark[u] = isFloor && depth[u] != 0 ? 255 : 0;
      }
    }
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCutFloor()
{
  return std::make_shared<CutFloor>();
}
}  // namespace ZR::Filtrix::Filters
