#include "filters/generic/genericfilter.h"
#include "filtrix/ku/log.h"

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* category = "Filtrix";
}

/// Writes a value to the log, and gives it on.
///
/// | Port | Types | Meaning                                    |
/// |------|-------|--------------------------------------------|
/// | in   | any   | the value; without one nothing is written  |
/// | out  | any   | the same value, shared                     |
///
/// The lines stand at level 4 (info) on "Filtrix". While the log lets no such line through, no text is made. Stateless.
class Print final : public GenericFilter
{
public:
  Print() : GenericFilter("Print", "Writes a value to the log as a text, and gives it on.")
  {
    optionalInput("in");
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Print::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (!ku::log::isEnabled(ku::log::Level::Info, category))
    return inputs;
  for (const DataPtr& value : inputs)
    if (value)
      ku::log::write(ku::log::Level::Info, category, Type::toText(*value));
  return inputs;
}

FilterPtr makePrint()
{
  return std::make_shared<Print>();
}
}  // namespace ZR::Filtrix::Filters
