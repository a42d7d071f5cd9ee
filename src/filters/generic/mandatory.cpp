#include "filters/generic/mandatory.h"

#include "filters/generic/genericfilter.h"

#include <algorithm>
#include <string>

namespace ZR::Filtrix::Filters
{
/// Gives values only when all of them are there.
///
/// | Port       | Types | Meaning                                                  |
/// |------------|-------|----------------------------------------------------------|
/// | in1, in2   | any   | the values                                               |
/// | out1, out2 | any   | the same values, shared, or nothing on any while one is missing |
///
/// Two values is what a program needs most: a picture and what was found in it. Three take three of these: one for the
/// first two, one for its first output and the third, one for its second output and that third. Stateless.
class Mandatory final : public GenericFilter
{
public:
  explicit Mandatory(std::size_t count_);

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;

private:
  const std::size_t count;
};

Mandatory::Mandatory(std::size_t count_)
    : GenericFilter("Mandatory", "Gives its values when all are there, and none while one is missing."), count(count_)
{
  for (std::size_t i = 1; i <= count; ++i)
  {
    const std::string number = count > 1 ? std::to_string(i) : "";
    input("in" + number);
    output("out" + number);
  }
}

DataList Mandatory::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto isThere = [](const DataPtr& value) { return value != nullptr; };
  const std::size_t given = std::min(count, inputs.size());
  DataList values(inputs.begin(), inputs.begin() + static_cast<std::ptrdiff_t>(given));
  if (given < count || !std::ranges::all_of(values, isThere))
    values.assign(count, nullptr);
  return values;
}

FilterPtr makeMandatory(std::size_t count)
{
  return std::make_shared<Mandatory>(count);
}

FilterPtr makeMandatory()
{
  return makeMandatory(2);
}
}  // namespace ZR::Filtrix::Filters
