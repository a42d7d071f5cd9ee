#pragma once

#include "filtrix/ku/log.h"
#include "module/entry.h"
#include "module/zrfiltrix.h"
#include "platform/inprocessbroker.h"
#include "program/filtrixprivate.h"

#include <memory>
#include <string>
#include <utility>

/// What the tests drive the whole system with.
namespace ZR::Filtrix::Test
{
/// The module in a host without a robot, as a caller by name sees it.
class ModuleBench
{
public:
  ModuleBench()
  {
    _createModule(host.broker());
    module = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find("ZRFiltrix"));
    log.clear();
  }

  template <typename... Arguments>
  ZRValue call(const std::string& method, Arguments&&... arguments)
  {
    return module->call(method, {ZRValue(std::forward<Arguments>(arguments))...});
  }

  FiltrixPrivate& registry() { return **static_cast<std::shared_ptr<FiltrixPrivate>*>(module->getFiltrix()); }

  ku::log::Capture log{ku::log::Level::Warning};
  Host host;
  std::shared_ptr<ZRFiltrix> module;
};
}  // namespace ZR::Filtrix::Test
