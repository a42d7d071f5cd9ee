#pragma once

#include "filtrix/data.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The literals of program text: how they are told apart and read. A text is tried as a boolean, an integer, a float
/// and a string, in this order.
namespace ZR::Filtrix
{
/// Exactly "true" or "false".
[[nodiscard]] bool isBoolean(std::string_view text) noexcept;

/// Decimal digits after an optional "-". Hexadecimal texts are not integers.
[[nodiscard]] bool isInteger(std::string_view text) noexcept;

/// "infinity", or decimal digits with at most one "." among them, after an optional "-". The empty text counts.
[[nodiscard]] bool isFloat(std::string_view text) noexcept;

/// A text whose first and last characters are two double quotes.
[[nodiscard]] bool isString(std::string_view text) noexcept;

/// True for exactly "true".
[[nodiscard]] bool toBoolean(std::string_view text) noexcept;

/// Decimal digits with a leading "-", or "0x" and hexadecimal digits, modulo 2^32.
[[nodiscard]] std::int32_t toInteger(std::string_view text) noexcept;

/// The same modulo 2^64, for durations.
[[nodiscard]] std::int64_t toLongInteger(std::string_view text) noexcept;

/// In single precision digit by digit, so that the last bits may differ from those of a correctly rounded conversion.
[[nodiscard]] float toFloat(std::string_view text) noexcept;

/// What stands between the quotes, with the escapes \n, \r, \t and \0 read; any other character after a backslash
/// stands for itself.
[[nodiscard]] std::string toString(std::string_view text);

/// The value of a literal; null when the text is none.
[[nodiscard]] DataPtr readLiteral(std::string_view text);
}  // namespace ZR::Filtrix
