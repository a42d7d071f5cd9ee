// Names the colour of a person's shirt: the basic colour term that most pixels of the torso have, when its share is
// large enough to speak of one colour.
//
// Sources: B. Berlin, P. Kay, "Basic Color Terms", 1969; R. Benavente et al., "Color Names", in "Color in Computer
// Vision", 2012. The bounds are in degrees of hue and shares of saturation and value.

#include "filters/perception/hsv.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/shirtcolors.h"
#include "filters/perception/topixel.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"

#include <algorithm>
#include <array>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A term with a smaller share names nothing: the shirt has several colours.
constexpr float leastShare = 0.4F;

enum ColorIndex : std::size_t
{
  black,
  gray,
  white,
  red,
  orange,
  yellow,
  green,
  cyan,
  blue,
  purple,
  pink,
  brown
};

static_assert(static_cast<std::size_t>(brown) == otherShirtColor);

std::size_t termOf(const Hsv& colour)
{
  if (colour.value < 0.20F)
    return black;
  if (colour.saturation < 0.12F)
    return colour.value > 0.75F ? white : gray;
  if (colour.hue < 15.0F || colour.hue >= 345.0F)
    return colour.saturation < 0.5F && colour.value > 0.7F ? pink : red;
  if (colour.hue < 40.0F)
    return colour.value < 0.60F ? brown : orange;
  if (colour.hue < 68.0F)
    return colour.value < 0.40F ? brown : yellow;
  if (colour.hue < 165.0F)
    return green;
  if (colour.hue < 195.0F)
    return cyan;
  if (colour.hue < 255.0F)
    return blue;
  if (colour.hue < 290.0F)
    return purple;
  return colour.value < 0.45F ? purple : pink;
}

class SetShirtColorName final : public PerceptionFilter
{
public:
  SetShirtColorName() : PerceptionFilter("SetShirtColorName") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      name(*human);
    return {inputs[0]};
  }

private:
  // Pixels of one term, and the sum of their colours.
  struct Term
  {
    int count = 0;
    std::array<float, 3> sum{};
  };

  static void name(Type::Human& human)
  {
    const auto mask = propertyOf<Type::BinaryImage>(human, HumanProperty::TorsoMask);
    const auto roi = propertyOf<Type::Region2>(human, HumanProperty::TorsoMaskRoi);
    const auto body = human.getObject2D(ObjectName::bodyImage);
    const auto image = body ? propertyOf<Type::ColorImage>(*body, Object2DProperty::Image) : nullptr;
    const auto place = body ? propertyOf<Type::Region2>(*body, Object2DProperty::Region2D) : nullptr;
    if (!mask || !roi || !image || !place)
      return;
    const cv::Point offset(toPixel(roi->start.x - place->start.x), toPixel(roi->start.y - place->start.y));
    write(human, count(*image, *mask, offset));
  }

  static std::array<Term, shirtColorCount> count(const Type::ColorImage& image, const Type::BinaryImage& mask,
                                                 const cv::Point& offset)
  {
    std::array<Term, shirtColorCount> terms;
    const cv::Rect frame(0, 0, image.width(), image.height());
    for (int v = 0; v < mask.height(); ++v)
    {
      for (int u = 0; u < mask.width(); ++u)
      {
        const cv::Point at = offset + cv::Point(u, v);
        if (mask.at(u, v) == 0 || !frame.contains(at))
          continue;
        const std::array pixel{image.at(at.x, at.y, 0), image.at(at.x, at.y, 1), image.at(at.x, at.y, 2)};
        Term& term = terms[termOf(Hsv(pixel[0], pixel[1], pixel[2]))];
        ++term.count;
        for (std::size_t channel = 0; channel < pixel.size(); ++channel)
          term.sum[channel] += static_cast<float>(pixel[channel]);
      }
    }
    return terms;
  }

  static void write(Type::Human& human, const std::array<Term, shirtColorCount>& terms)
  {
    int total = 0;
    for (const Term& term : terms)
      total += term.count;
    if (total == 0)
      return;
    Type::Histogram shares(shirtColorCount);
    for (std::size_t i = 0; i < terms.size(); ++i)
      shares.values()[i] = static_cast<float>(terms[i].count) / static_cast<float>(total);
    human.setProperty(HumanProperty::ShirtColorHistogram, makeData(shares));

    const std::uint32_t most = shares.maxIndex();
    if (shares.values()[most] < leastShare)
      return;
    const Term& term = terms[most];
    const auto mean = [&](std::size_t channel) { return term.sum[channel] / static_cast<float>(term.count); };
    Type::Histogram history(shirtColorCount);
    history.values()[most] = 1.0F;
    const std::string_view colour = most < otherShirtColor ? shirtColorNames[most] : otherShirtColorName;
    human.setProperty(HumanProperty::ShirtColorName, makeData(std::string(colour)));
    human.setProperty(HumanProperty::ShirtColorNameHistory, makeData(history));
    human.setProperty(HumanProperty::ShirtColor, makeData(mean(0), mean(1), mean(2)));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeSetShirtColorName()
{
  return std::make_shared<SetShirtColorName>();
}
}  // namespace ZR::Filtrix::Filters
