#include "filters/generic/genericfilter.h"
#include "graph/filtermemory.h"

namespace ZR::Filtrix::Filters
{
/// Lets a value through once.
///
/// | Port | Types | Meaning                                                        |
/// |------|-------|----------------------------------------------------------------|
/// | in   | any   | the value                                                      |
/// | out  | any   | the same value, or nothing while the last run's comes again    |
///
/// Two values are the same when they are one object: a source that is read twice between two pictures gives one object
/// twice, a filter that computes an equal value gives a new one. Nothing is compared, so an image costs no more than a
/// number. Keeps the last value per scope, and so keeps it alive.
class IfChanged final : public GenericFilter
{
public:
  IfChanged() : GenericFilter("IfChanged", "Lets a value through once: nothing while the same object comes again.")
  {
    input("in");
    output("out");
  }

  [[nodiscard]] bool isStateful() const override { return true; }

  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t) override;
};

DataList IfChanged::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                                std::uint64_t)
{
  if (inputs.size() != 1 || inputs[0] == getMemoryManager()->getMemory(processKey, scopeKey))
    return {};
  getMemoryManager()->setMemory(processKey, scopeKey, inputs[0]);
  return inputs;
}

FilterPtr makeIfChanged()
{
  return std::make_shared<IfChanged>();
}
}  // namespace ZR::Filtrix::Filters
