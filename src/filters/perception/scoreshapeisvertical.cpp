// Grades how upright the plane through a body is: 1 for a plane that is vertical in the world, falling to 0 at 90
// degrees. The plane's slope comes from the first two numbers of its equation and is set right by the camera's pitch.

#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/scorefilter.h"
#include "filtrix/ku/log.h"

#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float quarterTurn = 1.5707964F;

// `pitch` in radians. A plane of no slope at all, where the sum is zero, is graded 0.
float gradeOf(const Type::Vector4& plane, float pitch)
{
  const float sum = plane.x + plane.y;
  const float slope = (plane.y / sum) / (plane.x / sum);
  const float grade = 1.0F - std::abs(std::atan(slope) + pitch) / quarterTurn;
  return grade > 0.0F ? grade : 0.0F;
}

class ScoreShapeIsVertical final : public ScoreFilter
{
public:
  ScoreShapeIsVertical()
      : ScoreFilter("ScoreShapeIsVertical", ScoreName::shapeIsVertical, {TypeTag::Array},
                    {"ScoreShapeIsVertical : invalid inputs", "ScoreShapeIsVertical: wrong input type, not Humans"})
  {
  }

private:
  [[nodiscard]] float computeScore(const Type::Human& human, const DataList&) const override
  {
    const auto body = bodyOf(human);
    if (!body)
    {
      ku::log::error(category(), "ScoreShapeIsVertical : human has no Object3D");
      return 0.0F;
    }
    const auto plane = valueOf<Type::Vector4>(*body, Object3DProperty::MainPlaneEquation);
    const auto camera = valueOf<Type::Vector6>(*body, Object3DProperty::CameraPositionRobot);
    if (!plane || !camera)
      return zeroFor("ScoreShapeIsVertical : Object3D does not have the required property");
    return gradeOf(*plane, camera->wy);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeScoreShapeIsVertical()
{
  return std::make_shared<ScoreShapeIsVertical>();
}
}  // namespace ZR::Filtrix::Filters
