#pragma once

#include "filters/generic/genericfilter.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// The filters that combine two values of the same type: `Add`, `Sub`, `Multiply`, `Min` and `Max`.
///
/// | Port        | Types                                      | Meaning                                              |
/// |-------------|--------------------------------------------|------------------------------------------------------|
/// | left, right | Integer Float Double and the filter's own  | two numbers or two images of one size                |
/// | out         | as `left`                                  | images: with source, time and fields of view of `left`
/// |
///
/// Numbers are never converted: an Integer and a Float give no output, and so do missing inputs and other types. An
/// Integer result too large for its 32 bits keeps the lower ones. Images of different size throw cv::Exception.
/// Stateless.
class ElementwiseFilter : public GenericFilter
{
public:
  /// `out` comes with the size and type of the operands, which are equal and not empty.
  using ImageOperation = void (*)(const cv::Mat& left, const cv::Mat& right, cv::Mat& out);

  struct Operation
  {
    std::int64_t (*ofIntegers)(std::int64_t left, std::int64_t right);

    /// For Float too: +, -, * and a choice, done in double and then rounded, give what they give in float.
    double (*ofFractions)(double left, double right);

    struct OfImages
    {
      TypeTag type;
      ImageOperation apply;  ///< null where the ports take the type but two of it have no result
    };

    std::vector<OfImages> ofImages;
  };

  ElementwiseFilter(const std::string& name, std::string_view description, Operation operation);

  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth) override;

private:
  DataPtr _combine(const Data& left, const Data& right) const;
  DataPtr _combineImages(const Data& left, const Data& right) const;

  const Operation operation;
};
}  // namespace ZR::Filtrix::Filters
