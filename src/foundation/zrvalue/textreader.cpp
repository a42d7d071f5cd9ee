#include "filtrix/zrvalue.h"
#include "foundation/zrvalue/base64.h"
#include "foundation/zrvalue/escape.h"
#include "foundation/zrvalue/numbertext.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>

namespace ZR
{
namespace
{
constexpr std::size_t npos = std::string_view::npos;

// What literals and numbers are made of. A whole word is taken before it is judged, so that a message can show it.
constexpr std::string_view wordCharacters = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-.";

std::string rangeOf(ZRValue::Kind kind)
{
  using Limits = std::numeric_limits<std::int64_t>;
  if (kind == ZRValue::Kind::Integer)
    return fmt::format("an integer from {} to {}", Limits::min(), Limits::max());
  return kind == ZRValue::Kind::Float ? "a number in the range of a float" : "a number in the range of a double";
}

std::string quote(std::string_view text)
{
  constexpr std::size_t shown = 32;
  std::string quoted;
  appendQuoted(quoted, text.substr(0, shown));
  return text.size() > shown ? quoted + "..." : quoted;
}

// A recursive descent that ends at `ZRValue::maxDepth`. Each `_read` function starts at the first character of what it
// reads and ends behind the last; only `_readValue` also takes the space around.
class Reader final
{
public:
  explicit Reader(std::string_view text_) : text(text_) {}

  ZRValue readAll();

private:
  // `depth` counts the arrays and maps around the value.
  ZRValue _readValue(std::size_t depth);
  ZRValue _readArray(std::size_t depth);
  ZRValue _readMap(std::size_t depth);
  ZRValue _readWord();
  std::string _readString();
  char _readEscape();
  char _readHex();
  ZRValue _readBlob();

  void _enter(std::size_t depth);
  bool _take(char c);

  void _skipSpace() { at = std::min(text.find_first_not_of(" \t\r\n", at), text.size()); }

  [[nodiscard]] std::string_view _word() const;
  [[nodiscard]] std::string _character(std::size_t where) const;
  [[noreturn]] void _failHere(std::string_view expected) const;
  [[noreturn]] void _fail(std::size_t where, std::string_view expected, std::string_view came) const;

  const std::string_view text;
  std::size_t at = 0;
};

ZRValue Reader::readAll()
{
  ZRValue value = _readValue(0);
  if (at != text.size())
    _failHere("the end of the text");
  return value;
}

ZRValue Reader::_readValue(std::size_t depth)
{
  _skipSpace();
  ZRValue value;
  const std::string_view rest = text.substr(at);
  if (rest.starts_with('['))
    value = _readArray(depth);
  else if (rest.starts_with('{'))
    value = _readMap(depth);
  else if (rest.starts_with('"'))
    value = _readString();
  else if (rest.starts_with("b\""))
    value = _readBlob();
  else
    value = _readWord();
  _skipSpace();
  return value;
}

ZRValue Reader::_readArray(std::size_t depth)
{
  _enter(depth);
  ZRValue::Array items;
  if (_take(']'))
    return ZRValue(std::move(items));
  do
    items.push_back(_readValue(depth + 1));
  while (_take(','));
  if (!_take(']'))
    _failHere(R"("," or "]")");
  return ZRValue(std::move(items));
}

ZRValue Reader::_readMap(std::size_t depth)
{
  _enter(depth);
  ZRValue::Map entries;
  if (_take('}'))
    return ZRValue(std::move(entries));
  do
  {
    _skipSpace();
    const std::size_t start = at;
    std::string key = _readString();
    if (entries.contains(key))
      _fail(start, "a key that is new to its map", quote(key) + " again");
    _skipSpace();
    if (!_take(':'))
      _failHere(R"(":")");
    entries.emplace(std::move(key), _readValue(depth + 1));
  } while (_take(','));
  if (!_take('}'))
    _failHere(R"("," or "}")");
  return ZRValue(std::move(entries));
}

