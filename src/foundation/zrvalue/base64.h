#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Base64 with the standard alphabet and padding. Source: RFC 4648, section 4, 2006.
namespace ZR
{
/// Appends the base64 form of `bytes` to `out`.
void appendBase64(std::string& out, const std::vector<std::uint8_t>& bytes);

/// Decodes `text` into `bytes`. Returns `npos`, or where the first problem is: a character that may not stand there, or
/// the end when the text stops within a group of four. Strict: no blanks, full padding, unused bits zero; so each
/// sequence of bytes has one text.
[[nodiscard]] std::size_t decodeBase64(std::string_view text, std::vector<std::uint8_t>& bytes);
}  // namespace ZR
