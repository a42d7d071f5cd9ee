// Scores how likely a person looks at the robot: 1 when a face was found, which the search does only within about 25
// degrees of the camera, and 0 when none was. Who is not seen keeps the score of before.

#include "filters/perception/peoplememory.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
class HeadPoseAnalysis final : public PerceptionFilter
{
public:
  HeadPoseAnalysis() : PerceptionFilter("HeadPoseAnalysis") {}

  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}) || !isPopulation(inputs[0]))
    {
      ku::log::error(category(), "Wrong input type, not Humans");
      return {};
    }
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
      score(*personIn(value));
    return {inputs[0]};
  }

private:
  void score(Type::Human& human) const
  {
    const bool isSeen = valueOf<bool>(human, HumanProperty::IsVisible).value_or(true);
    if (!isSeen && human.hasScore(ScoreName::lookingAtRobot))
      return;
    if (const auto hasFace = valueOf<bool>(human, HumanProperty::FaceDetected))
      human.setScore(ScoreName::lookingAtRobot, *hasFace ? 1.0F : 0.0F);
    else
      ku::log::error(category(), "No face detection has been done");
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeHeadPoseAnalysis()
{
  return std::make_shared<HeadPoseAnalysis>();
}
}  // namespace ZR::Filtrix::Filters
