// Makes points, in the robot frame and metres, of each person's pixels: every so many rows and columns, without those
// whose depth is far from its neighbours' on two sides, which fly between a body and what is behind it.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A body is no better known by more points than these: rows and columns are left out beyond.
constexpr int mostPoints = 1000;

class Compute3DClouds final : public PerceptionFilter
{
public:
  Compute3DClouds() : PerceptionFilter("Compute3DClouds") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const Images images(*inputs[1]->get<DataArray>());
    const int ratio = std::clamp(*inputs[2]->get<std::int32_t>(), 1, 64);
    if (!images.areThere())
    {
      ku::log::error(category(), "expected the projection images of ComputeProjectionImages");
      return {};
    }
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      compute(*human, images, ratio);
    return {inputs[0]};
  }

private:
  // The factors for y and z; that for x is one everywhere.
  struct Images
  {
    explicit Images(const DataArray& values)
    {
      if (values.size() != 3 || !values[1] || !values[2])
        return;
      left = values[1]->get<Type::MatrixImage>();
      up = values[2]->get<Type::MatrixImage>();
    }

    [[nodiscard]] bool areThere() const
    {
      return left != nullptr && up != nullptr && left->cvMat().size() == up->cvMat().size();
    }

    const Type::MatrixImage* left = nullptr;
    const Type::MatrixImage* up = nullptr;
  };

  void compute(Type::Human& human, const Images& images, int ratio) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    const cv::Rect frame(0, 0, images.left->width(), images.left->height());
    const cv::Rect box = view ? cv::Rect(view->left, view->top, view->width(), view->height()) : cv::Rect();
    if (!view || (box & frame) != box)
    {
      ku::log::error(category(), "human has no Object3D within the projection images");
      return;
    }
    const auto pixels = static_cast<float>(cv::countNonZero(view->mask));
    const int step = std::max(ratio, static_cast<int>(std::ceil(std::sqrt(pixels / mostPoints))));
    DataArray cloud;
    for (int row = 0; row < view->height(); row += step)
    {
      for (int column = 0; column < view->width(); column += step)
      {
        const float depth = view->depth(row, column);
        if (!view->isSet(row, column) || depth <= 0.0F || isFlying(*view, row, column, depth))
          continue;
        const cv::Vec3f point(depth, depth * images.left->at(view->left + column, view->top + row),
                              depth * images.up->at(view->left + column, view->top + row));
        const cv::Vec3f inRobot = view->robotPose.apply(point);
        cloud.push_back(makeData(inRobot[0], inRobot[1], inRobot[2]));
      }
    }
    object->setProperty(Object3DProperty::Cloud3D, makeData(std::move(cloud)));
  }

  static bool isFlying(const ObjectView& view, int row, int column, float depth)
  {
    constexpr std::array<std::array<int, 2>, 4> sides{{{0, -1}, {0, 1}, {-1, 0}, {1, 0}}};
    int far = 0;
    for (const auto& [down, right] : sides)
    {
      const int r = row + down;
      const int c = column + right;
      const bool isInside = r >= 0 && c >= 0 && r < view.height() && c < view.width() && view.isSet(r, c);
      far += isInside && std::abs(view.depth(r, c) - depth) > depthTolerance(depth) ? 1 : 0;
    }
    return far >= 2;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCompute3DClouds()
{
  return std::make_shared<Compute3DClouds>();
}
}  // namespace ZR::Filtrix::Filters
