#pragma once

#include "filtrix/data.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ZR::Filtrix
{
/// What a filter author writes: a name, ports declared as text, and `run`.
///
/// An input is declared as `name [Type Type]`, or as `optional name [Type]` when the filter can do without it; without
/// brackets the port takes every type. An output is declared by its name alone.
///
/// One object serves every place where programs use the filter. A stateless filter's `run` may be called by several
/// threads at once. A stateful filter keeps its state in `memory`: before each `run` the runtime puts the state of the
/// place that runs into it (null the first time), and stores what it finds there afterwards; such runs are serial.
/// A filter takes no time but `ku::Clock`'s and no unseeded random numbers, so that a replay gives the same outputs.
class UserFilter
{
public:
  UserFilter() = default;
  UserFilter(const UserFilter&) = delete;
  UserFilter& operator=(const UserFilter&) = delete;
  virtual ~UserFilter() = default;

  /// The filter's name in the library, for example "BrightSpots".
  virtual std::string getName() = 0;

  /// A text for users: what it finds, from what, in which units.
  virtual std::string getDescription() = 0;

  virtual std::vector<std::string> getInputs() = 0;
  virtual std::vector<std::string> getOutputs() = 0;

  /// One application: a value for each input in the order declared, null for an optional input that has none, to a
  /// value for each output; a missing or null one is "no value". Required inputs are never null. An exception ends this
  /// run of the process and is logged with its text.
  virtual DataList run(const DataList& inputs) = 0;

  virtual bool isStateful() { return false; }

  [[nodiscard]] const DataPtr& getMemory() const { return memory; }

  void setMemory(DataPtr value) { memory = std::move(value); }

private:
  DataPtr memory;
};
}  // namespace ZR::Filtrix
