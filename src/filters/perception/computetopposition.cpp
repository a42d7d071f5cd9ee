// Tells where a person stands and how tall it is, from the top of its body.
//
// What a camera sees of a head is its surface: the body's axis is half a head's depth farther along the bearing, and
// the ground positions are those of the axis. The height is that of the top pixel's upper edge above the axis's place.
// The distance is that of the head, whose middle lies below its top: for a camera that looks up or down that is another
// depth than the top's own.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
/// From the front of a head to the body's axis, in metres.
constexpr float halfHeadDepth = 0.09F;

/// From a body's top down to the middle of what its distance is taken of, in metres.
constexpr float topToMiddle = 0.08F;

class ComputeTopPosition final : public PerceptionFilter
{
public:
  ComputeTopPosition() : PerceptionFilter("ComputeTopPosition") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const float heightOffset = *inputs[1]->get<float>();
    if (!std::isfinite(heightOffset))
    {
      ku::log::error(category(), "expected a finite height offset");
      return {};
    }
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      compute(*human, heightOffset);
    return {inputs[0]};
  }

private:
  // What is known of a top: the camera it was seen through, its pixel's upper edge, the depth of its front, and how far
  // below the top, in metres, that was measured.
  struct Top
  {
    Pinhole camera;
    float u;
    float v;
    float depth;
    float measuredBelow;
    bool isCut;
    Type::Vector6 robot;
    Type::Vector6 world;
  };

  void compute(Type::Human& human, float heightOffset) const
  {
    const auto object = bodyOf(human);
    const auto image = human.getObject2D(ObjectName::bodyImage);
    const auto top = object ? topOf(*object) : image ? topOf(*image) : std::nullopt;
    if (!top || !isFinite(top->robot) || !isFinite(top->world))
    {
      ku::log::error(category(), "human has no object with the required properties");
      return;
    }
    write(human, *top, heightOffset);
  }

  static std::optional<Top> topOf(const Type::Object3D& object)
  {
    const auto view = ObjectView::of(object);
    const auto top = propertyOf<Type::Vector2>(object, Object3DProperty::TopOfBlob);
    const auto distance = propertyOf<std::int32_t>(object, Object3DProperty::TopOfBlobDist);
    const auto robot = propertyOf<Type::Vector6>(object, Object3DProperty::CameraPositionRobot);
    const auto world = propertyOf<Type::Vector6>(object, Object3DProperty::CameraPositionWorld);
    if (!view || !top || !distance || *distance <= 0 || !robot || !world)
      return std::nullopt;
    return Top{view->camera,  top->x,
               top->y - 0.5F, 0.001F * static_cast<float>(*distance),
               topToMiddle,   isTrue(object, Object3DProperty::TopBorderTouched),
               *robot,        *world};
  }

  static std::optional<Top> topOf(const Type::Object2D& object)
  {
    const auto region = propertyOf<Type::Region2>(object, Object2DProperty::Region2D);
    const auto size = propertyOf<Type::Vector2>(object, Object2DProperty::SizeImage);
    const auto fov = propertyOf<Type::Vector2>(object, Object2DProperty::FieldOfView);
    const auto distance = propertyOf<std::int32_t>(object, Object2DProperty::Distance);
    const auto robot = propertyOf<Type::Vector6>(object, Object2DProperty::CameraPositionRobot);
    const auto world = propertyOf<Type::Vector6>(object, Object2DProperty::CameraPositionWorld);
    if (!region || !size || !fov || !distance || *distance <= 0 || !robot || !world)
      return std::nullopt;
    const Pinhole camera(size->x, size->y, fov->x, fov->y);
    if (!camera.isValid())
      return std::nullopt;
    return Top{camera,
               0.5F * (region->start.x + region->end.x),
               region->start.y - 0.5F,
               0.001F * static_cast<float>(*distance),
               0.0F,
               isTrue(object, Object2DProperty::TopBorderTouched),
               *robot,
               *world};
  }

  static void write(Type::Human& human, const Top& top, float heightOffset)
  {
    const CameraPose robot(top.robot);
    const float rowsBelow = top.measuredBelow * top.camera.focalY() / top.depth;
    const cv::Vec3f front = robot.rotation * top.camera.point(top.u, top.v + rowsBelow, top.depth);
    const cv::Vec3f way = robot.rotation * top.camera.point(top.u, top.v, 1.0F);
    // Seen from above, the axis lies farther along the way that the pixel looks.
    const float range = std::hypot(front[0], front[1]) + halfHeadDepth;
    const cv::Vec3f axis = top.camera.point(top.u, top.v, range / std::max(std::hypot(way[0], way[1]), 1.0e-6F));
    const cv::Vec3f inRobot = robot.apply(axis);
    const cv::Vec3f inWorld = CameraPose(top.world).apply(axis);
    const cv::Vec3f ray = inRobot - robot.translation;
    const float height = inRobot[2] + heightOffset;

    human.setProperty(HumanProperty::Head3DPosition, makeData(inRobot[0], inRobot[1], inRobot[2]));
    human.setProperty(HumanProperty::GroundPositionInRobotFrame, makeData(inRobot[0], inRobot[1]));
    human.setProperty(HumanProperty::GroundPositionInWorldFrame, makeData(inWorld[0], inWorld[1]));
    human.setProperty(HumanProperty::AngularPosition,
                      makeData(std::atan2(ray[1], ray[0]), std::atan2(ray[2], std::hypot(ray[0], ray[1]))));
    human.setProperty(HumanProperty::Height, makeData(height));
    // A body that is cut by the image's border is taller than what is seen of it.
    const auto known = propertyOf<float>(human, HumanProperty::MaxHeight);
    if (!top.isCut)
      human.setProperty(HumanProperty::MaxHeight, makeData(known ? std::max(*known, height) : height));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeTopPosition()
{
  return std::make_shared<ComputeTopPosition>();
}
}  // namespace ZR::Filtrix::Filters
