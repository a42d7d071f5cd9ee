#include "filtrix/histogram.h"

#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/levelcounts.h"
#include "filtrix/image.h"

#include <vector>

namespace ZR::Filtrix::Filters
{
/// Counts how often each of the 256 values stands in each channel of an image.
///
/// | Port | Types                     | Meaning                                                                       |
/// |------|---------------------------|-------------------------------------------------------------------------------|
/// | in   | ColorImage GrayscaleImage | any size                                                                      |
/// | out  | Histogram                 | counts of pixels; as many channels as `in`; carries the time of `in`          |
///
/// A count beyond 2^24 is rounded to a float. A missing input or another type gives no output. Stateless.
class Histogram final : public GenericFilter
{
public:
  Histogram() : GenericFilter("Histogram", "Counts how often each value stands in an image.")
  {
    input("in", {TypeTag::ColorImage, TypeTag::GrayscaleImage});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Histogram::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || !isOneOf(typeOf(inputs[0]), {TypeTag::ColorImage, TypeTag::GrayscaleImage}))
    return {};
  const unsigned channels = inputs[0]->type() == TypeTag::ColorImage ? 3 : 1;
  auto histogram = std::make_shared<Type::Histogram>(levelCount * channels, channels);
  // An empty image has no channels: it counts nothing.
  const cv::Mat image = Type::toCvMat(*inputs[0]);
  if (!image.empty())
    std::ranges::copy(countLevels(image), histogram->values());
  DataPtr result = makeData(std::move(histogram));
  result->setTimestamp(Type::timestamp(*inputs[0]));
  return {std::move(result)};
}

FilterPtr makeHistogram()
{
  return std::make_shared<Histogram>();
}
}  // namespace ZR::Filtrix::Filters
