#include "foundation/zrvalue/escape.h"

#include <boost/locale/utf.hpp>

#include <iterator>

namespace ZR
{
namespace
{
void appendHex(std::string& out, char byte)
{
  constexpr std::string_view hex = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(byte);
  out += {'\\', 'x', hex[code / 16], hex[code % 16]};
}

// The bytes of the printable character beyond ASCII that `bytes` starts with, or none. The controls U+0080 to U+009F
// count as not printable: some terminals act on them.
std::string_view wideCharacter(std::string_view bytes)
{
  const auto* end = bytes.begin();
  const auto character = boost::locale::utf::utf_traits<char>::decode(end, bytes.end());
  const bool isPrintable =
      character != boost::locale::utf::illegal && character != boost::locale::utf::incomplete && character >= 0xa0;
  return isPrintable ? bytes.substr(0, static_cast<std::size_t>(std::distance(bytes.begin(), end)))
                     : std::string_view();
}

void appendAscii(std::string& out, char c)
{
  switch (c)
  {
  case '"':
  case '\\':
    out += {'\\', c};
    return;
  case '\n':
    out += "\\n";
    return;
  case '\r':
    out += "\\r";
    return;
  case '\t':
    out += "\\t";
    return;
  default:
    if (c < ' ' || c == '\x7f')
      appendHex(out, c);
    else
      out += c;
  }
}
}  // namespace

void appendQuoted(std::string& out, std::string_view bytes)
{
  out += '"';
  while (!bytes.empty())
  {
    std::size_t taken = 1;
    if (static_cast<unsigned char>(bytes.front()) < 0x80)
    {
      appendAscii(out, bytes.front());
    }
    else if (const auto character = wideCharacter(bytes); !character.empty())
    {
      out += character;
      taken = character.size();
    }
    else
    {
      appendHex(out, bytes.front());
    }
    bytes.remove_prefix(taken);
  }
  out += '"';
}
}  // namespace ZR
