#pragma once

#include "filtrix/ku/object.h"
#include "platform/calltype.h"

#include <cstddef>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ZR
{
/// A function of C++ types as one of values. Its arguments come in the number and the types that it declares.
template <typename Result, typename... Params>
struct BoundCall
{
  std::function<Result(Params...)> function;

  ZRValue operator()(const ku::DynamicObject::Arguments& arguments) const
  {
    return _call(arguments, std::index_sequence_for<Params...>());
  }

private:
  template <std::size_t... i>
  [[nodiscard]] ZRValue _call([[maybe_unused]] const ku::DynamicObject::Arguments& arguments,
                              std::index_sequence<i...>) const
  {
    std::tuple<std::decay_t<Params>...> values{CallType<std::decay_t<Params>>::from(arguments[i])...};
    if constexpr (std::is_void_v<Result>)
    {
      std::apply(function, std::move(values));
      return {};
    }
    else
    {
      return CallType<std::decay_t<Result>>::to(std::apply(function, std::move(values)));
    }
  }
};
}  // namespace ZR
