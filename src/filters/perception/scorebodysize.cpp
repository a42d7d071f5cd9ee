// Tells whether a body is as wide and as tall as a person: all bounds are inputs, in metres, and exclusive. A body that
// is cut by the top of the image cannot show its height, so it is excused the minimum, but never the maximum.

#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/scorefilter.h"

namespace ZR::Filtrix::Filters
{
namespace
{
bool isWithin(float value, float above, float below)
{
  return value > above && value < below;
}

class ScoreBodySize final : public ScoreFilter
{
public:
  ScoreBodySize()
      : ScoreFilter("ScoreBodySize", ScoreName::bodySize,
                    {TypeTag::Array, TypeTag::Float, TypeTag::Float, TypeTag::Float, TypeTag::Float}, {})
  {
  }

private:
  [[nodiscard]] float computeScore(const Type::Human& human, const DataList& inputs) const override
  {
    const auto body = bodyOf(human);
    if (!body)
      return zeroFor("Human has no Object3D");
    const auto width = floatProperty(human, HumanProperty::BodyWidth);
    const auto height = floatProperty(human, HumanProperty::Height);
    if (!width || !height)
      return zeroFor("Human does not have the required property");
    const auto isCut = valueOf<bool>(*body, Object3DProperty::TopBorderTouched);
    if (!isCut)
      return zeroFor("Object3D does not have the required property");

    const float minHeight = *inputs[1]->get<float>();
    const float maxHeight = *inputs[2]->get<float>();
    const bool isWide = isWithin(*width, *inputs[3]->get<float>(), *inputs[4]->get<float>());
    const bool isTall = *height < maxHeight && (*isCut || *height > minHeight);
    return isWide && isTall ? 1.0F : 0.0F;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeScoreBodySize()
{
  return std::make_shared<ScoreBodySize>();
}
}  // namespace ZR::Filtrix::Filters
