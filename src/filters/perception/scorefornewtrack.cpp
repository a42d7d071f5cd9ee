// Tells whether a candidate is seen well enough to begin a track with: it is not partly hidden, its top is in the
// image, it has exactly one head, which stands in the middle half of the shoulders, and where faces were looked for one
// was found.

#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/scorefilter.h"

#include <cstdint>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// Whole pixels; nothing for what cannot count pixels.
std::optional<std::uint64_t> wholePixels(float pixels)
{
  if (!(pixels > -1.0F && pixels < 1.0e6F))
    return std::nullopt;
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(pixels));
}

bool isInMiddleHalf(std::uint64_t head, const Type::Region2& shoulders, float boxLeft)
{
  const auto width = wholePixels(pixelSizeOf(shoulders).x);
  const auto offset = wholePixels(shoulders.start.x - boxLeft);
  return width && offset && head > *offset + *width / 4 && head < *offset + 3 * *width / 4;
}

class ScoreForNewTrack final : public ScoreFilter
{
public:
  ScoreForNewTrack() : ScoreFilter("ScoreForNewTrack", ScoreName::forNewTrack, {TypeTag::Array}, {}) {}

private:
  [[nodiscard]] float computeScore(const Type::Human& human, const DataList&) const override
  {
    const auto body = bodyOf(human);
    if (!body)
      return zeroFor("Human has no Object3D");
    const auto shoulders = valueOf<Type::Region2>(human, HumanProperty::ShoulderRoi);
    if (!shoulders)
      return zeroFor("Human does not have the required property");
    const auto box = valueOf<Type::Region2>(*body, Object3DProperty::Region2D);
    const auto isCut = valueOf<bool>(*body, Object3DProperty::TopBorderTouched);
    const auto heads = checkedProperty<DataArray>(*body, Object3DProperty::PossibleHeads);
    if (!box || !isCut || !heads)
      return zeroFor("Object3D does not have the required property");

    const bool hasOneHead = valueOf<std::int32_t>(human, HumanProperty::HeadCount) == 1;
    const auto head = hasOneHead && !heads->empty() ? countIn(heads->front()) : std::nullopt;
    const bool isHeadRight = head && isInMiddleHalf(*head, *shoulders, box->start.x);
    const bool isHidden = valueOf<bool>(*body, Object3DProperty::HiddenByOtherBlob).value_or(false);
    const bool isFaceRight = valueOf<bool>(human, HumanProperty::FaceDetected).value_or(true);
    return !isHidden && !*isCut && isHeadRight && isFaceRight ? 1.0F : 0.0F;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeScoreForNewTrack()
{
  return std::make_shared<ScoreForNewTrack>();
}
}  // namespace ZR::Filtrix::Filters
