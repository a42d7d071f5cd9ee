#pragma once

#include "filtrix/zrvalue.h"

#include <optional>
#include <string>
#include <string_view>

/// The text form of numbers, as the grammar of `ZRValue::toText` has it.
namespace ZR
{
/// Appends the shortest digits that read back to the same number.
void appendNumber(std::string& out, std::int64_t number);
void appendNumber(std::string& out, double number);
void appendNumber(std::string& out, float number);

/// Which number a word has the form of: Integer, Float or Double; nothing for any other word.
[[nodiscard]] std::optional<ZRValue::Kind> numberKind(std::string_view word);

/// Reads a word that `numberKind` found to be of this kind. Nothing when the number does not fit the kind: too large,
/// or so small that it would turn into zero.
[[nodiscard]] std::optional<ZRValue> readNumber(std::string_view word, ZRValue::Kind kind);
}  // namespace ZR
