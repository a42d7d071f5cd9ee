#pragma once

#include "filtrix/ku/future.h"
#include "filtrix/ku/valuetype.h"
#include "filtrix/zrvalue.h"

#include <functional>
#include <map>
#include <memory>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ku
{
/// A call did not reach a function: no such method, or none that takes what came. The text names the object, the
/// method, what it takes and what came.
class CallError : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// What is told of a parameter.
struct Parameter
{
  std::string name;
  ValueType type;
  std::string description = {};
};

/// What is told of a method.
struct Method
{
  std::string name;
  std::vector<Parameter> parameters = {};
  ValueType returns = ValueType::Nothing;
  std::string description = {};
  std::string example = {};

  /// On one line: "getDotGraph(string filter, int level) -> string".
  [[nodiscard]] std::string signature() const;
};

/// An object whose methods are known by name only when the program runs: what a module offers to its host.
///
/// Methods of one name may differ in their parameters. A call goes to the one that its arguments fit best, and the
/// first advertised when several do; `ValueType` says what fits. A function gets its arguments in exactly the declared
/// types, runs on the calling thread, and what it throws reaches the caller as it is. Thread-safe: calls run side by
/// side, and a function that must not needs a lock of its own.
class DynamicObject
{
public:
  using Arguments = std::vector<ZR::ZRValue>;
  using Function = std::function<ZR::ZRValue(const Arguments&)>;

  /// The name is for error texts.
  explicit DynamicObject(std::string name);

  /// Offers a method. Throws std::invalid_argument when the name or the function is empty, or when there is one of this
  /// name and these types already.
  void advertise(Method method, Function function);

  /// Calls a method and returns what it does. Throws `CallError` when there is none that fits, and std::logic_error
  /// when it returned what it does not declare.
  ZR::ZRValue call(std::string_view method, const Arguments& arguments = {}) const;

  /// Calls a method on the shared pool. All errors are the future's. What the function uses must live until then; the
  /// object itself need not.
  [[nodiscard]] Future<ZR::ZRValue> asyncCall(std::string_view method, const Arguments& arguments = {}) const;

  /// All methods, in the order of their advertising.
  [[nodiscard]] std::vector<Method> methods() const;

private:
  struct Entry;
  using EntryPtr = std::shared_ptr<const Entry>;

  [[nodiscard]] EntryPtr _find(std::string_view method, const Arguments& arguments) const;
  [[nodiscard]] std::string _unknown(std::string_view method) const;

  const std::string name;

  mutable std::shared_mutex mutex;  // guards the rest; never held during a call
  std::vector<EntryPtr> entries;
  std::map<std::string, std::vector<EntryPtr>, std::less<>> byName;
};
}  // namespace ku
