#include "filters/generic/genericfilter.h"

namespace ZR::Filtrix::Filters
{
/// Gives what it gets: a place in the graph that can be named, watched or exposed.
///
/// | Port | Types | Meaning              |
/// |------|-------|----------------------|
/// | in   | any   | the value            |
/// | out  | any   | the same value, shared |
///
/// Stateless.
class Identity final : public GenericFilter
{
public:
  Identity() : GenericFilter("Identity", "Gives the value that it gets.")
  {
    input("in");
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    return inputs;
  }
};

FilterPtr makeIdentity()
{
  return std::make_shared<Identity>();
}
}  // namespace ZR::Filtrix::Filters
