#include "filtrix/zrvalue.h"
#include "foundation/zrvalue/base64.h"
#include "foundation/zrvalue/escape.h"
#include "foundation/zrvalue/numbertext.h"

#include <ostream>

namespace ZR
{
namespace
{
void append(std::string& out, const ZRValue& value);

void append(std::string& out, const ZRValue::Array& items)
{
  char separator = '[';
  for (const ZRValue& item : items)
  {
    out += separator;
    append(out, item);
    separator = ',';
  }
  out += items.empty() ? "[]" : "]";
}

void append(std::string& out, const ZRValue::Map& entries)
{
  char separator = '{';
  for (const auto& [key, item] : entries)
  {
    out += separator;
    appendQuoted(out, key);
    out += ':';
    append(out, item);
    separator = ',';
  }
  out += entries.empty() ? "{}" : "}";
}

void append(std::string& out, const ZRValue& value)
{
  switch (value.kind())
  {
  case ZRValue::Kind::Null:
    out += "null";
    break;
  case ZRValue::Kind::Boolean:
    out += value.asBoolean() ? "true" : "false";
    break;
  case ZRValue::Kind::Integer:
    appendNumber(out, value.asInteger());
    break;
  case ZRValue::Kind::Float:
    appendNumber(out, value.asFloat());
    break;
  case ZRValue::Kind::Double:
    appendNumber(out, value.asDouble());
    break;
  case ZRValue::Kind::String:
    appendQuoted(out, value.asString());
    break;
  case ZRValue::Kind::Blob:
    out += "b\"";
    appendBase64(out, value.asBlob());
    out += '"';
    break;
  case ZRValue::Kind::Array:
    append(out, value.asArray());
    break;
  case ZRValue::Kind::Map:
    append(out, value.asMap());
    break;
  }
}
}  // namespace

std::string ZRValue::toText() const
{
  std::string text;
  append(text, *this);
  return text;
}

std::ostream& operator<<(std::ostream& out, const ZRValue& value)
{
  return out << value.toText();
}
}  // namespace ZR
