#include "graph/valuelistener.h"

#include "filtrix/ku/log.h"

#include <exception>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.event";

thread_local int firing = 0;  // listeners, one within the other, that this thread is in

class Firing
{
public:
  Firing() noexcept { ++firing; }

  Firing(const Firing&) = delete;
  Firing& operator=(const Firing&) = delete;

  ~Firing() { --firing; }
};
}  // namespace

void ValueListeners::add(std::shared_ptr<ValueListener> listener)
{
  const std::lock_guard lock(mutex);
  auto longer = listeners ? std::make_shared<List>(*listeners) : std::make_shared<List>();
  longer->push_back(std::move(listener));
  listeners = std::move(longer);
}

void ValueListeners::remove(const std::shared_ptr<ValueListener>& listener)
{
  const std::lock_guard lock(mutex);
  if (!listeners)
    return;
  auto shorter = std::make_shared<List>(*listeners);
  std::erase(*shorter, listener);
  listeners = std::move(shorter);
}

void ValueListeners::fire(const DataPtr& value) const
{
  const auto list = current();
  if (!list)
    return;
  const Firing mark;
  for (const auto& listener : *list)
  {
    try
    {
      listener->fire(value);
    }
    catch (const std::exception& cause)
    {
      ku::log::error(category, "an event failed: {}", cause.what());
    }
    catch (...)
    {
      ku::log::error(category, "an event failed: unknown exception");
    }
  }
}

bool ValueListeners::isFiring() noexcept
{
  return firing > 0;
}

std::size_t ValueListeners::size() const
{
  const auto list = current();
  return list ? list->size() : 0;
}

std::shared_ptr<const ValueListeners::List> ValueListeners::current() const
{
  const std::lock_guard lock(mutex);
  return listeners;
}
}  // namespace ZR::Filtrix
