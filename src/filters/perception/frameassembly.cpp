#include "filters/perception/frameassembly.h"

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"

#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// No camera has more pixels on a side; a size from elsewhere must not take the memory.
constexpr float longestSide = 8192.0F;

std::optional<CameraPoses> posesOf(const Type::Object3D& object)
{
  const auto torso = propertyOf<Type::Vector6>(object, Object3DProperty::CameraPositionTorso);
  const auto robot = propertyOf<Type::Vector6>(object, Object3DProperty::CameraPositionRobot);
  const auto world = propertyOf<Type::Vector6>(object, Object3DProperty::CameraPositionWorld);
  if (!torso || !robot || !world)
    return std::nullopt;
  return CameraPoses{*torso, *robot, *world};
}

Frame makeFrame(const Type::Object3D& object, const ObjectView& view, const CameraPoses& poses)
{
  const auto own = propertyOf<Type::DepthImage>(object, Object3DProperty::ReconstructedDepthImage);
  const cv::Size size(static_cast<int>(view.camera.width), static_cast<int>(view.camera.height));
  return {std::make_shared<Type::DepthImage>(cv::Mat(size, CV_16UC1, cv::Scalar(0)), own->sourceName(),
                                             own->timestamp(), 2.0F * std::atan(view.camera.tanHalfWidth),
                                             2.0F * std::atan(view.camera.tanHalfHeight)),
          poses};
}
}  // namespace

std::optional<Frame> assembleFrame(const std::vector<std::shared_ptr<Type::Object3D>>& objects)
{
  std::optional<Frame> frame;
  for (const auto& object : objects)
  {
    const auto view = ObjectView::of(*object);
    const auto poses = posesOf(*object);
    if (!view || !poses || view->camera.width > longestSide || view->camera.height > longestSide)
      continue;
    if (!frame)
      frame = makeFrame(*object, *view, *poses);
    const cv::Rect box(view->left, view->top, view->width(), view->height());
    cv::Mat& depths = frame->depth->cvMat();
    if ((box & cv::Rect(0, 0, depths.cols, depths.rows)) == box)
      view->depths.copyTo(depths(box), view->mask);
  }
  return frame;
}
}  // namespace ZR::Filtrix::Filters
