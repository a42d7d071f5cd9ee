#include "filtrix/ku/object.h"

#include "filtrix/ku/suggest.h"
#include "filtrix/ku/unicode.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

namespace ku
{
using ZR::ZRValue;

struct DynamicObject::Entry
{
  std::string object;
  Method method;
  Function function;

  [[nodiscard]] ZRValue call(const Arguments& arguments) const
  {
    Arguments converted;
    converted.reserve(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i)
      converted.push_back(method.parameters[i].type.convert(arguments[i]));
    const ZRValue result = function(converted);
    if (method.returns.fit(result) == ValueType::Fit::None)
      throw std::logic_error(
          fmt::format("{}: method {} returned {}", object, method.signature(), ZR::kindName(result.kind())));
    return method.returns.convert(result);
  }
};

namespace
{
// How well the arguments fit altogether, or nothing when one of them does not.
std::optional<int> fitOf(const Method& method, const DynamicObject::Arguments& arguments)
{
  if (method.parameters.size() != arguments.size())
    return std::nullopt;
  int sum = 0;
  for (std::size_t i = 0; i < arguments.size(); ++i)
  {
    const ValueType::Fit fit = method.parameters[i].type.fit(arguments[i]);
    if (fit == ValueType::Fit::None)
      return std::nullopt;
    sum += static_cast<int>(fit);
  }
  return sum;
}

bool haveSameTypes(const Method& a, const Method& b)
{
  return std::ranges::equal(a.parameters, b.parameters, {}, &Parameter::type, &Parameter::type);
}

std::string kindsOf(const DynamicObject::Arguments& arguments)
{
  std::vector<std::string_view> kinds;
  kinds.reserve(arguments.size());
  for (const ZRValue& argument : arguments)
    kinds.push_back(ZR::kindName(argument.kind()));
  return fmt::format("({})", fmt::join(kinds, ", "));
}
}  // namespace

std::string Method::signature() const
{
  std::vector<std::string> texts;
  texts.reserve(parameters.size());
  for (const Parameter& parameter : parameters)
    texts.push_back(parameter.type.name() + " " + parameter.name);
  return fmt::format("{}({}) -> {}", name, fmt::join(texts, ", "), returns.name());
}

DynamicObject::DynamicObject(std::string name_) : name(std::move(name_)) {}

void DynamicObject::advertise(Method method, Function function)
{
  if (method.name.empty() || !function)
    throw std::invalid_argument(
        fmt::format("{}: method \"{}\" has no {}", name, method.name, function ? "name" : "function"));
  const std::lock_guard lock(mutex);
  auto& overloads = byName[method.name];
  const auto same =
      std::ranges::find_if(overloads, [&](const EntryPtr& entry) { return haveSameTypes(entry->method, method); });
  if (same != overloads.end())
    throw std::invalid_argument(
        fmt::format("{}: method {} is there already, as {}", name, method.signature(), (*same)->method.signature()));
  entries.push_back(std::make_shared<Entry>(Entry{name, std::move(method), std::move(function)}));
  overloads.push_back(entries.back());
}

ZRValue DynamicObject::call(std::string_view method, const Arguments& arguments) const
{
  return _find(method, arguments)->call(arguments);
}

Future<ZRValue> DynamicObject::asyncCall(std::string_view method, const Arguments& arguments) const
{
  try
  {
    return async([entry = _find(method, arguments), arguments] { return entry->call(arguments); });
  }
  catch (...)
  {
    Promise<ZRValue> failed;
    failed.setException(std::current_exception());
    return failed.future();
  }
}

std::vector<Method> DynamicObject::methods() const
{
  const std::shared_lock lock(mutex);
  std::vector<Method> all;
  all.reserve(entries.size());
  for (const EntryPtr& entry : entries)
    all.push_back(entry->method);
  return all;
}

DynamicObject::EntryPtr DynamicObject::_find(std::string_view method, const Arguments& arguments) const
{
  const std::shared_lock lock(mutex);
  const auto overloads = byName.find(method);
  if (overloads == byName.end())
    throw CallError(_unknown(method));

  EntryPtr best;
  int bestFit = -1;
  for (const EntryPtr& entry : overloads->second)
  {
    const auto fit = fitOf(entry->method, arguments);
    if (!fit || *fit <= bestFit)
      continue;
    best = entry;
    bestFit = *fit;
  }
  if (best)
    return best;

  std::vector<std::string> signatures;
  for (const EntryPtr& entry : overloads->second)
    signatures.push_back(entry->method.signature());
  throw CallError(fmt::format("{}: method \"{}\" got {}, expected {}", name, method, kindsOf(arguments),
                              fmt::join(signatures, " or ")));
}

// Under the mutex.
std::string DynamicObject::_unknown(std::string_view method) const
{
  std::vector<std::string> names;
  names.reserve(byName.size());
  for (const auto& [known, overloads] : byName)
    names.push_back(known);
  return fmt::format("{}: unknown method \"{}\".{}", name, toValidUtf8(method), didYouMean(method, names));
}
}  // namespace ku
