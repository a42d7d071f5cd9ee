#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"
#include "graph/lambda.h"

namespace ZR::Filtrix::Filters
{
/// Applies a filter that comes as a value.
///
/// | Port  | Types  | Meaning                                                                  |
/// |-------|--------|--------------------------------------------------------------------------|
/// | fun   | Lambda | the filter                                                               |
/// | param | Array  | an element for each input of the filter that is not bound yet, in order  |
/// | out   | any    | what the filter gives on its first output                                |
///
/// Inputs beyond the end of `param` keep the value of the application before; surplus elements are ignored. A filter
/// that comes to apply itself, or that applies others too deep, is refused with a line in the log and no output. So
/// are, without a line, missing inputs and other types. What the applied filter throws goes on to the caller.
class Apply final : public GenericFilter
{
public:
  Apply() : GenericFilter("Apply", "Applies a filter that comes as a value to the elements of an array.")
  {
    input("fun", {TypeTag::Lambda});
    input("param", {TypeTag::Array});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Apply::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  auto* const lambda = inputAs<Type::Lambda>(inputs, 0);
  const auto* const arguments = inputAs<DataArray>(inputs, 1);
  if (lambda == nullptr || arguments == nullptr)
    return {};
  return lambda->apply(*arguments);
}

FilterPtr makeApply()
{
  return std::make_shared<Apply>();
}
}  // namespace ZR::Filtrix::Filters
