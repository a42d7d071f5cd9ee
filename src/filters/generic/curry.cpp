#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"
#include "graph/lambda.h"

namespace ZR::Filtrix::Filters
{
/// Fixes the first inputs of a filter that is a value.
///
/// | Port  | Types  | Meaning                                                             |
/// |-------|--------|---------------------------------------------------------------------|
/// | fun   | Lambda | the filter; it stays as it is                                       |
/// | param | Array  | values for those of its inputs that are not bound yet, in order     |
/// | out   | Lambda | a copy of the filter that has these inputs bound and asks no more   |
///
/// An empty array gives a plain copy, surplus elements are ignored. Missing inputs or other types give no output.
/// Stateless. Each run makes a new value, so feed it from what changes seldom.
class Curry final : public GenericFilter
{
public:
  Curry() : GenericFilter("Curry", "Fixes the first inputs of a filter that comes as a value.")
  {
    input("fun", {TypeTag::Lambda});
    input("param", {TypeTag::Array});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Curry::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const lambda = inputAs<Type::Lambda>(inputs, 0);
  const auto* const arguments = inputAs<DataArray>(inputs, 1);
  if (lambda == nullptr || arguments == nullptr)
    return {};
  return {makeData(lambda->curry(*arguments))};
}

FilterPtr makeCurry()
{
  return std::make_shared<Curry>();
}
}  // namespace ZR::Filtrix::Filters
