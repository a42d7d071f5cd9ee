// Tells whether the camera has moved since the last run: farther than its pose is known to scatter. It goes on saying
// so for a moment after the movement, since images lag behind poses.

#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/time.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float movedMetres = 0.01F;
constexpr float movedRadians = 0.006F;  ///< a pixel of 320 in a view of 58 degrees takes 0.003

/// So long after the last movement the camera counts as moving still.
const Type::Duration settling(200'000);

class CamMovement final : public PerceptionFilter
{
public:
  CamMovement() : PerceptionFilter("CamMovement") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto& pose = *inputs[0]->get<Type::Vector6>();
    if (!isFinite(pose))
      return {makeData(true)};  // nobody knows where it looks
    const Type::Time now = Type::Time::now();
    // Kept: the pose to compare with, and when a movement was last seen.
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    if (kept == nullptr)
    {
      keep(pose, Type::Time());
      return {makeData(false)};
    }
    const auto& reference = *(*kept)[0]->get<Type::Vector6>();
    const Type::Time lastMovement = *(*kept)[1]->get<Type::Time>();
    if (hasMoved(reference, pose))
    {
      keep(pose, now);
      return {makeData(true)};
    }
    return {makeData(lastMovement.isSet() && now - lastMovement < settling)};
  }

private:
  static bool hasMoved(const Type::Vector6& a, const Type::Vector6& b)
  {
    const cv::Vec3f way(a.x - b.x, a.y - b.y, a.z - b.z);
    const auto turned = [](float from, float to)
    { return std::abs(std::remainder(from - to, 2.0F * static_cast<float>(CV_PI))); };
    const float turn = std::max({turned(a.wx, b.wx), turned(a.wy, b.wy), turned(a.wz, b.wz)});
    return std::sqrt(way.dot(way)) > movedMetres || turn > movedRadians;
  }

  void keep(const Type::Vector6& pose, Type::Time movement)
  {
    setMemory(makeData(DataArray{makeData(pose), makeData(movement)}));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCamMovement()
{
  return std::make_shared<CamMovement>();
}
}  // namespace ZR::Filtrix::Filters
