// Hands on the positions of the depth camera, or those of the top camera where there is no depth.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class SelectCameraPositions final : public PerceptionFilter
{
public:
  SelectCameraPositions() : PerceptionFilter("SelectCameraPositions") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    constexpr std::size_t frames = 3;
    const std::size_t first = *inputs[2 * frames]->get<bool>() ? frames : 0;
    return {inputs[first], inputs[first + 1], inputs[first + 2]};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeSelectCameraPositions()
{
  return std::make_shared<SelectCameraPositions>();
}
}  // namespace ZR::Filtrix::Filters
