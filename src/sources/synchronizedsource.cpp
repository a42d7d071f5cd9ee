#include "sources/synchronizedsource.h"

#include "graph/nodesource.h"
#include "program/filtrixprivate.h"

#include <algorithm>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
// Never negative, whichever comes first.
Duration distance(Time a, Time b)
{
  return std::max(a, b) - std::min(a, b);
}

// Hands the values of the other source on. The registry owns both ends, so neither holds the other.
class Follower final : public ValueListener
{
public:
  explicit Follower(const std::shared_ptr<SynchronizedSource>& source_) : source(source_) {}

  void fire(const DataPtr& value) override
  {
    if (const auto alive = source.lock())
      alive->setData(value);
  }

private:
  const std::weak_ptr<SynchronizedSource> source;
};
}  // namespace

std::string SynchronizedSource::nameFor(const std::string& source)
{
  return "Synchronized_" + source;
}

SynchronizedSource::SynchronizedSource(const std::string& source, std::function<bool()> isRead_)
    : name(nameFor(source)), isRead(std::move(isRead_))
{
}

void SynchronizedSource::setData(const DataPtr& value)
{
  const bool keeps = value && isRead();  // asked without the lock: it takes those of the registry
  boost::circular_buffer<Entry> dropped;
  const std::lock_guard lock(mutex);
  if (!keeps)
  {
    if (!history.empty())
    {
      dropped.swap(history);
      history.set_capacity(historyLength);
    }
    return;
  }
  history.push_back({value->timestamp().isSet() ? value->timestamp() : Time::now(), value});
}

DataPtr SynchronizedSource::getData(Time time, Duration tolerance)
{
  const std::lock_guard lock(mutex);
  // From the newest on, which so wins a tie.
  const auto nearest =
      std::min_element(history.rbegin(), history.rend(),
                       [&](const Entry& a, const Entry& b) { return distance(a.time, time) < distance(b.time, time); });
  if (nearest == history.rend() || distance(nearest->time, time) > tolerance)
    return nullptr;
  return nearest->value;
}

bool addSynchronizedSource(const std::shared_ptr<FiltrixPrivate>& registry, NodeSource& source)
{
  const std::string name = SynchronizedSource::nameFor(source.getName());
  const auto isRead = [weak = std::weak_ptr(registry), name]
  {
    const auto alive = weak.lock();
    return alive && alive->getSourceDemand(name) > 0.0F;
  };
  const auto synchronized = std::make_shared<SynchronizedSource>(source.getName(), isRead);
  if (!registry->createSource(name, synchronized))
    return false;
  source.addEvent(std::make_shared<Follower>(synchronized));
  return true;
}
}  // namespace ZR::Filtrix
