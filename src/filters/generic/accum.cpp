#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filtrix/image.h"
#include "graph/filtermemory.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* category = "filtrix.filter.accum";

// The shares of the new image and of the old one, in 256ths.
struct Weights
{
  // A factor that is no number counts as 0, and one beyond 100 as 100, so that weighted values of 16 bits and their sum
  // fit into 32.
  explicit Weights(float factor)
  {
    constexpr double limit = 100.0;
    const double share = std::isnan(factor) ? 0.0 : std::clamp(static_cast<double>(factor), -limit, limit);
    newer = truncateToInt(share * 256.0);
    older = truncateToInt((1.0 - share) * 256.0);
  }

  // The result lies between the two pixels.
  [[nodiscard]] bool isMean() const { return newer >= 0 && older >= 0; }

  int newer;
  int older;
};

// Of 16-bit pixels, the high bytes and the low ones are weighted apart: no sum needs more than 16 bits, so the vector
// registers hold twice as many.
template <typename Pixel>
void blendMean(const Pixel* newer, const Pixel* older, Pixel* out, int count, const Weights& weights)
{
  const auto newWeight = static_cast<std::uint16_t>(weights.newer);
  const auto oldWeight = static_cast<std::uint16_t>(weights.older);
  const auto weigh = [=](int ofNewer, int ofOlder)
  { return static_cast<std::uint16_t>(ofNewer * newWeight + ofOlder * oldWeight); };
  for (int i = 0; i < count; ++i)
  {
    const int low = weigh(newer[i] & 0xFF, older[i] & 0xFF) >> 8;
    out[i] = static_cast<Pixel>(sizeof(Pixel) == 1 ? low : weigh(newer[i] >> 8, older[i] >> 8) + low);
  }
}

template <typename Pixel>
void blendAny(const Pixel* newer, const Pixel* older, Pixel* out, int count, const Weights& weights)
{
  constexpr int highest = std::numeric_limits<Pixel>::max();
  for (int i = 0; i < count; ++i)
    out[i] = static_cast<Pixel>(std::clamp((newer[i] * weights.newer + older[i] * weights.older) >> 8, 0, highest));
}

template <typename Pixel>
cv::Mat blend(const cv::Mat& newer, const cv::Mat& older, const Weights& weights)
{
  cv::Mat out = makePooledMat(newer.rows, newer.cols, newer.type());
  const auto blendRow = weights.isMean() ? &blendMean<Pixel> : &blendAny<Pixel>;
  for (int y = 0; y < newer.rows; ++y)
    blendRow(newer.ptr<Pixel>(y), older.ptr<Pixel>(y), out.ptr<Pixel>(y), newer.cols * newer.channels(), weights);
  return out;
}

DataPtr blend(const Data& newer, const Data& older, const Weights& weights)
{
  const cv::Mat image = Type::toCvMat(newer);
  const cv::Mat state = Type::toCvMat(older);
  if (image.size() != state.size())
    return Type::toData(newer.type(), image.clone(), newer);
  const cv::Mat blended =
      image.depth() == CV_8U ? blend<std::uint8_t>(image, state, weights) : blend<std::uint16_t>(image, state, weights);
  return Type::toData(newer.type(), blended, newer);
}
}  // namespace

/// Smooths images over time: each run moves the result towards the new image.
///
/// | Port   | Types                                | Meaning                                                         |
/// |--------|--------------------------------------|-----------------------------------------------------------------|
/// | in     | ColorImage GrayscaleImage DepthImage | the new image                                                   |
/// | factor | Float                                | its share of the result, 0 to 1                                 |
/// | out    | as the first `in`                    | (in * newWeight + last out * oldWeight) / 256, rounded down     |
///
/// The weights are factor * 256 and (1 - factor) * 256, truncated, which loses a little brightness at each step. A
/// factor outside 0 to 1 extrapolates and the pixels saturate; beyond -100 and 100 it counts as these, and as 0 when it
/// is no number. Depths are blended as they stand, also those of 0.
///
/// Keeps the last result per scope, which starts as a copy of the first image; an image of another size starts afresh.
/// While images of another type come the result stays as it was. A published result is never written to again: workers
/// may still read it. Source, time and fields of view are those of `in`.
///
/// A missing input or a factor that is no Float gives no output; another type of image is also logged, on
/// "filtrix.filter.accum".
class Accum final : public GenericFilter
{
public:
  Accum() : GenericFilter("Accum", "Smooths images over time.")
  {
    input("in", {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::DepthImage});
    input("factor", {TypeTag::Float});
    output("out");
  }

  [[nodiscard]] bool isStateful() const override { return true; }

  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t) override;
};

DataList Accum::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                            std::uint64_t)
{
  if (inputs.size() != 2 || typeOf(inputs[1]) != TypeTag::Float)
    return {};
  const TypeTag type = typeOf(inputs[0]);
  if (!isOneOf(type, {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::DepthImage}))
  {
    logInvalidInput(category, "Accum");
    return {};
  }

  const DataPtr last = getMemoryManager()->getMemory(processKey, scopeKey);
  if (last && last->type() != type)
    return {last};
  DataPtr result = last ? blend(*inputs[0], *last, Weights(inputs[1]->toFloat()))
                        : Type::toData(type, Type::toCvMat(*inputs[0]).clone(), *inputs[0]);
  getMemoryManager()->setMemory(processKey, scopeKey, result);
  return {std::move(result)};
}

FilterPtr makeAccum()
{
  return std::make_shared<Accum>();
}
}  // namespace ZR::Filtrix::Filters
