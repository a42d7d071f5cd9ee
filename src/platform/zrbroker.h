#pragma once

#include "platform/zrmodulecore.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZR
{
class ZRBrokerManager;

/// Nobody answers under a name, or somebody else than expected does, or the name is taken.
class ZRServiceError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Where modules and services find one another by name. They may come late, go away and come back at any time, so
/// whoever wants to call one holds a `ZRProxy`. Thread-safe.
///
/// The broker owns what is added to it. Those who live in it hold the broker by weak pointer, as `ZRModule` and
/// `ZRProxy` do.
class ZRBroker
{
public:
  ZRBroker() = default;
  ZRBroker(const ZRBroker&) = delete;
  ZRBroker& operator=(const ZRBroker&) = delete;
  virtual ~ZRBroker();

  [[nodiscard]] virtual const std::string& getName() const noexcept = 0;

  /// The host's, which a library of its own takes over when it is loaded.
  [[nodiscard]] virtual std::shared_ptr<ZRBrokerManager> brokerManager() const = 0;

  /// Adds under the object's own name. Throws `ZRServiceError` when the name is taken, std::invalid_argument for null.
  virtual void add(std::shared_ptr<ZRModuleCore> object) = 0;

  /// Takes away and hands over what stands under the name; null when there is nothing. Calls that run go on.
  virtual std::shared_ptr<ZRModuleCore> remove(const std::string& name) = 0;

  /// What stands under the name at this moment, or null.
  [[nodiscard]] virtual std::shared_ptr<ZRModuleCore> find(const std::string& name) const = 0;

  /// All names, sorted.
  [[nodiscard]] virtual std::vector<std::string> names() const = 0;
};
}  // namespace ZR
