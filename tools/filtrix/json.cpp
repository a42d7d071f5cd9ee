#include "tools/filtrix/json.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace ZR::Filtrix::Tool
{
using nlohmann::json;

namespace
{
json number(double value)
{
  if (std::isnan(value))
    return "nan";
  if (std::isinf(value))
    return value > 0 ? "inf" : "-inf";
  return value;
}

// The value's own text has it as b"AAH/".
std::string base64(const ZRValue& blob)
{
  const std::string text = blob.toText();
  return text.substr(2, text.size() - 3);
}
}  // namespace

json toJson(const ZRValue& value)
{
  switch (value.kind())
  {
  case ZRValue::Kind::Null:
    return nullptr;
  case ZRValue::Kind::Boolean:
    return value.asBoolean();
  case ZRValue::Kind::Integer:
    return value.asInteger();
  case ZRValue::Kind::Float:
    return number(static_cast<double>(value.asFloat()));
  case ZRValue::Kind::Double:
    return number(value.asDouble());
  case ZRValue::Kind::String:
    return value.asString();
  case ZRValue::Kind::Blob:
    return {{"base64", base64(value)}};
  case ZRValue::Kind::Array:
  {
    json items = json::array();
    for (const ZRValue& item : value.asArray())
      items.push_back(toJson(item));
    return items;
  }
  case ZRValue::Kind::Map:
  {
    json entries = json::object();
    for (const auto& [key, entry] : value.asMap())
      entries[key] = toJson(entry);
    return entries;
  }
  }
  return nullptr;
}

ZRValue fromJson(const json& source)
{
  if (source.is_boolean())
    return source.get<bool>();
  if (source.is_number_unsigned())
    return source.get<std::uint64_t>();
  if (source.is_number_integer())
    return source.get<std::int64_t>();
  if (source.is_number())
    return source.get<double>();
  if (source.is_string())
    return source.get<std::string>();
  if (source.is_array())
  {
    ZRValue::Array items;
    for (const auto& item : source)
      items.push_back(fromJson(item));
    return ZRValue(std::move(items));
  }
  if (source.is_object())
  {
    ZRValue::Map entries;
    for (const auto& [key, entry] : source.items())
      entries.emplace(key, fromJson(entry));
    return ZRValue(std::move(entries));
  }
  return {};
}
}  // namespace ZR::Filtrix::Tool
