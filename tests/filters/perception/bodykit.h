#pragma once

#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/perception/camerageometry.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Bodies of simple shapes before a camera, and the filters that find them, for the tests of these filters.
namespace ZR::Filtrix::Test
{
inline constexpr int frameWidth = 320;
inline constexpr int frameHeight = 240;
inline constexpr float horizontalView = 1.0123F;  // 58 degrees
inline constexpr float verticalView = 0.7854F;    // 45 degrees

/// An upright cylinder from `bottom` to `top`, and a ball on it unless its radius is 0. Metres, robot frame.
struct Body
{
  float x = 2.0F;
  float y = 0.0F;
  float height = 1.75F;  ///< of the ball's top
  float radius = 0.20F;
  float headRadius = 0.10F;
  float bottom = 0.0F;

  [[nodiscard]] float shoulders() const { return headRadius > 0.0F ? height - 1.8F * headRadius : height; }
};

/// Where the camera is: above the origin of the robot's frame.
inline Type::Vector6 cameraAt(float height, float pitch)
{
  return {0.0F, 0.0F, height, 0.0F, pitch, 0.0F};
}

/// The smaller positive root of a t^2 + 2 b t + c = 0.
inline std::optional<float> firstHit(float a, float b, float c)
{
  const float discriminant = b * b - a * c;
  if (discriminant < 0.0F || a <= 0.0F)
    return std::nullopt;
  const float t = (-b - std::sqrt(discriminant)) / a;
  return t > 0.0F ? std::optional(t) : std::nullopt;
}

/// What a depth camera without noise sees of bodies on a floor.
inline cv::Mat renderDepth(const std::vector<Body>& bodies, const Type::Vector6& camera, bool withFloor = true)
{
  using namespace Filters;
  const Pinhole pinhole(frameWidth, frameHeight, horizontalView, verticalView);
  const CameraPose pose(camera);
  const cv::Vec3f o = pose.translation;
  cv::Mat depth(frameHeight, frameWidth, CV_16UC1, cv::Scalar(0));
  for (int v = 0; v < frameHeight; ++v)
  {
    for (int u = 0; u < frameWidth; ++u)
    {
      // Of length one along the axis, so that the way to a hit is its depth.
      const cv::Vec3f ray = pose.rotation * pinhole.point(static_cast<float>(u), static_cast<float>(v), 1.0F);
      float nearest = withFloor && ray[2] < 0.0F ? -o[2] / ray[2] : std::numeric_limits<float>::max();
      for (const Body& body : bodies)
      {
        const float dx = o[0] - body.x;
        const float dy = o[1] - body.y;
        const auto side = firstHit(ray[0] * ray[0] + ray[1] * ray[1], dx * ray[0] + dy * ray[1],
                                   dx * dx + dy * dy - body.radius * body.radius);
        if (side && o[2] + *side * ray[2] >= body.bottom && o[2] + *side * ray[2] <= body.shoulders())
          nearest = std::min(nearest, *side);
        const float dz = o[2] - (body.height - body.headRadius);
        const auto head = firstHit(ray.dot(ray), dx * ray[0] + dy * ray[1] + dz * ray[2],
                                   dx * dx + dy * dy + dz * dz - body.headRadius * body.headRadius);
        if (head && body.headRadius > 0.0F)
          nearest = std::min(nearest, *head);
      }
      if (nearest < 8.0F)
        depth.ptr<unsigned short>(v)[u] = static_cast<unsigned short>(std::lround(1000.0F * nearest));
    }
  }
  return depth;
}

inline DataPtr depthValue(const cv::Mat& depth)
{
  auto value =
      makeData(std::make_shared<Type::DepthImage>(depth, "test", Type::Time(1'000'000), horizontalView, verticalView));
  value->setTimestamp(Type::Time(1'000'000));
  return value;
}

/// The filters by name, as a program would find them.
class FilterShelf final : public LambdaFactory
{
public:
  [[nodiscard]] std::shared_ptr<Type::Lambda> createLambda(const std::string& name) const override
  {
    const auto maker = makers.find(name);
    return maker != makers.end() ? std::make_shared<Type::Lambda>(std::make_shared<FilterAdapter>(maker->second()))
                                 : nullptr;
  }

private:
  using Maker = std::shared_ptr<UserFilter> (*)();

  const std::map<std::string, Maker> makers{{"ExtractObjects", &Filters::makeExtractObjects},
                                            {"ComputeHorizontalHistogram", &Filters::makeComputeHorizontalHistogram},
                                            {"ExtractTopOfBlobs", &Filters::makeExtractTopOfBlobs},
                                            {"ExtractBottomDistance", &Filters::makeExtractBottomDistance},
                                            {"CreateHuman", &Filters::makeCreateHuman}};
};

inline DataPtr applyFilter(const std::shared_ptr<UserFilter>& filter, const DataList& inputs)
{
  return FilterBench(filter).first(inputs);
}

/// The objects of a depth image, measured: floor cut, labels, objects, histogram, top, lower end.
inline DataPtr findObjects(const DataPtr& depth, const Type::Vector6& camera)
{
  const DataPtr pose = makeData(camera);
  const DataPtr tables = applyFilter(Filters::makeComputeProjectionTables(), {depth});
  const DataPtr standing = applyFilter(Filters::makeCutFloor(), {depth, pose, makeData(0.0F), tables, makeData(0.06F)});
  const DataPtr labels = FilterBench(Filters::makeLabelize()).first({standing, makeData(std::int32_t{150})});
  DataPtr objects = applyFilter(Filters::makeExtractObjects(), {labels, depth, pose, pose, pose, nullptr});
  for (const auto make :
       {&Filters::makeComputeHorizontalHistogram, &Filters::makeExtractTopOfBlobs, &Filters::makeExtractBottomDistance})
    objects = applyFilter(make(), {objects});
  return objects;
}

/// The people of a depth image, with their measures.
inline std::vector<std::shared_ptr<Type::Human>> findPeople(const DataPtr& depth, const Type::Vector6& camera)
{
  const FilterShelf shelf;
  DataPtr people = applyFilter(Filters::makeCreateHuman(), {findObjects(depth, camera)});
  people = applyFilter(Filters::makeFindHeads(), {applyFilter(Filters::makeAnalyseBodySize(), {people})});
  people = applyFilter(Filters::makeSplitHumans(shelf), {people});
  people = applyFilter(Filters::makeFindHeads(), {applyFilter(Filters::makeAnalyseBodySize(), {people})});
  people = applyFilter(Filters::makeComputeTopPosition(), {people, makeData(0.0F)});
  return Filters::elementsOf<Type::Human>(people, "test");
}
}  // namespace ZR::Filtrix::Test
