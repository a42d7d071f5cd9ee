// Tells whether a body is solid as a person's is: the box of the shoulders must be well filled, and it must hold most
// of the body's pixels. A chair has holes, and a table has most of its pixels elsewhere. Cost: one pass over the box.

#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filters/perception/scorefilter.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
/// Of the box that is filled, and of the pixels that lie in it; exclusive.
constexpr float leastShare = 0.6F;

/// The whole pixels from `first` to `last`, both within, that an image of `size` has of them.
cv::Range clip(float first, float last, int size)
{
  // Written so that NaN ends up as an empty range.
  const int begin = first > 0.0F ? static_cast<int>(std::min(first, static_cast<float>(size))) : 0;
  const int end = last >= 0.0F ? static_cast<int>(std::min(last + 1.0F, static_cast<float>(size))) : 0;
  return {begin, std::max(begin, end)};
}

int countWithin(const cv::Mat& mask, const Type::Region2& box, const Type::Vector2& origin)
{
  const cv::Range columns = clip(box.start.x - origin.x, box.end.x - origin.x, mask.cols);
  const cv::Range rows = clip(box.start.y - origin.y, box.end.y - origin.y, mask.rows);
  return columns.empty() || rows.empty() ? 0 : cv::countNonZero(mask(rows, columns));
}

class ScoreBodyDensity final : public ScoreFilter
{
public:
  ScoreBodyDensity() : ScoreFilter("ScoreBodyDensity", ScoreName::bodyDensity, {TypeTag::Array}, {}) {}

private:
  [[nodiscard]] float computeScore(const Type::Human& human, const DataList&) const override
  {
    const auto body = bodyOf(human);
    if (!body)
      return zeroFor("Human has no Object3D");
    const auto shoulders = valueOf<Type::Region2>(human, HumanProperty::ShoulderRoi);
    if (!shoulders)
      return zeroFor("Human has no property 'ShoulderRoi'");
    const auto mask = checkedProperty<Type::BinaryImage>(*body, Object3DProperty::Mask);
    const auto region = valueOf<Type::Region2>(*body, Object3DProperty::Region2D);
    const auto pixels = valueOf<std::int32_t>(*body, Object3DProperty::PixelCount);
    if (!mask || !region || !pixels || *pixels <= 0)
      return zeroFor("Object3D does not have the required property");

    const auto count = static_cast<float>(countWithin(mask->cvMat(), *shoulders, region->start));
    const Type::Vector2 size = pixelSizeOf(*shoulders);
    const float fill = count / (size.x * size.y);
    const float share = count / static_cast<float>(*pixels);
    return fill > leastShare && share > leastShare ? 1.0F : 0.0F;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeScoreBodyDensity()
{
  return std::make_shared<ScoreBodyDensity>();
}
}  // namespace ZR::Filtrix::Filters
