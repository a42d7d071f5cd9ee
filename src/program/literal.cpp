#include "program/literal.h"

#include "foundation/text/split.h"

#include <algorithm>
#include <limits>

namespace ZR::Filtrix
{
namespace
{
bool isDigit(char c) noexcept
{
  return c >= '0' && c <= '9';
}

std::uint64_t hexDigit(char c) noexcept
{
  if (isDigit(c))
    return static_cast<std::uint64_t>(c - '0');
  if (c >= 'a' && c <= 'f')
    return static_cast<std::uint64_t>(c - 'a') + 10;
  return c >= 'A' && c <= 'F' ? static_cast<std::uint64_t>(c - 'A') + 10 : 0;
}

// A "-" alone is no sign.
std::string_view withoutSign(std::string_view text) noexcept
{
  return text.size() > 1 && text.front() == '-' ? text.substr(1) : text;
}

// The digits modulo 2^64: a text too long for its type has a defined value, if not a sensible one.
std::uint64_t readDigits(std::string_view text) noexcept
{
  std::uint64_t value = 0;
  if (text.size() > 2 && text.starts_with("0x"))
  {
    for (const char c : text.substr(2))
      value = value * 16 + hexDigit(c);
    return value;
  }
  const std::string_view digits = withoutSign(text);
  for (const char c : digits)
    value = value * 10 + (isDigit(c) ? static_cast<std::uint64_t>(c - '0') : 0);
  return digits.size() == text.size() ? value : ~value + 1;
}
}  // namespace

bool isBoolean(std::string_view text) noexcept
{
  return text == "true" || text == "false";
}

bool isInteger(std::string_view text) noexcept
{
  const std::string_view digits = withoutSign(text);
  return !digits.empty() && std::ranges::all_of(digits, isDigit);
}

bool isFloat(std::string_view text) noexcept
{
  if (text == "infinity")
    return true;
  const std::string_view digits = withoutSign(text);
  return std::ranges::count(digits, '.') <= 1 &&
         std::ranges::all_of(digits, [](char c) { return isDigit(c) || c == '.'; });
}

bool isString(std::string_view text) noexcept
{
  const std::string_view inner = trim(text);
  return inner.size() >= 2 && inner.front() == '"' && inner.back() == '"';
}

bool toBoolean(std::string_view text) noexcept
{
  return text == "true";
}

std::int32_t toInteger(std::string_view text) noexcept
{
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(readDigits(text)));
}

std::int64_t toLongInteger(std::string_view text) noexcept
{
  return static_cast<std::int64_t>(readDigits(text));
}

float toFloat(std::string_view text) noexcept
{
  if (text == "infinity")
    return std::numeric_limits<float>::infinity();
  const std::string_view digits = withoutSign(text);
  float value = 0.0F;
  float divisor = 0.0F;  // 0 until the point
  for (const char c : digits)
  {
    if (c == '.')
    {
      divisor = 1.0F;
      continue;
    }
    if (!isDigit(c))
      continue;
    const auto digit = static_cast<float>(c - '0');
    if (divisor == 0.0F)
    {
      value = value * 10.0F + digit;
    }
    else
    {
      divisor *= 10.0F;
      value += digit / divisor;
    }
  }
  return digits.size() == text.size() ? value : -value;
}

std::string toString(std::string_view text)
{
  const std::string_view trimmed = trim(text);
  const std::string_view inner = trimmed.size() >= 2 ? trimmed.substr(1, trimmed.size() - 2) : std::string_view();
  std::string value;
  value.reserve(inner.size());
  for (std::size_t at = 0; at < inner.size(); ++at)
  {
    if (inner[at] != '\\')
    {
      value += inner[at];
      continue;
    }
    if (++at == inner.size())
      break;  // a backslash with nothing behind it
    switch (inner[at])
    {
    case 'n':
      value += '\n';
      break;
    case 'r':
      value += '\r';
      break;
    case 't':
      value += '\t';
      break;
    case '0':
      value += '\0';
      break;
    default:
      value += inner[at];
    }
  }
  return value;
}

DataPtr readLiteral(std::string_view text)
{
  if (isBoolean(text))
    return makeData(toBoolean(text));
  if (isInteger(text))
    return makeData(toInteger(text));
  if (isFloat(text))
    return makeData(toFloat(text));
  if (isString(text))
    return makeData(toString(text));
  return nullptr;
}
}  // namespace ZR::Filtrix
