#include "platform/sim/raster.h"

#include "platform/sim/hit.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ZR::Sim
{
namespace
{
using cv::Vec3f;

/// Nothing nearer is seen, metres.
constexpr float nearPlane = 0.05F;

cv::Matx33f matrixOf(const ZRMath::Rotation& rotation)
{
  const auto& matrix = rotation.getMatrix();
  cv::Matx33f result;
  for (int row = 0; row < 3; ++row)
  {
    for (int column = 0; column < 3; ++column)
      result(row, column) = static_cast<float>(matrix(row, column));
  }
  return result;
}

Vec3f vectorOf(const ZRMath::Position3D& position)
{
  return {static_cast<float>(position.x), static_cast<float>(position.y), static_cast<float>(position.z)};
}

// A shape as the camera sees it: its own coordinates of the camera, and of one metre along each axis of the camera. A
// ray's way is its depth, since it goes one metre along the axis.
struct SeenShape
{
  SeenShape(const Shape& shape_, const cv::Matx33f& rotation, const Vec3f& place)
      : shape(shape_), origin(shape_.toOwn * (place - shape_.centre))
  {
    const cv::Matx33f own = shape_.toOwn * rotation;
    ahead = {own(0, 0), own(1, 0), own(2, 0)};
    left = {own(0, 1), own(1, 1), own(2, 1)};
    up = {own(0, 2), own(1, 2), own(2, 2)};
  }

  [[nodiscard]] Vec3f direction(float toLeft, float toUp) const { return ahead + left * toLeft + up * toUp; }

  const Shape& shape;
  Vec3f origin;
  Vec3f ahead;
  Vec3f left;
  Vec3f up;
};

// The pixels that a shape can be seen in: those about the corners of its box.
cv::Rect pixelsOf(const Shape& shape, const cv::Matx33f& rotation, const Vec3f& place, const View& view)
{
  const cv::Rect whole(0, 0, view.width, view.height);
  if (shape.form == Form::Room)
    return whole;
  const float end = 1.0F + shape.halfLength;
  float left = std::numeric_limits<float>::max();
  float top = left;
  float right = -left;
  float bottom = -left;
  int behind = 0;
  for (unsigned corner = 0; corner < 8; ++corner)
  {
    const Vec3f own((corner & 1U) != 0 ? 1.0F : -1.0F, (corner & 2U) != 0 ? 1.0F : -1.0F,
                    (corner & 4U) != 0 ? end : -end);
    const Vec3f seen = rotation.t() * (shape.centre + shape.toWorld * own - place);
    if (seen[0] < nearPlane)
    {
      ++behind;
      continue;
    }
    const float u = 0.5F * static_cast<float>(view.width) * (1.0F - seen[1] / (seen[0] * view.tanHalfWidth));
    const float v = 0.5F * static_cast<float>(view.height) * (1.0F - seen[2] / (seen[0] * view.tanHalfHeight));
    left = std::min(left, u);
    right = std::max(right, u);
    top = std::min(top, v);
    bottom = std::max(bottom, v);
  }
  if (behind == 8)
    return {};
  if (behind > 0)
    return whole;
  // Before they become integers, which far-off pixels are too large for.
  const auto pixel = [](float value, int size)
  { return static_cast<int>(std::clamp(value, -1.0F, static_cast<float>(size) + 1.0F)); };
  const int x = pixel(std::floor(left), view.width);
  const int y = pixel(std::floor(top), view.height);
  return cv::Rect(x, y, pixel(std::ceil(right), view.width) - x, pixel(std::ceil(bottom), view.height) - y) & whole;
}

void castShape(Raster& raster, const SeenShape& seen, std::int16_t index, const cv::Rect& pixels, const View& view)
{
  for (int v = pixels.y; v < pixels.y + pixels.height; ++v)
  {
    float* const depths = raster.depth.ptr<float>(v);
    std::int16_t* const indices = raster.shape.ptr<std::int16_t>(v);
    const Vec3f row = seen.ahead + seen.up * view.up(static_cast<float>(v));
    for (int u = pixels.x; u < pixels.x + pixels.width; ++u)
    {
      const float depth = hit(seen.shape, seen.origin, row + seen.left * view.left(static_cast<float>(u)));
      if (depth >= depths[u] || depth < nearPlane)
        continue;
      depths[u] = depth;
      indices[u] = index;
    }
  }
}

// The point that a pixel sees, in the shape's own coordinates.
Vec3f ownPoint(const SeenShape& seen, const View& view, int u, int v, float depth)
{
  return seen.origin + seen.direction(view.left(static_cast<float>(u)), view.up(static_cast<float>(v))) * depth;
}

std::vector<SeenShape> seenFrom(const std::vector<Shape>& shapes, const View& view)
{
  const cv::Matx33f rotation = matrixOf(view.pose.getRotation());
  const Vec3f place = vectorOf(view.pose.getTranslation());
  std::vector<SeenShape> seen;
  seen.reserve(shapes.size());
  for (const Shape& shape : shapes)
    seen.emplace_back(shape, rotation, place);
  return seen;
}

// The room's walls, floor and ceiling are one shape, told apart by where they are hit.
std::int16_t materialAt(const Shape& shape, const Vec3f& normal)
{
  if (shape.form != Form::Room || normal[2] == 0.0F)
    return shape.material;
  return normal[2] > 0.0F ? Stage::floorMaterial : Stage::ceilingMaterial;
}

// Walls and floors that are all of one colour would look like nothing: tiles half a metre wide, hardly to be seen.
float pattern(const Shape& shape, const Vec3f& point)
{
  if (shape.form != Form::Room)
    return 1.0F;
  const Vec3f world = shape.toWorld * point + shape.centre;
  int tile = 0;
  for (int axis = 0; axis < 3; ++axis)
    tile += static_cast<int>(std::floor(2.0F * world[axis] + 0.01F));
  return (tile & 1) != 0 ? 1.0F : 0.955F;
}

Color colorAt(const Shape& shape, const Vec3f& point, const std::vector<Material>& materials)
{
  static const Vec3f light = cv::normalize(Vec3f(-0.55F, 0.25F, 0.80F));
  const Vec3f own = normalAt(shape, point);
  const Material& material = materials[static_cast<std::size_t>(materialAt(shape, own))];
  const Vec3f normal = shape.toOwn.t() * own;
  const float brightness = 0.55F + 0.45F * std::max(0.0F, normal.dot(light) / std::sqrt(normal.dot(normal)));
  const Color color = material.face ? material.face->at(point) : material.color;
  return color * (brightness * pattern(shape, point));
}
}  // namespace

Raster cast(const std::vector<Shape>& shapes, const View& view)
{
  Raster raster{cv::Mat1f(view.height, view.width, std::numeric_limits<float>::infinity()),
                cv::Mat1s(view.height, view.width, Raster::nothing)};
  const cv::Matx33f rotation = matrixOf(view.pose.getRotation());
  const Vec3f place = vectorOf(view.pose.getTranslation());
  for (std::size_t i = 0; i < shapes.size(); ++i)
    castShape(raster, SeenShape(shapes[i], rotation, place), static_cast<std::int16_t>(i),
              pixelsOf(shapes[i], rotation, place, view), view);
  return raster;
}

cv::Mat3b paint(const Raster& raster, const std::vector<Shape>& shapes, const View& view,
                const std::vector<Material>& materials)
{
  cv::Mat3b picture(raster.depth.size());
  const std::vector<SeenShape> seen = seenFrom(shapes, view);
  for (int v = 0; v < picture.rows; ++v)
  {
    const float* const depths = raster.depth.ptr<float>(v);
    const std::int16_t* const indices = raster.shape.ptr<std::int16_t>(v);
    auto* const pixels = picture.ptr<cv::Vec3b>(v);
    for (int u = 0; u < picture.cols; ++u)
    {
      if (indices[u] == Raster::nothing)
      {
        pixels[u] = {190, 210, 235};
        continue;
      }
      const SeenShape& shape = seen[static_cast<std::size_t>(indices[u])];
      const Color color = colorAt(shape.shape, ownPoint(shape, view, u, v, depths[u]), materials);
      for (int channel = 0; channel < 3; ++channel)
        pixels[u][channel] = static_cast<unsigned char>(std::clamp(color[channel], 0.0F, 255.0F));
    }
  }
  return picture;
}

cv::Mat1b shinyPixels(const Raster& raster, const std::vector<Shape>& shapes, const View& view,
                      const std::vector<Material>& materials)
{
  cv::Mat1b shiny(raster.depth.size(), static_cast<unsigned char>(0));
  if (std::ranges::none_of(materials, &Material::isShiny))
    return shiny;
  const std::vector<SeenShape> seen = seenFrom(shapes, view);
  for (int v = 0; v < shiny.rows; ++v)
  {
    for (int u = 0; u < shiny.cols; ++u)
    {
      const std::int16_t index = raster.shape(v, u);
      if (index == Raster::nothing)
        continue;
      const SeenShape& shape = seen[static_cast<std::size_t>(index)];
      const Vec3f normal = normalAt(shape.shape, ownPoint(shape, view, u, v, raster.depth(v, u)));
      shiny(v, u) = materials[static_cast<std::size_t>(materialAt(shape.shape, normal))].isShiny ? 255 : 0;
    }
  }
  return shiny;
}

std::vector<PixelCount> countPixels(const Raster& raster, const std::vector<Shape>& shapes, const View& view,
                                    const std::vector<Material>& materials, std::size_t owners)
{
  std::vector<PixelCount> counts(owners);
  const std::vector<SeenShape> seen = seenFrom(shapes, view);
  for (int v = 0; v < raster.shape.rows; ++v)
  {
    for (int u = 0; u < raster.shape.cols; ++u)
    {
      const std::int16_t index = raster.shape(v, u);
      if (index == Raster::nothing || shapes[static_cast<std::size_t>(index)].owner == 0)
        continue;
      const SeenShape& shape = seen[static_cast<std::size_t>(index)];
      PixelCount& count = counts[static_cast<std::size_t>(shape.shape.owner)];
      ++count.all;
      if (!materials[static_cast<std::size_t>(shape.shape.material)].face)
        continue;
      ++count.head;
      count.face += FaceTexture::isFace(ownPoint(shape, view, u, v, raster.depth(v, u))) ? 1 : 0;
    }
  }
  return counts;
}
}  // namespace ZR::Sim
