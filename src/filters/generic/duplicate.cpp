#include "filters/generic/genericfilter.h"

namespace ZR::Filtrix::Filters
{
/// Gives a value to two outputs.
///
/// | Port        | Types | Meaning                              |
/// |-------------|-------|--------------------------------------|
/// | in          | any   | the value                            |
/// | left, right | any   | the same value, shared and not copied |
///
/// Stateless.
class Duplicate final : public GenericFilter
{
public:
  Duplicate() : GenericFilter("Duplicate", "Gives one value to two outputs.")
  {
    input("in");
    output("left");
    output("right");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Duplicate::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1)
    return {};
  return {inputs[0], inputs[0]};
}

FilterPtr makeDuplicate()
{
  return std::make_shared<Duplicate>();
}
}  // namespace ZR::Filtrix::Filters
