#pragma once

#include "filtrix/ku/valuetype.h"
#include "filtrix/zrvalue.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ZR
{
/// How a C++ type crosses a call by name: the type it has there, and the way in and out. A value that comes in has been
/// brought to that type before.
template <typename T>
struct CallType;

template <>
struct CallType<void>
{
  static constexpr ku::ValueType type = ku::ValueType::Nothing;
};

template <>
struct CallType<ZRValue>
{
  static constexpr ku::ValueType type = ku::ValueType::Any;

  static ZRValue from(const ZRValue& value) { return value; }

  static ZRValue to(ZRValue value) { return value; }
};

template <>
struct CallType<bool>
{
  static constexpr ku::ValueType type = ku::ValueType::Boolean;

  static bool from(const ZRValue& value) { return value.asBoolean(); }

  static ZRValue to(bool value) { return value; }
};

/// One that is out of the type's range throws `ZRValueError`.
template <ZRInteger T>
struct CallType<T>
{
  static constexpr ku::ValueType type = ku::ValueType::Integer;

  static T from(const ZRValue& value)
  {
    if (!std::in_range<T>(value.asInteger()))
      throw ZRValueError("expected an int of " + std::to_string(8 * sizeof(T)) + " bits, came " + value.toText());
    return static_cast<T>(value.asInteger());
  }

  static ZRValue to(T value) { return value; }
};

template <>
struct CallType<float>
{
  static constexpr ku::ValueType type = ku::ValueType::Float;

  static float from(const ZRValue& value) { return value.asFloat(); }

  static ZRValue to(float value) { return value; }
};

template <>
struct CallType<double>
{
  static constexpr ku::ValueType type = ku::ValueType::Double;

  static double from(const ZRValue& value) { return value.asDouble(); }

  static ZRValue to(double value) { return value; }
};

template <>
struct CallType<std::string>
{
  static constexpr ku::ValueType type = ku::ValueType::String;

  static std::string from(const ZRValue& value) { return value.asString(); }

  static ZRValue to(std::string value) { return value; }
};

template <typename T>
struct CallType<std::vector<T>>
{
  static constexpr ku::ValueType type = ku::ValueType::listOf(CallType<T>::type);

  static std::vector<T> from(const ZRValue& value)
  {
    std::vector<T> items;
    items.reserve(value.size());
    for (const ZRValue& item : value.asArray())
      items.push_back(CallType<T>::from(item));
    return items;
  }

  static ZRValue to(const std::vector<T>& items)
  {
    ZRValue::Array values;
    values.reserve(items.size());
    for (const auto& item : items)
      values.push_back(CallType<T>::to(item));
    return ZRValue(std::move(values));
  }
};

/// Only as a result: the address as an Integer, of use within this process alone.
template <>
struct CallType<void*>
{
  static constexpr ku::ValueType type = ku::ValueType::Integer;

  static ZRValue to(const void* address) { return reinterpret_cast<std::uintptr_t>(address); }
};
}  // namespace ZR
