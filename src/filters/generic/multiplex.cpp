#include "filters/generic/genericfilter.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
/// Gives one value of two, by precedence.
///
/// | Port   | Types | Meaning                                        |
/// |--------|-------|------------------------------------------------|
/// | master | any   | goes first                                     |
/// | slave  | any   | takes its place when `master` has no value     |
/// | out    | any   | the first of them that is there, shared, or nothing |
///
/// Both are computed, whichever is taken: to spare the work of one of them, put a Dispatch before it. Stateless.
class Multiplex final : public GenericFilter
{
public:
  Multiplex() : GenericFilter("Multiplex", "Gives the first of two values that is there.")
  {
    optionalInput("master");
    optionalInput("slave");
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Multiplex::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto first = std::ranges::find_if(inputs, [](const DataPtr& value) { return value != nullptr; });
  return {first != inputs.end() ? *first : nullptr};
}

FilterPtr makeMultiplex()
{
  return std::make_shared<Multiplex>();
}
}  // namespace ZR::Filtrix::Filters
