#pragma once

#include "filtrix/ku/clock.h"
#include "platform/replay/timeline.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ZR::Replay
{
/// Which item a consumer gets next.
enum class Delivery
{
  Newest,   ///< what came meanwhile is lost, as with a camera
  EveryOne  ///< one after the other, as with sound
};

/// Somebody who waits for the items of a track.
class Consumer final
{
public:
  Consumer(std::string name_, std::shared_ptr<const Timeline> track_, Delivery delivery_, int perSecond);

private:
  friend class Playhead;

  const std::string name;
  const std::shared_ptr<const Timeline> track;
  const Delivery delivery;
  ku::Alarm alarm;

  // Guarded by the playhead's mutex.
  Nanoseconds period;                         // at least this between two items, but for a little
  Nanoseconds since{0};                       // only items from here on
  std::optional<Nanoseconds> last;            // when the last item came
  std::optional<ku::Clock::time_point> wake;  // while it waits: until when
  bool closed = false;
};

/// Where a recording stands, and who waits for what comes next. Its time is `ku::Clock`'s. Thread-safe.
class Playhead final
{
public:
  /// One that does not start by itself stands still until `play`; otherwise the first consumer starts it.
  explicit Playhead(bool startsByItself_);

  /// Starts, so that the recording's first moment comes after `lead`. Does nothing when it has started.
  void play(Nanoseconds lead);

  /// Nobody waits any more, now and later: `next` gives nothing at once.
  void stop();

  /// How far the recording has come. Nothing before it starts.
  [[nodiscard]] std::optional<Nanoseconds> position() const;

  /// When a moment of the recording comes. Only once it has started.
  [[nodiscard]] ku::Clock::time_point timeOf(Nanoseconds moment) const;

  void open(const std::shared_ptr<Consumer>& consumer);

  /// A call of `next` that waits ends.
  void close(Consumer& consumer);

  void setRate(Consumer& consumer, int perSecond);

  /// Waits for the next item. Nothing when none has come within a second, or when the consumer is closed.
  [[nodiscard]] std::optional<std::uint64_t> next(Consumer& consumer);

  /// Wakes those whose time has come: one that was about to sleep while the clock was moved would miss it otherwise.
  void wakeDue();

  /// Waits, in real time, until every consumer waits for something that is yet to come; false after `patience`.
  [[nodiscard]] bool waitForRest(std::chrono::milliseconds patience);

  /// The names of those who do not.
  [[nodiscard]] std::vector<std::string> busy() const;

private:
  static void _rouse(Consumer& consumer);
  [[nodiscard]] std::optional<Nanoseconds> _position() const;
  [[nodiscard]] std::optional<std::uint64_t> _candidate(const Consumer& consumer) const;
  [[nodiscard]] std::optional<std::uint64_t> _take(Consumer& consumer) const;
  [[nodiscard]] ku::Clock::time_point _wakeTime(const Consumer& consumer, ku::Clock::time_point latest) const;

  const bool startsByItself;
  mutable std::mutex mutex;                     // guards the rest and the consumers; a leaf but for the clock's own
  std::condition_variable changed;              // a consumer began to wait, or went
  std::optional<ku::Clock::time_point> origin;  // when the recording's first moment comes
  std::vector<std::shared_ptr<Consumer>> consumers;
  bool stopped = false;
};
}  // namespace ZR::Replay
