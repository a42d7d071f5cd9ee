// Tells where each object is, in the torso's, the robot's and the world's frame: the point of its centre at its
// distance. A centre of mass may fall in a hole of the object; the distance is the object's all the same.

#include "filters/perception/camerageometry.h"
#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// Position and no rotation.
DataPtr toPosition(const cv::Vec3f& point)
{
  return makeData(point[0], point[1], point[2], 0.0F, 0.0F, 0.0F);
}

// The same properties have keys of their own in an `Object2D` and an `Object3D`.
struct Keys
{
  std::int32_t centre;
  std::int32_t torso;
  std::int32_t robot;
  std::int32_t world;
  std::int32_t inTorso;
  std::int32_t inRobot;
  std::int32_t inWorld;
};

constexpr Keys keys3D{Object3DProperty::CenterOfMass,         Object3DProperty::CameraPositionTorso,
                      Object3DProperty::CameraPositionRobot,  Object3DProperty::CameraPositionWorld,
                      Object3DProperty::PositionInTorsoFrame, Object3DProperty::PositionInRobotFrame,
                      Object3DProperty::PositionInWorldFrame};
constexpr Keys keys2D{Object2DProperty::CenterOfMass,         Object2DProperty::CameraPositionTorso,
                      Object2DProperty::CameraPositionRobot,  Object2DProperty::CameraPositionWorld,
                      Object2DProperty::PositionInTorsoFrame, Object2DProperty::PositionInRobotFrame,
                      Object2DProperty::PositionInWorldFrame};

class Compute3DPositions final : public PerceptionFilter
{
public:
  Compute3DPositions() : PerceptionFilter("Compute3DPositions") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
    {
      if (const auto object = value ? value->share<Type::Object3D>() : nullptr)
        computeFor3D(*object);
      else if (const auto flat = value ? value->share<Type::Object2D>() : nullptr)
        computeFor2D(*flat);
      else
        ku::log::error(category(), "expected objects only");
    }
    return {inputs[0]};
  }

private:
  void computeFor3D(Type::Object3D& object) const
  {
    const auto view = ObjectView::of(object);
    compute(object, keys3D, view ? view->camera : Pinhole(), view ? view->distance : 0.0F);
  }

  void computeFor2D(Type::Object2D& object) const
  {
    const auto size = propertyOf<Type::Vector2>(object, Object2DProperty::SizeImage);
    const auto fov = propertyOf<Type::Vector2>(object, Object2DProperty::FieldOfView);
    const auto distance = propertyOf<std::int32_t>(object, Object2DProperty::Distance);
    compute(object, keys2D, size && fov ? Pinhole(size->x, size->y, fov->x, fov->y) : Pinhole(),
            distance ? 0.001F * static_cast<float>(*distance) : 0.0F);
  }

  void compute(Type::PropertyHolder& object, const Keys& keys, const Pinhole& camera, float distance) const
  {
    const auto centre = propertyOf<Type::Vector2>(object, keys.centre);
    const auto torso = propertyOf<Type::Vector6>(object, keys.torso);
    const auto robot = propertyOf<Type::Vector6>(object, keys.robot);
    const auto world = propertyOf<Type::Vector6>(object, keys.world);
    if (!centre || !torso || !robot || !world || !camera.isValid() || distance <= 0.0F)
    {
      ku::log::error(category(), "object does not have the required properties, or no distance");
      return;
    }
    const cv::Vec3f point = camera.point(centre->x, centre->y, distance);
    object.setProperty(keys.inTorso, toPosition(CameraPose(*torso).apply(point)));
    object.setProperty(keys.inRobot, toPosition(CameraPose(*robot).apply(point)));
    object.setProperty(keys.inWorld, toPosition(CameraPose(*world).apply(point)));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCompute3DPositions()
{
  return std::make_shared<Compute3DPositions>();
}
}  // namespace ZR::Filtrix::Filters
