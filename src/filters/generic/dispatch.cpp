#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"

namespace ZR::Filtrix::Filters
{
/// Sends a value one way or the other.
///
/// | Port    | Types   | Meaning                                |
/// |---------|---------|----------------------------------------|
/// | in      | any     | the value; without one, both ways stay empty |
/// | state   | Boolean | which way                              |
/// | ontrue  | any     | `in` while `state` is true, else nothing |
/// | onfalse | any     | `in` while `state` is false, else nothing |
///
/// A missing `state`, or one of another type, sends the value nowhere. What stands behind the empty way does not run,
/// since its input has no value. Stateless.
class Dispatch final : public GenericFilter
{
public:
  Dispatch() : GenericFilter("Dispatch", "Sends a value to one of two outputs, as a state tells.")
  {
    optionalInput("in");
    input("state", {TypeTag::Boolean});
    output("ontrue");
    output("onfalse");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Dispatch::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const state = inputAs<bool>(inputs, 1);
  if (inputs.size() != 2 || state == nullptr)
    return {nullptr, nullptr};
  return *state ? DataList{inputs[0], nullptr} : DataList{nullptr, inputs[0]};
}

FilterPtr makeDispatch()
{
  return std::make_shared<Dispatch>();
}
}  // namespace ZR::Filtrix::Filters
