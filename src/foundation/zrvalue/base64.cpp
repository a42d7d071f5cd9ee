#include "foundation/zrvalue/base64.h"

#include <algorithm>
#include <array>

namespace ZR
{
namespace
{
constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 64;

constexpr std::array<std::uint8_t, 256> makeDigits()
{
  std::array<std::uint8_t, 256> digits{};
  digits.fill(noDigit);
  for (std::size_t i = 0; i < alphabet.size(); ++i)
    digits[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
  return digits;
}

constexpr std::array<std::uint8_t, 256> digits = makeDigits();
}  // namespace

void appendBase64(std::string& out, const std::vector<std::uint8_t>& bytes)
{
  out.reserve(out.size() + (bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3)
  {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8U | (i < count ? bytes[at + i] : 0U);
    for (std::size_t i = 0; i < 4; ++i)
      out += i <= count ? alphabet[group >> (18U - 6U * i) & 63U] : '=';
  }
}

std::size_t decodeBase64(std::string_view text, std::vector<std::uint8_t>& bytes)
{
  bytes.clear();
  bytes.reserve(text.size() / 4 * 3);
  const std::size_t end = std::min(text.find('='), text.size());
  std::uint32_t bits = 0;  // only the lowest `pending` of them are still to be written
  unsigned pending = 0;
  for (std::size_t at = 0; at < end; ++at)
  {
    const std::uint8_t digit = digits[static_cast<unsigned char>(text[at])];
    if (digit == noDigit)
      return at;
    bits = bits << 6U | digit;
    pending += 6;
    if (pending < 8)
      continue;
    pending -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> pending));
  }

  if (pending == 6)
    return end;  // a lone digit holds less than a byte
  if ((bits & ((1U << pending) - 1U)) != 0)
    return end - 1;

  const std::size_t full = (end + 3) / 4 * 4;
  for (std::size_t at = end; at < full; ++at)
    if (at == text.size() || text[at] != '=')
      return at;
  return full == text.size() ? std::string_view::npos : full;
}
}  // namespace ZR
