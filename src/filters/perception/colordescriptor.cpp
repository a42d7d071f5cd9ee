// Describes a person's colours by a histogram of the torso: sixteen hues of four saturations each, and four grays. A
// vivid pixel counts more than a pale or a dark one, whose hue is mostly noise; the sum is one. The companion holds how
// many pixels stand behind each bin, whatever their weight.
//
// Sources: M. Swain, D. Ballard, "Color Indexing", International Journal of Computer Vision 7, 1991; D. Comaniciu,
// V. Ramesh, P. Meer, "Kernel-Based Object Tracking", PAMI 25, 2003.

#include "filters/perception/hsv.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/topixel.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int hues = 16;
constexpr int saturations = 4;
constexpr int grays = 4;
constexpr std::uint32_t bins = hues * saturations + grays;

/// Below these a pixel is gray.
constexpr float leastSaturation = 0.15F;
constexpr float leastValue = 0.15F;

int binOf(const Hsv& colour)
{
  if (colour.saturation < leastSaturation || colour.value < leastValue)
    return hues * saturations + std::min(grays - 1, static_cast<int>(colour.value * grays));
  const int hue = std::min(hues - 1, static_cast<int>(colour.hue / 360.0F * hues));
  const int saturation = std::min(saturations - 1, static_cast<int>(colour.saturation * saturations));
  return hue * saturations + saturation;
}

float weightOf(const Hsv& colour)
{
  const bool isGray = colour.saturation < leastSaturation || colour.value < leastValue;
  return isGray ? 0.5F : colour.saturation * colour.value;
}

class ColorDescriptor final : public PerceptionFilter
{
public:
  ColorDescriptor() : PerceptionFilter("ColorDescriptor") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      describe(*human);
    return {inputs[0]};
  }

private:
  // A person without a torso mask keeps what it has: nobody could see its shirt.
  static void describe(Type::Human& human)
  {
    const auto mask = propertyOf<Type::BinaryImage>(human, HumanProperty::TorsoMask);
    const auto roi = propertyOf<Type::Region2>(human, HumanProperty::TorsoMaskRoi);
    const auto body = human.getObject2D(ObjectName::bodyImage);
    const auto image = body ? propertyOf<Type::ColorImage>(*body, Object2DProperty::Image) : nullptr;
    const auto place = body ? propertyOf<Type::Region2>(*body, Object2DProperty::Region2D) : nullptr;
    if (!mask || !roi || !image || !place)
      return;
    const int left = toPixel(roi->start.x - place->start.x);
    const int top = toPixel(roi->start.y - place->start.y);
    Type::Histogram weights(bins);
    Type::Histogram counts(bins);
    float sum = 0.0F;
    for (int v = 0; v < mask->height(); ++v)
    {
      for (int u = 0; u < mask->width(); ++u)
      {
        const int x = left + u;
        const int y = top + v;
        if (mask->at(u, v) == 0 || x < 0 || y < 0 || x >= image->width() || y >= image->height())
          continue;
        const Hsv colour(image->at(x, y, 0), image->at(x, y, 1), image->at(x, y, 2));
        const int bin = binOf(colour);
        weights.values()[bin] += weightOf(colour);
        counts.values()[bin] += 1.0F;
        sum += weightOf(colour);
      }
    }
    if (sum <= 0.0F)
      return;
    std::for_each_n(weights.values(), bins, [sum](float& value) { value /= sum; });
    human.setProperty(HumanProperty::ColorDescriptor, makeData(weights));
    human.setProperty(HumanProperty::ColorDescriptorData, makeData(counts));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeColorDescriptor()
{
  return std::make_shared<ColorDescriptor>();
}
}  // namespace ZR::Filtrix::Filters
