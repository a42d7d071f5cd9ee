#include "filtrix/zrvalue.h"
#include "foundation/zrvalue/base64.h"
#include "foundation/zrvalue/escape.h"

#include <array>
#include <charconv>
#include <cmath>
#include <ostream>

namespace ZR
{
namespace
{
template <typename Number>
std::string_view digitsOf(Number number, std::array<char, 32>& buffer)
{
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

// The shortest digits that read back to the same number, marked as a double: with a point or an exponent.
template <std::floating_point Real>
void appendReal(std::string& out, Real number)
{
  if (std::isnan(number))
  {
    out += "nan";
    return;
  }
  std::array<char, 32> buffer{};
  const std::string_view digits = digitsOf(number, buffer);
  out += digits;
  if (std::isfinite(number) && digits.find_first_of(".e") == std::string_view::npos)
    out += ".0";
}

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
  {
    std::array<char, 32> buffer{};
    out += digitsOf(value.asInteger(), buffer);
    break;
  }
  case ZRValue::Kind::Float:
    appendReal(out, value.asFloat());
    out += 'f';
    break;
  case ZRValue::Kind::Double:
    appendReal(out, value.asDouble());
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
