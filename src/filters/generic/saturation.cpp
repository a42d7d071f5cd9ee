#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
// Block by block in two loops, as each alone is simple enough to be vectorised. The quotient of floats, truncated, is
// that of integers: one that is not whole is farther from the next whole number than the rounding reaches.
struct ToSaturation
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    constexpr int block = 256;
    std::uint8_t greatest[block];
    std::uint8_t spread[block];
    for (int begin = 0; begin < pixels; begin += block)
    {
      const int count = std::min(block, pixels - begin);
      const std::uint8_t* pixel = in + 3 * begin;
      for (int x = 0; x < count; ++x, pixel += 3)
      {
        greatest[x] = std::max(std::max(pixel[0], pixel[1]), pixel[2]);
        spread[x] = static_cast<std::uint8_t>(greatest[x] - std::min(std::min(pixel[0], pixel[1]), pixel[2]));
      }
      for (int x = 0; x < count; ++x)
      {
        const auto divisor = static_cast<float>(std::max<int>(greatest[x], 1));
        out[begin + x] = static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(spread[x] * 255) / divisor));
      }
    }
  }
};
}  // namespace

/// How colourful a colour image is: (greatest channel - least channel) * 255 / greatest channel, rounded down.
///
/// | Port | Types          | Meaning                                                                                  |
/// |------|----------------|------------------------------------------------------------------------------------------|
/// | in   | ColorImage     | any size                                                                                 |
/// | out  | GrayscaleImage | same size, source, time and fields of view; 0 for gray and black, 255 for pure colours   |
///
/// Source: A. R. Smith, "Color Gamut Transform Pairs", SIGGRAPH 1978. A missing input or another type gives no output.
/// Stateless.
class Saturation final : public GenericFilter
{
public:
  Saturation() : GenericFilter("Saturation", "Gives how far the colours of an image are from gray.")
  {
    input("in", {TypeTag::ColorImage});
    output("out", {TypeTag::GrayscaleImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Saturation::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::ColorImage)
    return {};
  return {Type::toData(TypeTag::GrayscaleImage, mapPixels(Type::toCvMat(*inputs[0]), ToSaturation()), *inputs[0])};
}

FilterPtr makeSaturation()
{
  return std::make_shared<Saturation>();
}
}  // namespace ZR::Filtrix::Filters
