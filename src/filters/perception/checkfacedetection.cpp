// Tells a program whether it may leave out the search for faces: nobody is seen, or faces were looked for already, of
// which the first person seen bears a mark. The population goes on as it came.

#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
class CheckFaceDetection final : public PerceptionFilter
{
public:
  CheckFaceDetection() : PerceptionFilter("CheckFaceDetection") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}))
    {
      ku::log::error(category(), "CheckFaceDetection : invalid inputs");
      return {};
    }
    const auto human = firstSeenOf(inputs[0], category(), "CheckFaceDetection: wrong input type, not Humans");
    return {inputs[0], makeData(!human || human->hasProperty(HumanProperty::HasFaceDetectionRun))};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCheckFaceDetection()
{
  return std::make_shared<CheckFaceDetection>();
}
}  // namespace ZR::Filtrix::Filters
