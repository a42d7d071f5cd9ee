// Tells where a person stands and how tall it is, from the top of its body.
//
// What a camera sees of a head is its surface: the body's axis is half a head's depth farther along the bearing, and
// the ground positions are those of the axis. The height is that of the top pixel's upper edge above the ground.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// From the front of a head to the body's axis, in metres.
constexpr float halfHeadDepth = 0.09F;

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
  void compute(Type::Human& human, float heightOffset) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    const auto top = object ? propertyOf<Type::Vector2>(*object, Object3DProperty::TopOfBlob) : nullptr;
    const auto topDistance = object ? propertyOf<std::int32_t>(*object, Object3DProperty::TopOfBlobDist) : nullptr;
    const auto world = object ? propertyOf<Type::Vector6>(*object, Object3DProperty::CameraPositionWorld) : nullptr;
    if (!view || !top || !topDistance || *topDistance <= 0 || !world || !isFinite(*world))
    {
      ku::log::error(category(), "human has no Object3D with the required properties");
      return;
    }
    // The axis lies farther along the way that the pixel looks, seen from above.
    const float depth = 0.001F * static_cast<float>(*topDistance);
    const float upperEdge = top->y - 0.5F;
    const cv::Vec3f front = view->camera.point(top->x, upperEdge, depth);
    const cv::Vec3f axis = front * (1.0F + halfHeadDepth / std::hypot(front[0], front[1]));
    const cv::Vec3f inRobot = view->robotPose.apply(axis);
    const cv::Vec3f inWorld = CameraPose(*world).apply(axis);
    const cv::Vec3f ray = inRobot - view->robotPose.translation;
    const float height = inRobot[2] + heightOffset;

    human.setProperty(HumanProperty::Head3DPosition, makeData(inRobot[0], inRobot[1], inRobot[2]));
    human.setProperty(HumanProperty::GroundPositionInRobotFrame, makeData(inRobot[0], inRobot[1]));
    human.setProperty(HumanProperty::GroundPositionInWorldFrame, makeData(inWorld[0], inWorld[1]));
    human.setProperty(HumanProperty::AngularPosition,
                      makeData(std::atan2(ray[1], ray[0]), std::atan2(ray[2], std::hypot(ray[0], ray[1]))));
    human.setProperty(HumanProperty::Height, makeData(height));
    // A body that is cut by the image's border is taller than what is seen of it.
    const auto known = propertyOf<float>(human, HumanProperty::MaxHeight);
    if (!isTrue(*object, Object3DProperty::TopBorderTouched))
      human.setProperty(HumanProperty::MaxHeight, makeData(known ? std::max(*known, height) : height));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeComputeTopPosition()
{
  return std::make_shared<ComputeTopPosition>();
}
}  // namespace ZR::Filtrix::Filters
