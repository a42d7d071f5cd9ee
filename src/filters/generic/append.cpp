#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"

#include <utility>

namespace ZR::Filtrix::Filters
{
/// Puts a value at the end of an array.
///
/// | Port  | Types          | Meaning                                          |
/// |-------|----------------|--------------------------------------------------|
/// | item  | any            | the value, shared and not copied                 |
/// | array | Array          | what comes before it; without one, nothing does  |
/// | out   | Array          | a new array; that of `array` stays as it is      |
///
/// No `item`, or an `array` of another type, gives no output. Stateless. Costs a copy of the array's pointers: a chain
/// of these gathers a few values, not thousands.
class Append final : public GenericFilter
{
public:
  Append() : GenericFilter("Append", "Puts a value at the end of an array, or begins an array with it.")
  {
    input("item");
    optionalInput("array", {TypeTag::Array});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Append::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.empty())
    return {};
  if (inputs.size() < 2 || !inputs[1])
    return {makeData(DataArray{inputs[0]})};

  const auto* const array = inputAs<DataArray>(inputs, 1);
  if (array == nullptr)
    return {};
  DataArray longer;
  longer.reserve(array->size() + 1);
  longer.assign(array->begin(), array->end());
  longer.push_back(inputs[0]);
  return {makeData(std::move(longer))};
}

FilterPtr makeAppend()
{
  return std::make_shared<Append>();
}
}  // namespace ZR::Filtrix::Filters
