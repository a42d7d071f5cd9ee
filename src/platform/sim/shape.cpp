#include "platform/sim/shape.h"

#include <algorithm>
#include <cmath>

namespace ZR::Sim
{
cv::Matx33f turnAboutVertical(float angle)
{
  const float s = std::sin(angle);
  const float c = std::cos(angle);
  return {c, -s, 0.0F, s, c, 0.0F, 0.0F, 0.0F, 1.0F};
}

Shape makeShape(Form form, const cv::Vec3f& centre, const cv::Vec3f& halfSizes, float turn)
{
  Shape shape;
  shape.form = form;
  shape.centre = centre;
  const cv::Matx33f rotation = turnAboutVertical(turn);
  shape.toWorld = rotation * cv::Matx33f::diag(halfSizes);
  shape.toOwn = cv::Matx33f::diag({1.0F / halfSizes[0], 1.0F / halfSizes[1], 1.0F / halfSizes[2]}) * rotation.t();
  return shape;
}

Shape makeLimb(const cv::Vec3f& from, const cv::Vec3f& to, float radius)
{
  Shape shape;
  shape.form = Form::Capsule;
  shape.centre = 0.5F * (from + to);
  const cv::Vec3f along = to - from;
  const auto length = static_cast<float>(cv::norm(along));
  shape.halfLength = 0.5F * length / radius;
  const cv::Vec3f z = length > 0.0F ? along * (1.0F / length) : cv::Vec3f(0.0F, 0.0F, 1.0F);
  // Any axis will do that is not the capsule's own.
  const cv::Vec3f other = std::abs(z[0]) < 0.9F ? cv::Vec3f(1.0F, 0.0F, 0.0F) : cv::Vec3f(0.0F, 1.0F, 0.0F);
  const cv::Vec3f y = cv::normalize(z.cross(other));
  const cv::Vec3f x = y.cross(z);
  shape.toWorld = {radius * x[0], radius * y[0], radius * z[0],  //
                   radius * x[1], radius * y[1], radius * z[1],  //
                   radius * x[2], radius * y[2], radius * z[2]};
  shape.toOwn = shape.toWorld.t() * (1.0F / (radius * radius));
  return shape;
}

Shape moved(const Shape& shape, const cv::Matx33f& turn, const cv::Vec3f& shift)
{
  Shape result = shape;
  result.centre = turn * shape.centre + shift;
  result.toWorld = turn * shape.toWorld;
  result.toOwn = shape.toOwn * turn.t();
  return result;
}

cv::Vec3f normalAt(const Shape& shape, const cv::Vec3f& point)
{
  if (shape.form == Form::Ball)
    return point;
  if (shape.form == Form::Capsule)
    return {point[0], point[1], point[2] - std::clamp(point[2], -shape.halfLength, shape.halfLength)};
  int axis = 0;
  for (int other = 1; other < 3; ++other)
    axis = std::abs(point[other]) > std::abs(point[axis]) ? other : axis;
  cv::Vec3f normal;
  const float outward = point[axis] > 0.0F ? 1.0F : -1.0F;
  normal[axis] = shape.form == Form::Room ? -outward : outward;
  return normal;
}
}  // namespace ZR::Sim
