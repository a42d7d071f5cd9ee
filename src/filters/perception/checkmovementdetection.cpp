// Tells a program whether it may leave out the search for movements: nobody is seen, or movements were looked for
// already, of which the body of the first person seen bears a mark. The population goes on as it came.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
class CheckMovementDetection final : public PerceptionFilter
{
public:
  CheckMovementDetection() : PerceptionFilter("CheckMovementDetection") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}))
    {
      ku::log::error(category(), "CheckMovementDetection : invalid inputs");
      return {};
    }
    const auto human = firstSeenOf(inputs[0], category(), "CheckMovementDetection: wrong input type, not Humans");
    return {inputs[0], makeData(!human || hasMovementData(*human))};
  }

private:
  [[nodiscard]] bool hasMovementData(const Type::Human& human) const
  {
    const auto body = bodyOf(human);
    if (!body)
      ku::log::error(category(), "CheckMovementDetection: human does not have an Object3D");
    return body && body->hasProperty(Object3DProperty::HasMovementData);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCheckMovementDetection()
{
  return std::make_shared<CheckMovementDetection>();
}
}  // namespace ZR::Filtrix::Filters
