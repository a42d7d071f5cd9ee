#pragma once

#include <memory>

namespace ZR
{
class ZRBroker;
}

// What a host looks up in the shared library when it loads the module. The names are the host's.
// NOLINTBEGIN(bugprone-reserved-identifier)

/// Makes the module "ZRFiltrix" at the broker, which owns it from then on. 0: done. Throws what the module's
/// constructor throws, `ZR::ZRServiceError` when the broker has such a module, and std::invalid_argument for a null
/// broker.
extern "C" int _createModule(const std::shared_ptr<ZR::ZRBroker>& broker);

/// Does nothing, and gives 0: the module ends with its broker.
extern "C" int _closeModule();

// NOLINTEND(bugprone-reserved-identifier)
