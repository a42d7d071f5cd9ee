#pragma once

#include <fmt/format.h>

#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ZR
{
/// The open subscriptions of a service by their identifiers. Thread-safe.
template <typename Subscription>
class SubscriptionTable final
{
public:
  /// Gives the new identifier: who asks, and a number.
  std::string add(const std::string& name, std::shared_ptr<Subscription> subscription)
  {
    const std::lock_guard lock(mutex);
    std::string id = fmt::format("{}_{}", name, ++count);
    open.emplace(id, std::move(subscription));
    return id;
  }

  /// Throws std::invalid_argument when there is none of this identifier.
  [[nodiscard]] std::shared_ptr<Subscription> find(const std::string& id) const
  {
    const std::lock_guard lock(mutex);
    return _find(id)->second;
  }

  /// Takes it out, or throws as `find` does.
  std::shared_ptr<Subscription> remove(const std::string& id)
  {
    const std::lock_guard lock(mutex);
    const auto found = _find(id);
    auto subscription = found->second;
    open.erase(found);
    return subscription;
  }

  [[nodiscard]] std::vector<std::shared_ptr<Subscription>> all() const
  {
    const std::lock_guard lock(mutex);
    std::vector<std::shared_ptr<Subscription>> subscriptions;
    for (const auto& [id, subscription] : open)
      subscriptions.push_back(subscription);
    return subscriptions;
  }

private:
  using Open = std::map<std::string, std::shared_ptr<Subscription>>;

  [[nodiscard]] typename Open::const_iterator _find(const std::string& id) const
  {
    const auto found = open.find(id);
    if (found == open.end())
      throw std::invalid_argument(fmt::format("no subscription \"{}\"", id));
    return found;
  }

  mutable std::mutex mutex;  // guards the rest; a leaf
  Open open;
  unsigned count = 0;
};
}  // namespace ZR
