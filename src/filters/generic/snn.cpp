#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace ZR::Filtrix::Filters
{
namespace
{
// A row's sums are built up stretch by stretch, so that they stay in the first-level cache.
constexpr int stretch = 512;

std::uint8_t distance(std::uint8_t a, std::uint8_t b)
{
  return static_cast<std::uint8_t>(std::max(a, b) - std::min(a, b));
}

// Adds to each sum the member of the pixel's pair that is nearer to it. On a tie that is the second one within the
// pixel's own row, and the first one otherwise.
template <typename Sum>
struct AddNearer
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* pixels, const std::uint8_t* first,
                                         const std::uint8_t* second, Sum* sums, int count) const
  {
    const std::uint8_t handicap = ownRow ? 1 : 0;
    for (int x = 0; x < count; ++x)
    {
      const std::uint8_t ofFirst = distance(first[x], pixels[x]);
      const std::uint8_t ofSecond = distance(second[x], pixels[x]);
      const bool takesFirst = handicap ? ofFirst < ofSecond : ofFirst <= ofSecond;
      sums[x] = static_cast<Sum>(sums[x] + (takesFirst ? first[x] : second[x]));
    }
  }

  bool ownRow;
};

template <typename Sum>
struct Divide
{
  [[gnu::always_inline]] void operator()(const Sum* sums, std::uint8_t* out, int count) const
  {
    const Sum by = divisor;
    for (int x = 0; x < count; ++x)
      out[x] = static_cast<std::uint8_t>(sums[x] / by);
  }

  Sum divisor;
};

// Sums of 16 bits are exact in float, and their quotients too when truncated: one that is not whole is farther from the
// next whole number than the rounding reaches. Unlike integer division, that is vectorised.
template <>
struct Divide<std::uint16_t>
{
  [[gnu::always_inline]] void operator()(const std::uint16_t* sums, std::uint8_t* out, int count) const
  {
    const auto by = static_cast<float>(divisor);
    for (int x = 0; x < count; ++x)
      out[x] = static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(sums[x]) / by));
  }

  std::uint16_t divisor;
};

std::int64_t pairCount(std::int64_t radius)
{
  return 2 * radius * (radius + 1);
}

// The means of `count` pixels from (left, y) on, whose windows lie within the image.
template <typename Sum>
void averageStretch(const cv::Mat& image, cv::Mat& result, int y, int left, int count, int radius)
{
  const std::uint8_t* const pixels = image.ptr<std::uint8_t>(y) + left;
  std::array<Sum, stretch> sums;
  std::copy_n(pixels, count, sums.begin());
  for (int dy = -radius; dy < 0; ++dy)
  {
    for (int dx = -radius; dx <= radius; ++dx)
      runVectorized(AddNearer<Sum>{false}, pixels, image.ptr<std::uint8_t>(y + dy) + left + dx,
                    image.ptr<std::uint8_t>(y - dy) + left - dx, sums.data(), count);
  }
  for (int dx = -radius; dx < 0; ++dx)
    runVectorized(AddNearer<Sum>{true}, pixels, pixels + dx, pixels - dx, sums.data(), count);
  const auto divisor = static_cast<Sum>(pairCount(radius) + 1);
  runVectorized(Divide<Sum>{divisor}, static_cast<const Sum*>(sums.data()), result.ptr<std::uint8_t>(y) + left, count);
}

cv::Mat averageNearest(const cv::Mat& image, int radius)
{
  cv::Mat result = makePooledMat(image.rows, image.cols, CV_8UC1);
  result.setTo(cv::Scalar());
  constexpr int greatestCount = std::numeric_limits<std::uint16_t>::max() / std::numeric_limits<std::uint8_t>::max();
  const bool small = pairCount(radius) + 1 <= greatestCount;
  const auto average = small ? &averageStretch<std::uint16_t> : &averageStretch<std::uint64_t>;
  for (int y = radius; y < image.rows - radius; ++y)
  {
    for (int left = radius; left < image.cols - radius; left += stretch)
      average(image, result, y, left, std::min(stretch, image.cols - radius - left), radius);
  }
  return result;
}
}  // namespace

/// Smooths a gray image and keeps its edges: the symmetric nearest neighbour mean.
/// Source: D. Harwood, M. Subbarao, H. Hakalahti, L. S. Davis, "A New Class of Edge-Preserving Smoothing Filters",
/// Pattern Recognition Letters 6(3), 1987.
///
/// | Port | Types                     | Meaning |
/// |------|---------------------------|--------------------------------------------------------------------------------|
/// | in   | GrayscaleImage ColorImage | a gray image of any size; no result for a ColorImage | | size | Integer | the
/// side of the window in pixels, at least 0; an even one is raised by one     | | out  | BinaryImage               |
/// gray levels; same size, source, time and fields of view                        |
///
/// Of each two pixels that lie opposite to one another in the window around a pixel, the one nearer to it in value
/// counts; the result is the mean of these and the pixel itself, rounded down. On a tie it is the right one within the
/// pixel's row, and the one in the upper row otherwise. Where the window would reach over the border the result is 0: a
/// window larger than the image leaves nothing. The cost grows with the square of the size.
///
/// Missing inputs, other types and a negative size are logged on "filtrix.filter.snn" and give no output. Stateless.
class SNN final : public GenericFilter
{
public:
  SNN() : GenericFilter("SNN", "Smooths a gray image and keeps its edges.")
  {
    input("in", {TypeTag::GrayscaleImage, TypeTag::ColorImage});
    input("size", {TypeTag::Integer});
    output("out", {TypeTag::BinaryImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList SNN::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || typeOf(inputs[0]) != TypeTag::GrayscaleImage || typeOf(inputs[1]) != TypeTag::Integer ||
      inputs[1]->toInt() < 0)
  {
    // The name in the line has always been that of another filter; whoever searches logs for it finds it by category.
    logInvalidInput("filtrix.filter.snn", "Dilation");
    return {};
  }
  const int radius = inputs[1]->toInt() / 2;
  return {Type::toData(TypeTag::BinaryImage, averageNearest(Type::toCvMat(*inputs[0]), radius), *inputs[0])};
}

FilterPtr makeSNN()
{
  return std::make_shared<SNN>();
}
}  // namespace ZR::Filtrix::Filters
