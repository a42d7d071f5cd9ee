#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int white = 255;
constexpr int halfTurn = 180;
constexpr int fullTurn = 360;

// The hue in whole degrees, -179 to 179, rounded towards 0: the angle of the colour in the plane across the gray axis.
// The roots and turns are as coarse as they were when programs' reference hues were tuned: 1.73 is the root of 3, 6.29
// the full turn in radians.
int degreesOf(int greenMinusBlue, int redExcess)
{
  const auto radians = static_cast<float>(std::atan2(1.73 * greenMinusBlue, static_cast<double>(redExcess)));
  return static_cast<int>(static_cast<double>(radians) / 6.29 * 360.0);
}

// The hue of every colour. It depends on two differences of channels alone, and swapping green and blue changes only
// its sign. Colours of natural images are close to gray, so most of their entries stay in the first-level cache.
class HueTable final
{
public:
  HueTable() : degrees(static_cast<std::size_t>(side) * side)
  {
    for (int redMinusBlue = -white; redMinusBlue <= white; ++redMinusBlue)
    {
      for (int redMinusGreen = -white; redMinusGreen <= white; ++redMinusGreen)
        degrees[_index(redMinusBlue, redMinusGreen)] =
            static_cast<std::uint8_t>(std::abs(degreesOf(redMinusBlue - redMinusGreen, redMinusBlue + redMinusGreen)));
    }
  }

  // Without the sign, which is that of green - blue.
  [[nodiscard]] int absoluteDegrees(int redMinusBlue, int redMinusGreen) const
  {
    return degrees[_index(redMinusBlue, redMinusGreen)];
  }

private:
  static constexpr int side = 2 * white + 1;

  static std::size_t _index(int redMinusBlue, int redMinusGreen)
  {
    return static_cast<std::size_t>((redMinusBlue + white) * side + redMinusGreen + white);
  }

  std::vector<std::uint8_t> degrees;
};

// Made by the first run: it takes some milliseconds.
const HueTable& hueTable()
{
  static const HueTable table;
  return table;
}

// 255 for no distance on the colour circle to 0 for half a turn.
std::uint8_t nearness(std::int64_t degrees)
{
  const auto distance = static_cast<int>(std::abs(degrees) % fullTurn);
  const int shortWay = distance > halfTurn ? fullTurn - distance : distance;
  return static_cast<std::uint8_t>(white - shortWay * white / halfTurn);
}

// How near each hue is to the reference: those without sign and those with a negative one.
class Nearness final
{
public:
  explicit Nearness(std::int64_t reference)
  {
    for (int i = 0; i < halfTurn; ++i)
    {
      levels[0][static_cast<std::size_t>(i)] = nearness(i - reference);
      levels[1][static_cast<std::size_t>(i)] = nearness(-i - reference);
    }
  }

  void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    for (int x = 0; x < pixels; ++x, in += 3)
    {
      const int degrees = table.absoluteDegrees(in[0] - in[2], in[0] - in[1]);
      out[x] = levels[in[1] < in[2]][static_cast<std::size_t>(degrees)];
    }
  }

private:
  const HueTable& table = hueTable();
  std::array<std::array<std::uint8_t, white + 1>, 2> levels{};
};
}  // namespace

/// How near the hues of a colour image are to a reference hue.
///
/// | Port  | Types          | Meaning                                                                                |
/// |-------|----------------|----------------------------------------------------------------------------------------|
/// | in    | ColorImage     | any size                                                                               |
/// | color | Integer        | the reference in degrees: 0 is red, 120 green, 240 blue; whole turns do not count      |
/// | out   | GrayscaleImage | 255 at the reference, 0 opposite to it; same size, source, time and fields of view     |
///
/// The hue of a pixel is atan2(1.73 (green - blue), 2 red - green - blue) / 6.29 of a turn, truncated to whole degrees;
/// gray pixels count as red. A. Hanbury, "Constructing cylindrical coordinate colour spaces", Pattern Recognition
/// Letters 29(4), 2008, discusses this hue. Missing inputs or other types give no output. Stateless.
class Hue final : public GenericFilter
{
public:
  Hue() : GenericFilter("Hue", "Gives how near the hues of an image are to a reference hue.")
  {
    input("in", {TypeTag::ColorImage});
    input("color", {TypeTag::Integer});
    output("out", {TypeTag::GrayscaleImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Hue::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || typeOf(inputs[0]) != TypeTag::ColorImage || typeOf(inputs[1]) != TypeTag::Integer)
    return {};
  const cv::Mat result = mapPixels(Type::toCvMat(*inputs[0]), Nearness(inputs[1]->toInt()));
  return {Type::toData(TypeTag::GrayscaleImage, result, *inputs[0])};
}

FilterPtr makeHue()
{
  return std::make_shared<Hue>();
}
}  // namespace ZR::Filtrix::Filters
