// Fits a plane to the cloud of each person's points: the plane that most points of random triples agree on within a
// distance in metres, refitted to these by least squares. Its equation a x + b y + c z + d = 0 is in the robot frame,
// with a normal of length one that points toward the robot. The random numbers begin anew with each cloud, so that the
// same points give the same plane.
//
// Source: M. Fischler, R. Bolles, "Random Sample Consensus", Communications of the ACM 24, 1981.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// Fewer points make no plane to speak of.
constexpr std::size_t fewestPoints = 50;

/// Finds a plane that holds 3 points of 10 with 99 % certainty.
constexpr int trials = 169;

struct Plane
{
  cv::Vec3f normal;
  float offset = 0.0F;

  [[nodiscard]] float distanceTo(const cv::Vec3f& point) const { return std::abs(normal.dot(point) + offset); }
};

class ExtractMainPlane final : public PerceptionFilter
{
public:
  ExtractMainPlane() : PerceptionFilter("ExtractMainPlane") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto step = static_cast<std::size_t>(std::clamp(*inputs[1]->get<std::int32_t>(), 1, 64));
    const float distance = *inputs[2]->get<float>();
    if (!(distance > 0.0F && std::isfinite(distance)))
    {
      ku::log::error(category(), "expected a distance above 0 m, got {}", distance);
      return {};
    }
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
    {
      if (const auto object = bodyOf(*human))
        extract(*object, step, distance);
    }
    return {inputs[0]};
  }

private:
  void extract(Type::Object3D& object, std::size_t step, float distance) const
  {
    const auto cloud = propertyOf<DataArray>(object, Object3DProperty::Cloud3D);
    if (!cloud)
    {
      ku::log::error(category(), "filter Compute3DClouds has not been applied before");
      return;
    }
    std::vector<cv::Vec3f> points;
    for (std::size_t i = 0; i < cloud->size(); i += step)
    {
      if (const auto* const point = (*cloud)[i] ? (*cloud)[i]->get<Type::Vector3>() : nullptr)
        points.emplace_back(point->x, point->y, point->z);
    }
    if (points.size() < fewestPoints)
      return;
    const Plane plane = refit(points, search(points, distance), distance);
    object.setProperty(Object3DProperty::MainPlaneEquation,
                       makeData(plane.normal[0], plane.normal[1], plane.normal[2], plane.offset));
  }

  static std::size_t countNear(const std::vector<cv::Vec3f>& points, const Plane& plane, float distance)
  {
    return static_cast<std::size_t>(
        std::ranges::count_if(points, [&](const cv::Vec3f& point) { return plane.distanceTo(point) < distance; }));
  }

  static Plane search(const std::vector<cv::Vec3f>& points, float distance)
  {
    std::minstd_rand random(1);
    const auto any = [&] { return points[random() % points.size()]; };
    Plane best{{1.0F, 0.0F, 0.0F}, -points[0][0]};
    std::size_t most = 0;
    for (int trial = 0; trial < trials; ++trial)
    {
      const cv::Vec3f origin = any();
      cv::Vec3f normal = (any() - origin).cross(any() - origin);
      const float length = std::sqrt(normal.dot(normal));
      if (length < 1.0e-6F)
        continue;
      normal /= length;
      const Plane plane{normal, -normal.dot(origin)};
      const std::size_t near = countNear(points, plane, distance);
      if (near <= most)
        continue;
      most = near;
      best = plane;
    }
    return best;
  }

  // The direction in which the near points scatter least.
  static Plane refit(const std::vector<cv::Vec3f>& points, const Plane& plane, float distance)
  {
    cv::Vec3f centre;
    int count = 0;
    for (const cv::Vec3f& point : points)
    {
      if (plane.distanceTo(point) >= distance)
        continue;
      centre += point;
      ++count;
    }
    if (count < 3)
      return plane;
    centre /= static_cast<float>(count);
    cv::Matx33f scatter = cv::Matx33f::zeros();
    for (const cv::Vec3f& point : points)
    {
      if (plane.distanceTo(point) < distance)
        scatter += (point - centre) * (point - centre).t();
    }
    cv::Vec3f values;
    cv::Matx33f vectors;
    cv::eigen(scatter, values, vectors);
    cv::Vec3f normal(vectors(2, 0), vectors(2, 1), vectors(2, 2));
    if (normal.dot(centre) > 0.0F)
      normal = -normal;
    return {normal, -normal.dot(centre)};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractMainPlane()
{
  return std::make_shared<ExtractMainPlane>();
}
}  // namespace ZR::Filtrix::Filters
