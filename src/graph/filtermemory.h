#pragma once

#include "filtrix/data.h"

namespace ZR::Filtrix
{
class ProcessKey;

/// Where stateful filters keep their state per (process, scope). Thread-safe.
class FilterMemory
{
public:
  FilterMemory() = default;
  FilterMemory(const FilterMemory&) = delete;
  FilterMemory& operator=(const FilterMemory&) = delete;
  virtual ~FilterMemory() = default;

  /// The state, null the first time.
  virtual DataPtr getMemory(const ProcessKey& processKey, const ProcessKey& scopeKey) = 0;
  virtual void setMemory(const ProcessKey& processKey, const ProcessKey& scopeKey, DataPtr value) = 0;
};
}  // namespace ZR::Filtrix
