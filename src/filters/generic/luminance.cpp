#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
// No sum is beyond 16 bits.
struct ToLuminance
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    for (int x = 0; x < pixels; ++x, in += 3)
      out[x] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(66 * in[0] + 128 * in[1] + 25 * in[2] + 128) >> 8);
  }
};
}  // namespace

/// The brightness of a colour image: (66 red + 128 green + 25 blue + 128) / 256, rounded down, which is 0 to 218.
///
/// | Port | Types          | Meaning                                                                                  |
/// |------|----------------|------------------------------------------------------------------------------------------|
/// | in   | ColorImage     | any size                                                                                 |
/// | out  | GrayscaleImage | same size, source, time and fields of view                                               |
///
/// The weights are those of studio video without its offset of 16: ITU-R BT.601, 1982, scaled by 219/255. A missing
/// input or another type gives no output. Stateless.
class Luminance final : public GenericFilter
{
public:
  Luminance() : GenericFilter("Luminance", "Gives the brightness of a colour image.")
  {
    input("in", {TypeTag::ColorImage});
    output("out", {TypeTag::GrayscaleImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Luminance::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::ColorImage)
    return {};
  return {Type::toData(TypeTag::GrayscaleImage, mapPixels(Type::toCvMat(*inputs[0]), ToLuminance()), *inputs[0])};
}

FilterPtr makeLuminance()
{
  return std::make_shared<Luminance>();
}
}  // namespace ZR::Filtrix::Filters
