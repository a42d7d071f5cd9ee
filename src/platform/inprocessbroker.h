#pragma once

#include "platform/zrbroker.h"
#include "platform/zrbrokermanager.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ZR
{
/// A broker whose modules and services all live in this process: a call is a plain call. Thread-safe.
class InProcessBroker final : public ZRBroker
{
public:
  explicit InProcessBroker(std::string name);
  ~InProcessBroker() override;

  [[nodiscard]] const std::string& getName() const noexcept override { return name; }

  [[nodiscard]] std::shared_ptr<ZRBrokerManager> brokerManager() const override { return manager; }

  void add(std::shared_ptr<ZRModuleCore> object) override;
  std::shared_ptr<ZRModuleCore> remove(const std::string& name) override;
  [[nodiscard]] std::shared_ptr<ZRModuleCore> find(const std::string& name) const override;
  [[nodiscard]] std::vector<std::string> names() const override;

  /// Lets go of everything, the last added first, while those that were added before it can still be called. What is
  /// added meanwhile goes too.
  void shutDown();

private:
  using Objects = std::vector<std::shared_ptr<ZRModuleCore>>;

  [[nodiscard]] Objects::const_iterator _find(const std::string& name) const;

  const std::string name;
  const std::shared_ptr<ZRBrokerManager> manager;

  mutable std::mutex mutex;  // guards the rest; a leaf: nothing is called or destroyed with it held
  Objects objects;           // in the order of adding
};

/// A robot in this process: a broker that shuts down in order at the end of its life.
class Host final
{
public:
  explicit Host(std::string name = "host");
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  [[nodiscard]] const std::shared_ptr<InProcessBroker>& broker() const noexcept { return theBroker; }

private:
  std::shared_ptr<InProcessBroker> theBroker;
};
}  // namespace ZR
