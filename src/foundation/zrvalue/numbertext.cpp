#include "foundation/zrvalue/numbertext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace ZR
{
namespace
{
using Kind = ZRValue::Kind;

template <typename Number>
std::string digitsOf(Number number)
{
  std::array<char, 32> digits{};
  const auto [end, error] = std::to_chars(digits.begin(), digits.end(), number);
  return {digits.begin(), end};
}

// A real number shows what it is by a point or an exponent; digits alone are an Integer.
template <std::floating_point Real>
std::string realText(Real number)
{
  if (std::isnan(number))
    return "nan";  // std::to_chars would also write its sign
  const std::string digits = digitsOf(number);
  return std::isfinite(number) && digits.find_first_of(".e") == std::string::npos ? digits + ".0" : digits;
}

// Cuts the digits that `text` starts with; false without any.
bool skipDigits(std::string_view& text)
{
  const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(count);
  return count > 0;
}

bool skip(std::string_view& text, char c)
{
  if (!text.starts_with(c))
    return false;
  text.remove_prefix(1);
  return true;
}

// std::from_chars is too kind to judge by: it also takes "1.", ".5" and "Infinity".
std::optional<Kind> plainKind(std::string_view word)
{
  skip(word, '-');
  if (!skipDigits(word))
    return std::nullopt;
  if (word.empty())
    return Kind::Integer;
  if (skip(word, '.') && !skipDigits(word))
    return std::nullopt;
  if (skip(word, 'e'))
  {
    if (!skip(word, '-'))
      skip(word, '+');
    if (!skipDigits(word))
      return std::nullopt;
  }
  return word.empty() ? std::optional(Kind::Double) : std::nullopt;
}

bool isDouble(std::string_view word)
{
  return word == "nan" || word == "inf" || word == "-inf" || plainKind(word) == Kind::Double;
}

template <typename Number>
std::optional<ZRValue> read(std::string_view word)
{
  Number number{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() ? std::optional<ZRValue>(number) : std::nullopt;
}
}  // namespace

void appendNumber(std::string& out, std::int64_t number)
{
  out += digitsOf(number);
}

void appendNumber(std::string& out, double number)
{
  out += realText(number);
}

void appendNumber(std::string& out, float number)
{
  out += realText(number) + 'f';
}

std::optional<Kind> numberKind(std::string_view word)
{
  if (isDouble(word))
    return Kind::Double;
  if (word.ends_with('f') && isDouble(word.substr(0, word.size() - 1)))
    return Kind::Float;
  return plainKind(word);
}

std::optional<ZRValue> readNumber(std::string_view word, Kind kind)
{
  switch (kind)
  {
  case Kind::Integer:
    return read<std::int64_t>(word);
  case Kind::Float:
    return read<float>(word.substr(0, word.size() - 1));
  default:
    return read<double>(word);
  }
}
}  // namespace ZR
