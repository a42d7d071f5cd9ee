#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace ZR
{
class ZRBroker;

/// Knows the brokers of a process, without keeping them alive. Thread-safe.
class ZRBrokerManager final
{
public:
  /// The one that `getInstance` gives from now on: a library that has its own copy of this code takes over its host's.
  /// Null gives up the present one.
  static void setInstance(std::shared_ptr<ZRBrokerManager> manager);

  /// Never null: the first call makes one.
  [[nodiscard]] static std::shared_ptr<ZRBrokerManager> getInstance();

  /// Adding one again changes nothing; null throws std::invalid_argument.
  void addBroker(const std::shared_ptr<ZRBroker>& broker);

  /// Any broker that is alive, or null.
  [[nodiscard]] std::shared_ptr<ZRBroker> getRandomBroker() const;

private:
  mutable std::mutex mutex;  // guards the list; a leaf
  std::vector<std::weak_ptr<ZRBroker>> brokers;
};
}  // namespace ZR
