#pragma once

#include "filtrix/ku/object.h"
#include "platform/boundcall.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace ZR
{
/// What people are told about one signature of a method.
struct MethodDescription
{
  struct Param
  {
    std::string name;
    std::string text;

    bool operator==(const Param&) const = default;
  };

  struct Example
  {
    std::string language;
    std::string text;

    bool operator==(const Example&) const = default;
  };

  std::string name;
  std::string module;
  std::string text;
  std::vector<Param> params;
  std::vector<Example> examples;

  bool operator==(const MethodDescription&) const = default;
};

/// What a broker knows under a name and others call by name: a module, or a service of the robot.
///
/// Set-up binds the methods one after the other, mostly in the constructor, and `initModule` ends it:
///
///     functionName("setProcessPriority", "ZRFiltrix", "Changes how often a process runs.");
///     addParam("name", "The name of the process.");
///     addParam("priority", "The new priority of the process.");
///     bindMethod(&ZRFiltrix::setProcessPriority, this);
///
/// A method may be any callable whose parameters and result have a `CallType`. Set-up is bound to one thread. After it
/// all is thread-safe, provided that the methods are: they run on the callers' threads.
class ZRModuleCore
{
public:
  explicit ZRModuleCore(std::string name);
  ZRModuleCore(const ZRModuleCore&) = delete;
  ZRModuleCore& operator=(const ZRModuleCore&) = delete;
  virtual ~ZRModuleCore();

  [[nodiscard]] const std::string& getName() const noexcept { return moduleName; }

  [[nodiscard]] const std::string& getModuleDescription() const noexcept { return moduleDescription; }

  /// One for each signature, in the order of binding.
  [[nodiscard]] const std::vector<MethodDescription>& getMethodDescriptions() const noexcept { return descriptions; }

  /// The same for a machine: with the types.
  [[nodiscard]] std::vector<ku::Method> getMethods() const { return methods.methods(); }

  /// Calls a method by name. Of several signatures the one that the arguments fit best is taken. Throws
  /// `ku::CallError`, which tells what the method takes, and what the method itself throws.
  ZRValue call(std::string_view method, const ku::DynamicObject::Arguments& arguments = {}) const
  {
    return methods.call(method, arguments);
  }

  /// Ends the set-up: a method bound later throws `std::logic_error`. Once is enough, again does no harm.
  void initModule() noexcept { ready = true; }

protected:
  void setModuleDescription(std::string text) { moduleDescription = std::move(text); }

  /// Opens the description of a method. One that was opened and not bound is dropped.
  void functionName(std::string method, std::string module, std::string text);

  /// These add to the open description. Without one they throw `std::logic_error`.
  void addParam(std::string param, std::string text);
  void addMethodExample(std::string language, std::string text);
  [[nodiscard]] const MethodDescription& getCurrentMethodDescription() const;

  /// Binds the method that the open description is about and closes it. Throws `std::logic_error` when the name is
  /// taken, or when more parameters are described than the method has.
  template <typename Function>
  void bindMethod(Function function)
  {
    _requireNewName();
    bindMethodOverload(std::move(function));
  }

  template <typename Result, typename Class, typename... Params>
  void bindMethod(Result (Class::*method)(Params...), Class* self)
  {
    _requireNewName();
    bindMethodOverload(method, self);
  }

  /// Binds a signature, the first or a further one of its name. Throws as `bindMethod` does, and std::invalid_argument
  /// when the name has one of these very types.
  template <typename Function>
  void bindMethodOverload(Function function)
  {
    _bind(std::function(std::move(function)));
  }

  template <typename Result, typename Class, typename... Params>
  void bindMethodOverload(Result (Class::*method)(Params...), Class* self)
  {
    _bind(std::function<Result(Params...)>([=](Params... params) -> Result
                                           { return (self->*method)(std::forward<Params>(params)...); }));
  }

private:
  template <typename Result, typename... Params>
  void _bind(std::function<Result(Params...)> function);
  void _advertise(const std::vector<ku::ValueType>& types, ku::ValueType returns, ku::DynamicObject::Function function);
  void _requireNewName() const;

  const std::string moduleName;
  ku::DynamicObject methods;

  // Fixed once `ready`.
  std::string moduleDescription;
  std::vector<MethodDescription> descriptions;
  std::optional<MethodDescription> current;
  bool ready = false;
};

template <typename Result, typename... Params>
void ZRModuleCore::_bind(std::function<Result(Params...)> function)
{
  _advertise({CallType<std::decay_t<Params>>::type...}, CallType<std::decay_t<Result>>::type,
             BoundCall<Result, Params...>{std::move(function)});
}
}  // namespace ZR
