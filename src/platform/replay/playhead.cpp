#include "platform/replay/playhead.h"

#include <algorithm>
#include <utility>

namespace ZR::Replay
{
namespace
{
// Services answer within this time, with nothing if need be: a caller may want to stop.
constexpr std::chrono::seconds longestWait(1);

// Cameras do not tick exactly: an item that comes a little early still counts as one period later.
constexpr double earliestShareOfPeriod = 0.75;

Nanoseconds periodOf(int perSecond)
{
  const Nanoseconds period = Nanoseconds(std::chrono::seconds(1)) / std::max(perSecond, 1);
  return std::chrono::duration_cast<Nanoseconds>(period * earliestShareOfPeriod);
}
}  // namespace

Consumer::Consumer(std::string name_, std::shared_ptr<const Timeline> track_, Delivery delivery_, int perSecond)
    : name(std::move(name_)), track(std::move(track_)), delivery(delivery_), period(periodOf(perSecond))
{
}

Playhead::Playhead(bool startsByItself_) : startsByItself(startsByItself_) {}

void Playhead::play(Nanoseconds lead)
{
  const std::lock_guard lock(mutex);
  if (origin)
    return;
  origin = ku::Clock::now() + lead;
  for (const auto& consumer : consumers)
    _rouse(*consumer);
}

void Playhead::stop()
{
  const std::lock_guard lock(mutex);
  stopped = true;
  for (const auto& consumer : consumers)
    consumer->alarm.interrupt();
  changed.notify_all();
}

std::optional<Nanoseconds> Playhead::position() const
{
  const std::lock_guard lock(mutex);
  return _position();
}

std::optional<Nanoseconds> Playhead::_position() const
{
  return origin ? std::optional<Nanoseconds>(ku::Clock::now() - *origin) : std::nullopt;
}

ku::Clock::time_point Playhead::timeOf(Nanoseconds moment) const
{
  const std::lock_guard lock(mutex);
  return origin.value_or(ku::Clock::now()) + moment;
}

void Playhead::open(const std::shared_ptr<Consumer>& consumer)
{
  if (startsByItself)
    play(Nanoseconds(0));
  const std::lock_guard lock(mutex);
  consumer->since = _position().value_or(Nanoseconds(0));
  consumers.push_back(consumer);
}

void Playhead::close(Consumer& consumer)
{
  const std::lock_guard lock(mutex);
  consumer.closed = true;
  consumer.alarm.interrupt();
  std::erase_if(consumers, [&](const auto& other) { return other.get() == &consumer; });
  changed.notify_all();
}

void Playhead::setRate(Consumer& consumer, int perSecond)
{
  const std::lock_guard lock(mutex);
  consumer.period = periodOf(perSecond);
  _rouse(consumer);
}

std::optional<std::uint64_t> Playhead::next(Consumer& consumer)
{
  const ku::Clock::time_point latest = ku::Clock::now() + longestWait;
  while (true)
  {
    // Before the look, so that whoever changes something after it cuts the sleep short.
    consumer.alarm.rearm();
    ku::Clock::duration length{};
    {
      const std::lock_guard lock(mutex);
      consumer.wake.reset();
      if (stopped || consumer.closed)
        return std::nullopt;
      if (const auto item = _take(consumer))
        return item;
      const ku::Clock::time_point now = ku::Clock::now();
      if (now >= latest)
        return std::nullopt;
      consumer.wake = _wakeTime(consumer, latest);
      length = *consumer.wake - now;
      changed.notify_all();
    }
    consumer.alarm.sleepFor(length);
  }
}

// The first item that the consumer may have: after the last, and not too early for its rate.
std::optional<std::uint64_t> Playhead::_candidate(const Consumer& consumer) const
{
  if (!consumer.last)
    return consumer.track->firstFrom(consumer.since);
  const Nanoseconds step =
      consumer.delivery == Delivery::Newest ? std::max(consumer.period, Nanoseconds(1)) : Nanoseconds(1);
  return consumer.track->firstFrom(*consumer.last + step);
}

std::optional<std::uint64_t> Playhead::_take(Consumer& consumer) const
{
  const auto position = _position();
  const auto candidate = _candidate(consumer);
  if (!position || !candidate || *consumer.track->timeOf(*candidate) > *position)
    return std::nullopt;
  const auto item = consumer.delivery == Delivery::Newest ? consumer.track->lastUntil(*position) : candidate;
  consumer.last = consumer.track->timeOf(*item);
  return item;
}

ku::Clock::time_point Playhead::_wakeTime(const Consumer& consumer, ku::Clock::time_point latest) const
{
  const auto candidate = _candidate(consumer);
  const auto moment = candidate ? consumer.track->timeOf(*candidate) : std::nullopt;
  // A moment of a damaged file may be so far away that the clock could not tell it.
  if (!origin || !moment || *moment - *_position() > longestWait)
    return latest;
  return std::min(latest, *origin + *moment);
}

void Playhead::wakeDue()
{
  const std::lock_guard lock(mutex);
  const ku::Clock::time_point now = ku::Clock::now();
  for (const auto& consumer : consumers)
    if (consumer->wake && *consumer->wake <= now)
      _rouse(*consumer);
}

// It does not rest until it has looked again: what it waits for may come earlier now.
void Playhead::_rouse(Consumer& consumer)
{
  consumer.wake.reset();
  consumer.alarm.interrupt();
}

bool Playhead::waitForRest(std::chrono::milliseconds patience)
{
  const auto rests = [](const auto& consumer) { return consumer->wake && *consumer->wake > ku::Clock::now(); };
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, patience, [&] { return stopped || std::ranges::all_of(consumers, rests); });
}

std::vector<std::string> Playhead::busy() const
{
  const std::lock_guard lock(mutex);
  std::vector<std::string> names;
  for (const auto& consumer : consumers)
    if (!consumer->wake || *consumer->wake <= ku::Clock::now())
      names.push_back(consumer->name);
  return names;
}
}  // namespace ZR::Replay