ZRValue Reader::_readWord()
{
  const std::string_view word = _word();
  ZRValue value;
  if (const auto kind = numberKind(word))
  {
    const auto number = readNumber(word, *kind);
    if (!number)
      _failHere(rangeOf(*kind));
    value = *number;
  }
  else if (word == "true" || word == "false")
    value = word == "true";
  else if (word != "null")
    _failHere("a value");
  at += word.size();
  return value;
}

std::string Reader::_readString()
{
  if (!_take('"'))
    _failHere("a string");
  std::string bytes;
  while (!_take('"'))
  {
    if (_take('\\'))
    {
      bytes += _readEscape();
      continue;
    }
    const auto isPlain = [](char c) { return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= ' '; };
    const std::string_view rest = text.substr(at);
    const auto* const end = std::ranges::find_if_not(rest, isPlain);
    if (end == rest.begin())
      _fail(at, rest.empty() ? "the closing quote of a string" : "control characters as escapes", _character(at));
    bytes.append(rest.begin(), end);
    at += static_cast<std::size_t>(end - rest.begin());
  }
  return bytes;
}

char Reader::_readEscape()
{
  constexpr std::string_view letters = R"("\nrt)";
  constexpr std::string_view meanings = "\"\\\n\r\t";
  if (_take('x'))
    return _readHex();
  const std::size_t which = at == text.size() ? npos : letters.find(text[at]);
  if (which == npos)
    _fail(at, R"(one of \" \\ \n \r \t \xHH)", _character(at));
  ++at;
  return meanings[which];
}

char Reader::_readHex()
{
  const std::string_view hex = text.substr(at, 2);
  unsigned char byte = 0;
  const auto [end, error] = std::from_chars(hex.data(), hex.data() + hex.size(), byte, 16);
  const auto count = static_cast<std::size_t>(end - hex.data());
  if (count != 2)
    _fail(at + count, R"(two hexadecimal digits after \x)", _character(at + count));
  at += 2;
  return static_cast<char>(byte);
}

ZRValue Reader::_readBlob()
{
  at += 2;
  const std::size_t end = std::min(text.find('"', at), text.size());
  ZRValue::Blob bytes;
  const std::size_t problem = decodeBase64(text.substr(at, end - at), bytes);
  if (problem != npos)
    _fail(at + problem, "padded base64", _character(at + problem));
  at = end;
  if (!_take('"'))
    _fail(at, "the closing quote of a blob", _character(at));
  return bytes;
}

// Takes the bracket that opens an array or a map with `depth` others around it.
void Reader::_enter(std::size_t depth)
{
  if (depth == ZRValue::maxDepth)
    _fail(at, fmt::format("at most {} arrays and maps in one another", ZRValue::maxDepth), "one more");
  ++at;
  _skipSpace();
}

bool Reader::_take(char c)
{
  if (at == text.size() || text[at] != c)
    return false;
  ++at;
  return true;
}

std::string_view Reader::_word() const
{
  const std::size_t end = std::min(text.find_first_not_of(wordCharacters, at), text.size());
  return text.substr(at, end - at);
}

void Reader::_failHere(std::string_view expected) const
{
  const std::string_view word = _word();
  _fail(at, expected, word.empty() ? _character(at) : quote(word));
}

std::string Reader::_character(std::size_t where) const
{
  return where == text.size() ? "the end of the text" : quote(text.substr(where, 1));
}

void Reader::_fail(std::size_t where, std::string_view expected, std::string_view came) const
{
  const std::string_view before = text.substr(0, where);
  const auto lines = static_cast<std::size_t>(std::ranges::count(before, '\n'));
  const std::size_t column = where - (before.rfind('\n') + 1);  // without a newline npos + 1 is 0
  throw ZRValueParseError(lines + 1, column + 1, fmt::format("expected {}, came {}", expected, came));
}
}  // namespace

ZRValueParseError::ZRValueParseError(std::size_t line_, std::size_t column_, std::string_view problem)
    : ZRValueError(fmt::format("ZRValue text, line {}, column {}: {}", line_, column_, problem)), lineNumber(line_),
      columnNumber(column_)
{
}

ZRValue ZRValue::fromText(std::string_view text)
{
  return Reader(text).readAll();
}
}  // namespace ZR
