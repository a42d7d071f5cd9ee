#include "filters/generic/elementwise.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdint>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int white = 255;

// left * right / 255, rounded down. For products of two bytes, (p + 1 + p / 256) / 256 is that quotient, and fits into
// 16 bits on the way.
struct MultiplyShares
{
  [[gnu::always_inline]] void operator()(const std::uint8_t* left, const std::uint8_t* right, std::uint8_t* out,
                                         int count) const
  {
    for (int i = 0; i < count; ++i)
    {
      const auto product = static_cast<std::uint16_t>(left[i] * right[i]);
      out[i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(product + 1 + (product >> 8)) >> 8);
    }
  }
};

void multiplyColors(const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
{
  for (int y = 0; y < left.rows; ++y)
    runVectorized(MultiplyShares(), left.ptr<std::uint8_t>(y), right.ptr<std::uint8_t>(y), out.ptr<std::uint8_t>(y),
                  left.cols * left.channels());
}

// Saturates like OpenCV's scaling, also where the product is beyond what that computes with.
class Scale final
{
public:
  explicit Scale(int factor_) : factor(static_cast<std::uint16_t>(std::clamp(factor_, 0, white))) {}

  [[gnu::always_inline]] void operator()(const std::uint8_t* in, std::uint8_t* out, int count) const
  {
    const std::uint16_t by = factor;
    for (int i = 0; i < count; ++i)
      out[i] = static_cast<std::uint8_t>(std::min<int>(static_cast<std::uint16_t>(in[i] * by), white));
  }

private:
  // A negative product is 0, and any factor from 255 on makes every pixel but 0 white.
  const std::uint16_t factor;
};
}  // namespace

/// Two colour images multiply as shares of white: left * right / 255, rounded down. Two binary images give the bits
/// that both have. A gray image on the left takes an Integer on the right; its pixels saturate.
class Multiply final : public ElementwiseFilter
{
public:
  Multiply();
  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth) override;
};

Multiply::Multiply()
    : ElementwiseFilter("Multiply", "Multiplies two numbers, two images, or a gray image and an Integer.",
                        {[](std::int64_t left, std::int64_t right) { return left * right; },
                         [](double left, double right) { return left * right; },
                         {{TypeTag::ColorImage, &multiplyColors},
                          {TypeTag::BinaryImage, [](const cv::Mat& left, const cv::Mat& right, cv::Mat& out)
                           { cv::bitwise_and(left, right, out); }},
                          {TypeTag::GrayscaleImage, nullptr}}})
{
}

DataList Multiply::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                               std::uint64_t depth)
{
  const bool scales =
      inputs.size() == 2 && typeOf(inputs[0]) == TypeTag::GrayscaleImage && typeOf(inputs[1]) == TypeTag::Integer;
  if (!scales)
    return ElementwiseFilter::applyFilter(inputs, processKey, scopeKey, depth);
  const cv::Mat scaled = mapPixels(Type::toCvMat(*inputs[0]), Scale(inputs[1]->toInt()));
  return {Type::toData(TypeTag::GrayscaleImage, scaled, *inputs[0])};
}

FilterPtr makeMultiply()
{
  return std::make_shared<Multiply>();
}
}  // namespace ZR::Filtrix::Filters
