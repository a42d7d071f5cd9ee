#pragma once

#include "filters/generic/genericfilter.h"

#include <opencv2/core/mat.hpp>

namespace ZR::Filtrix::Filters
{
enum class Morphology
{
  Dilation,
  Erosion
};

/// Each pixel becomes the greatest (dilation) or the least (erosion) of the square of `size` pixels a side around it;
/// an even square reaches one pixel further to the left and up. What lies outside the image does not count, also where
/// the matrix is a part of a larger one. `size` is at least 1; a square larger than the image costs no more than one
/// that covers it. `image` has one channel of 8 or 16 bits and is not changed.
[[nodiscard]] cv::Mat applyMorphology(const cv::Mat& image, Morphology operation, int size);

/// The filters `Dilation` and `Erosion`.
///
/// | Port | Types                                 | Meaning                                          |
/// |------|---------------------------------------|--------------------------------------------------|
/// | in   | BinaryImage GrayscaleImage DepthImage | any size                                         |
/// | size | Integer                               | the side of the square in pixels, at least 1     |
/// | out  | as `in`                               | same size, source, time and fields of view       |
///
/// Wrong inputs and sizes are logged on "filtrix.filter.dilation" or "filtrix.filter.erosion" and give no output.
/// Stateless.
class MorphologyFilter : public GenericFilter
{
public:
  MorphologyFilter(const std::string& filterName, std::string_view description, Morphology operation,
                   std::string_view category);

  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth) override;

private:
  const Morphology operation;
  const std::string_view category;
};
}  // namespace ZR::Filtrix::Filters
