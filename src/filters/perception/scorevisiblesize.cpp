// Tells whether enough of a body is seen to judge it: in the image, and in metres. The bounds are exclusive.

#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/scorefilter.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
/// Of the image, in each direction.
constexpr float leastShare = 0.1F;

/// In each direction.
constexpr float leastSizeMetres = 0.15F;

class ScoreVisibleSize final : public ScoreFilter
{
public:
  ScoreVisibleSize() : ScoreFilter("ScoreVisibleSize", ScoreName::visibleSize, {TypeTag::Array}, {}) {}

private:
  [[nodiscard]] float computeScore(const Type::Human& human, const DataList&) const override
  {
    const auto body = bodyOf(human);
    if (!body)
      return zeroFor("Human has no Object3D");
    const auto mask = checkedProperty<Type::BinaryImage>(*body, Object3DProperty::Mask);
    const auto image = valueOf<Type::Vector2>(*body, Object3DProperty::SizeImage);
    const auto size = valueOf<Type::Vector2>(*body, Object3DProperty::RealVisibleSize);
    // Of an image without pixels nothing can be a share.
    if (!mask || !image || !size || !(image->x > 0.0F && image->y > 0.0F))
      return zeroFor("Object3D does not have the required property");

    const float widthShare = static_cast<float>(mask->width()) / image->x;
    const float heightShare = static_cast<float>(mask->height()) / image->y;
    const bool isLarge =
        widthShare > leastShare && heightShare > leastShare && size->x > leastSizeMetres && size->y > leastSizeMetres;
    return isLarge ? 1.0F : 0.0F;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeScoreVisibleSize()
{
  return std::make_shared<ScoreVisibleSize>();
}
}  // namespace ZR::Filtrix::Filters
