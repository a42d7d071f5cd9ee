#include "filters/perception/objectview.h"

#include "filtrix/image.h"
#include "filtrix/properties.h"

#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
template <typename T>
std::shared_ptr<T> property(const Type::Object3D& object, std::int32_t key)
{
  const DataPtr value = object.getProperty(key);
  return value ? value->share<T>() : nullptr;
}
}  // namespace

std::optional<ObjectView> ObjectView::of(const Type::Object3D& object)
{
  const auto depthImage = property<Type::DepthImage>(object, Object3DProperty::ReconstructedDepthImage);
  const auto maskImage = property<Type::BinaryImage>(object, Object3DProperty::Mask);
  const auto region = property<Type::Region2>(object, Object3DProperty::Region2D);
  const auto size = property<Type::Vector2>(object, Object3DProperty::SizeImage);
  const auto pose = property<Type::Vector6>(object, Object3DProperty::CameraPositionRobot);
  const auto distance = property<std::int32_t>(object, Object3DProperty::Distance);
  if (!depthImage || !maskImage || !region || !size || !pose || !distance)
    return std::nullopt;
  ObjectView view;
  view.depths = depthImage->cvMat();
  view.mask = maskImage->cvMat();
  if (view.mask.empty() || view.depths.size() != view.mask.size() || !isFinite(*pose) ||
      !(std::abs(region->start.x) < 1.0e5F) || !(std::abs(region->start.y) < 1.0e5F))
    return std::nullopt;
  view.left = static_cast<int>(region->start.x);
  view.top = static_cast<int>(region->start.y);
  view.distance = 0.001F * static_cast<float>(*distance);
  // A crop's fields of view are in proportion to its pixels, so those of the frame can be had back.
  view.camera = Pinhole(size->x, size->y, depthImage->horizontalFov() * size->x / static_cast<float>(view.mask.cols),
                        depthImage->verticalFov() * size->y / static_cast<float>(view.mask.rows));
  if (!view.camera.isValid())
    return std::nullopt;
  view.robotPose = CameraPose(*pose);
  return view;
}
}  // namespace ZR::Filtrix::Filters
