#include "filtrix/zrvalue.h"
#include "foundation/zrvalue/escape.h"

#include <fmt/format.h>

#include <iterator>

namespace ZR
{
namespace
{
constexpr std::size_t shownText = 60;  // bytes
constexpr std::size_t shownBlob = 16;  // bytes

// The start of a long string, not cut within a character of UTF-8.
std::string_view shorten(std::string_view text)
{
  std::size_t end = shownText;
  while (end > shownText - 4 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U)
    --end;
  return text.substr(0, end);
}

void appendString(std::string& out, std::string_view text)
{
  const bool isLong = text.size() > shownText;
  appendQuoted(out, isLong ? shorten(text) : text);
  if (isLong)
    fmt::format_to(std::back_inserter(out), "... ({} bytes)", text.size());
}

void appendBlob(std::string& out, const ZRValue::Blob& blob)
{
  const bool isLong = blob.size() > shownBlob;
  const auto end = isLong ? blob.begin() + shownBlob : blob.end();
  fmt::format_to(std::back_inserter(out), "blob <{:02x}{}> ({} bytes)", fmt::join(blob.begin(), end, " "),
                 isLong ? " ..." : "", blob.size());
}

// The rest of a line that stands at `indent`, and the lines below it.
void append(std::string& out, const ZRValue& value, std::size_t indent)
{
  switch (value.kind())
  {
  case ZRValue::Kind::String:
    appendString(out, value.asString());
    break;
  case ZRValue::Kind::Blob:
    appendBlob(out, value.asBlob());
    break;
  case ZRValue::Kind::Array:
    fmt::format_to(std::back_inserter(out), "array of {}\n", value.size());
    for (const ZRValue& item : value.asArray())
    {
      out.append(indent + 2, ' ');
      append(out, item, indent + 2);
    }
    return;
  case ZRValue::Kind::Map:
    fmt::format_to(std::back_inserter(out), "map of {}\n", value.size());
    for (const auto& [key, item] : value.asMap())
    {
      out.append(indent + 2, ' ');
      appendString(out, key);
      out += ": ";
      append(out, item, indent + 2);
    }
    return;
  default:
    out += value.toText();
  }
  out += '\n';
}
}  // namespace

std::string ZRValue::dump() const
{
  std::string text;
  append(text, *this, 0);
  return text;
}
}  // namespace ZR
