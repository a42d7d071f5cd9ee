#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/levelcounts.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <cstdint>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
// The level for which the variance between those at most it and those above is greatest; on a tie the lowest.
std::uint8_t bestLevel(const std::vector<std::uint32_t>& counts)
{
  std::int64_t total = 0;
  std::int64_t sum = 0;
  for (int level = 0; level < levelCount; ++level)
  {
    const std::int64_t count = counts[static_cast<std::size_t>(level)];
    total += count;
    sum += level * count;
  }

  int best = 0;
  double greatest = 0.0;
  std::int64_t dark = 0;
  std::int64_t darkSum = 0;
  for (int level = 0; level < levelCount && dark < total; ++level)
  {
    const std::int64_t count = counts[static_cast<std::size_t>(level)];
    dark += count;
    darkSum += level * count;
    const std::int64_t bright = total - dark;
    if (dark == 0 || bright == 0)
      continue;
    const float darkMean = static_cast<float>(darkSum) / static_cast<float>(dark);
    const float brightMean = static_cast<float>(sum - darkSum) / static_cast<float>(bright);
    const double distance = static_cast<double>(darkMean - brightMean);
    const double variance = static_cast<double>(bright) * static_cast<double>(dark) * distance * distance;
    if (variance > greatest)
    {
      greatest = variance;
      best = level;
    }
  }
  return static_cast<std::uint8_t>(best);
}

struct IsAbove
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int pixels) const
  {
    const std::uint8_t above = level;
    for (int x = 0; x < pixels; ++x)
      out[x] = in[x] > above ? 1 : 0;
  }

  std::uint8_t level;
};
}  // namespace

/// Splits a gray image into dark and bright so that the variance between the two classes is greatest.
/// Source: N. Otsu, "A Threshold Selection Method from Gray-Level Histograms", IEEE Trans. SMC 9(1), 1979.
///
/// | Port | Types          | Meaning                                                                                  |
/// |------|----------------|------------------------------------------------------------------------------------------|
/// | in   | GrayscaleImage | any size                                                                                 |
/// | out  | BinaryImage    | 1 for bright, 0 for dark; same size, source, time and fields of view                     |
///
/// On a tie the lowest level wins. A flat image has no split: whatever is above 0 counts as bright. A missing input or
/// another type gives no output. Stateless.
class Otsu final : public GenericFilter
{
public:
  Otsu() : GenericFilter("Otsu", "Splits an image into dark and bright at the level that separates them best.")
  {
    input("in", {TypeTag::GrayscaleImage});
    output("out", {TypeTag::BinaryImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Otsu::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::GrayscaleImage)
    return {};
  const cv::Mat image = Type::toCvMat(*inputs[0]);
  return {Type::toData(TypeTag::BinaryImage, mapPixels(image, IsAbove{bestLevel(countLevels(image))}), *inputs[0])};
}

FilterPtr makeOtsu()
{
  return std::make_shared<Otsu>();
}
}  // namespace ZR::Filtrix::Filters
