#pragma once

#include "filters/generic/genericfilters.h"
#include "filtrix/data.h"
#include "graph/filterprimitive.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace ZR::Filtrix::Filters
{
/// What the filters of the generic library share: ports declared in one line each, and a description for users. An
/// empty result of `applyFilter` means that the inputs were not all there or not of the filter's types; the run goes
/// on.
class GenericFilter : public FilterPrimitive
{
public:
  GenericFilter(std::string filterName, std::string_view text) : FilterPrimitive(std::move(filterName)), about(text) {}

  [[nodiscard]] std::string getDescription() const override { return about; }

protected:
  using Types = std::initializer_list<TypeTag>;

  /// A port without types takes every value.
  void input(const std::string& port, Types types = {}) { declare(*addInput(port), types); }

  void optionalInput(const std::string& port, Types types = {})
  {
    const PortPtr added = addInput(port);
    declare(*added, types);
    added->setOptional(true);
  }

  void output(const std::string& port, Types types = {}) { declare(*addOutput(port), types); }

private:
  static void declare(Port& port, Types types)
  {
    for (const TypeTag type : types)
      port.addType(type);
  }

  const std::string about;
};
}  // namespace ZR::Filtrix::Filters
