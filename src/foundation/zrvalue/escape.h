#pragma once

#include <string>
#include <string_view>

namespace ZR
{
/// Appends `bytes` between quotes, so that the result is valid UTF-8 without control characters: the quote and the
/// backslash behind a backslash, newline, carriage return and tab as \n, \r and \t, and as \xHH each byte of a control
/// character and each byte that is not part of valid UTF-8.
void appendQuoted(std::string& out, std::string_view bytes);
}  // namespace ZR
