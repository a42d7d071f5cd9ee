#pragma once

#include "filtrix/usersource.h"

#include <boost/circular_buffer.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace ZR::Filtrix
{
class FiltrixPrivate;
class NodeSource;

/// The recent values of another source, by their time stamps: a run gets the one that is nearest to the run's own time,
/// if it lies within the tolerance of the process, and else none. So a run that is late, or that waits for something
/// slower than a camera, still sees the frame of its moment.
///
///     process late(Waving, 1, 10.0, 50000) { in <= Synchronized_VideoDevice_DepthCamera<QVGA>; ... }
///
/// Of two that are equally near the newer one is taken. A value without a time stamp counts as one of the moment when
/// it came. While no live process reads the source, nothing is kept. Thread-safe.
class SynchronizedSource final : public UserSource
{
public:
  /// So many values are kept, a second of a camera's.
  static constexpr std::size_t historyLength = 32;

  /// "Synchronized_VideoDevice_TopCamera<QVGA>" for "VideoDevice_TopCamera<QVGA>".
  [[nodiscard]] static std::string nameFor(const std::string& source);

  /// `isRead` tells whether somebody needs the values. It is called by whoever publishes one.
  SynchronizedSource(const std::string& source, std::function<bool()> isRead_);

  std::string getName() override { return name; }

  /// As a value of the other source. Null forgets all values.
  void setData(const DataPtr& value) override;

  /// The value for the time, of those kept.
  DataPtr getData(Time time, Duration tolerance) override;

private:
  struct Entry
  {
    Time time;
    DataPtr value;
  };

  const std::string name;
  const std::function<bool()> isRead;

  std::mutex mutex;  // guards the history; a leaf
  boost::circular_buffer<Entry> history{historyLength};
};

/// Adds the synchronized source of a source to the registry. False when the name is taken.
bool addSynchronizedSource(const std::shared_ptr<FiltrixPrivate>& registry, NodeSource& source);
}  // namespace ZR::Filtrix
