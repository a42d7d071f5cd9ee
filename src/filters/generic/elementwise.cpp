#include "filters/generic/elementwise.h"

#include "filters/generic/filterinputs.h"
#include "filters/generic/pixelloops.h"
#include "filtrix/image.h"

#include <algorithm>
#include <utility>

namespace ZR::Filtrix::Filters
{
ElementwiseFilter::ElementwiseFilter(const std::string& name_, std::string_view description, Operation operation_)
    : GenericFilter(name_, description), operation(std::move(operation_))
{
  for (const char* const side : {"left", "right"})
  {
    const PortPtr port = addInput(side);
    for (const TypeTag type : {TypeTag::Integer, TypeTag::Float, TypeTag::Double})
      port->addType(type);
    for (const auto& [type, apply] : operation.ofImages)
      port->addType(type);
  }
  output("out");
}

DataList ElementwiseFilter::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 2 || !inputs[0] || !inputs[1] || typeOf(inputs[0]) != typeOf(inputs[1]))
    return {};
  DataPtr result = _combine(*inputs[0], *inputs[1]);
  return result ? DataList{std::move(result)} : DataList{};
}

DataPtr ElementwiseFilter::_combine(const Data& left, const Data& right) const
{
  switch (left.type())
  {
  case TypeTag::Integer:
    return makeData(static_cast<std::int32_t>(operation.ofIntegers(left.toInt(), right.toInt())));
  case TypeTag::Float:
    return makeData(static_cast<float>(operation.ofFractions(left.toDouble(), right.toDouble())));
  case TypeTag::Double:
    return makeData(operation.ofFractions(left.toDouble(), right.toDouble()));
  default:
    return _combineImages(left, right);
  }
}

DataPtr ElementwiseFilter::_combineImages(const Data& left, const Data& right) const
{
  const auto row = std::ranges::find(operation.ofImages, left.type(), &Operation::OfImages::type);
  if (row == operation.ofImages.end() || !row->apply)
    return nullptr;

  const cv::Mat leftMat = Type::toCvMat(left);
  const cv::Mat rightMat = Type::toCvMat(right);
  requireSameSize(getName(), leftMat, rightMat);
  cv::Mat out = makePooledMat(leftMat.rows, leftMat.cols, leftMat.type());
  if (!leftMat.empty())
    row->apply(leftMat, rightMat, out);
  return Type::toData(left.type(), out, left);
}
}  // namespace ZR::Filtrix::Filters
