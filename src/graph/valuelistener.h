#pragma once

#include "filtrix/data.h"

#include <memory>
#include <mutex>
#include <vector>

namespace ZR::Filtrix
{
/// Hears of each new value of a source or a sink.
class ValueListener
{
public:
  ValueListener() = default;
  ValueListener(const ValueListener&) = delete;
  ValueListener& operator=(const ValueListener&) = delete;
  virtual ~ValueListener() = default;

  /// Called on the publishing thread, never with null, with no lock of the publisher held.
  virtual void fire(const DataPtr& value) = 0;
};

/// The listeners of one publisher, fired in the order in which they came. Thread-safe.
class ValueListeners final
{
public:
  void add(std::shared_ptr<ValueListener> listener);

  /// A value that is being fired may still reach the listener.
  void remove(const std::shared_ptr<ValueListener>& listener);

  /// Fires each listener with a value that is not null. One that throws is logged and does not disturb the publisher,
  /// nor the listeners after it.
  void fire(const DataPtr& value) const;

  /// True when this thread is within a listener.
  [[nodiscard]] static bool isFiring() noexcept;

  [[nodiscard]] std::size_t size() const;

private:
  using List = std::vector<std::shared_ptr<ValueListener>>;

  [[nodiscard]] std::shared_ptr<const List> current() const;

  // A leaf lock on the pointer. The list itself is never changed, so firing needs no lock and no copy.
  mutable std::mutex mutex;
  std::shared_ptr<const List> listeners;
};
}  // namespace ZR::Filtrix
