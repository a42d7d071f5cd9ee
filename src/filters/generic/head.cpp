#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"

namespace ZR::Filtrix::Filters
{
/// The first element of an array.
///
/// | Port | Types | Meaning                                             |
/// |------|-------|-----------------------------------------------------|
/// | in   | Array | the array                                           |
/// | out  | any   | its first element, shared; nothing when it is empty |
///
/// A missing input or another type gives no output. Stateless.
class Head final : public GenericFilter
{
public:
  Head() : GenericFilter("Head", "Gives the first element of an array.")
  {
    input("in", {TypeTag::Array});
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Head::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const array = inputAs<DataArray>(inputs, 0);
  if (inputs.size() != 1 || array == nullptr)
    return {};
  return {array->empty() ? nullptr : array->front()};
}

FilterPtr makeHead()
{
  return std::make_shared<Head>();
}
}  // namespace ZR::Filtrix::Filters
