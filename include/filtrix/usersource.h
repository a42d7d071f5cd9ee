#pragma once

#include "filtrix/data.h"

#include <string>

namespace ZR::Filtrix
{
/// A source whose values are made when a run asks for them: once per run of a process, at the run's time.
///
/// Calls for one source object are serial; an exception ends the run that asked.
class UserSource
{
public:
  UserSource() = default;
  UserSource(const UserSource&) = delete;
  UserSource& operator=(const UserSource&) = delete;
  virtual ~UserSource() = default;

  virtual std::string getName() = 0;

  /// A value that a caller writes to the source.
  virtual void setData(const DataPtr& value) = 0;

  /// The value for `time`, at most `tolerance` away from it where the source can tell; null for none.
  virtual DataPtr getData(Time time, Duration tolerance) = 0;
};
}  // namespace ZR::Filtrix
