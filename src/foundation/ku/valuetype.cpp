#include "filtrix/ku/valuetype.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

namespace ku
{
using ZR::ZRValue;

namespace
{
struct BaseRow
{
  const char* name;
  ZRValue::Kind kind;                  // what fits exactly
  ZRValue (*convert)(const ZRValue&);  // throws for what does not fit, null when nothing else does
};

// In the order of ValueType::Base; Any, which fits otherwise, has no kind of its own.
constexpr BaseRow table[] = {
    {"nothing", ZRValue::Kind::Null, nullptr},
    {"any", ZRValue::Kind::Null, nullptr},
    {"bool", ZRValue::Kind::Boolean, [](const ZRValue& value) -> ZRValue { return value.toBoolean(); }},
    {"int", ZRValue::Kind::Integer, [](const ZRValue& value) -> ZRValue { return value.toInteger(); }},
    {"float", ZRValue::Kind::Float, [](const ZRValue& value) -> ZRValue { return value.toFloat(); }},
    {"double", ZRValue::Kind::Double, [](const ZRValue& value) -> ZRValue { return value.toDouble(); }},
    {"string", ZRValue::Kind::String, nullptr},
    {"blob", ZRValue::Kind::Blob, nullptr},
    {"map", ZRValue::Kind::Map, nullptr}};

const BaseRow& rowOf(ValueType::Base base)
{
  return table[static_cast<std::size_t>(base)];
}
}  // namespace

ValueType::Fit ValueType::_fitBase(const ZRValue& value) const
{
  if (base == Any)
    return Fit::Any;
  const BaseRow& row = rowOf(base);
  if (value.kind() == row.kind)
    return Fit::Exact;
  if (!row.convert)
    return Fit::None;
  try
  {
    (void)row.convert(value);
    return Fit::Converted;
  }
  catch (const ZR::ZRValueError&)
  {
    return Fit::None;
  }
}

ValueType::Fit ValueType::fit(const ZRValue& value) const
{
  if (lists == 0)
    return _fitBase(value);
  if (!value.isArray())
    return Fit::None;
  ValueType item = *this;
  --item.lists;
  Fit worst = Fit::Exact;
  for (const ZRValue& each : value.asArray())
    worst = std::min(worst, item.fit(each));
  return worst;
}

ZRValue ValueType::convert(const ZRValue& value) const
{
  switch (fit(value))
  {
  case Fit::None:
    throw ZR::ZRValueError(fmt::format("expected {}, got {}", name(), ZR::kindName(value.kind())));
  case Fit::Any:
  case Fit::Exact:
    return value;
  case Fit::Converted:
    break;
  }
  if (lists == 0)
    return rowOf(base).convert(value);
  ValueType item = *this;
  --item.lists;
  ZRValue::Array items;
  items.reserve(value.size());
  for (const ZRValue& each : value.asArray())
    items.push_back(item.convert(each));
  return ZRValue(std::move(items));
}

std::string ValueType::name() const
{
  std::string text;
  for (unsigned i = 0; i < lists; ++i)
    text += "list of ";
  return text + rowOf(base).name;
}
}  // namespace ku
