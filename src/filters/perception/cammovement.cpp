// Tells whether the camera has moved since the last run: farther than its pose is known to scatter. It goes on saying
// so for a moment after the movement, since images lag behind poses.

#include "filters/perception/camerageometry.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/time.h"

namespace ZR::Filtrix::Filters
{
namespace
{
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
