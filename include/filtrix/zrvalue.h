#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace ZR
{
/// A value was used as what it is not, or cannot be built. The text names what was expected and what came.
class ZRValueError : public std::invalid_argument
{
public:
  using std::invalid_argument::invalid_argument;
};

/// A text is not the text form of a value.
class ZRValueParseError final : public ZRValueError
{
public:
  ZRValueParseError(std::size_t line_, std::size_t column_, std::string_view problem);

  /// Where the problem is: lines end with a newline, columns count bytes, both from 1.
  [[nodiscard]] std::size_t line() const noexcept { return lineNumber; }

  [[nodiscard]] std::size_t column() const noexcept { return columnNumber; }

private:
  std::size_t lineNumber;
  std::size_t columnNumber;
};

/// The numbers that become an Integer: every integer type but bool, which is a kind of its own, and the characters,
/// which are more likely a slip.
template <typename T>
concept ZRInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
                    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// The numbers that become a Float or a Double; a long double would lose digits.
template <typename T>
concept ZRReal = std::same_as<T, float> || std::same_as<T, double>;

/// A value whose kind is known only when the program runs: what crosses the boundary of a module.
///
/// It behaves as a number does: a copy is independent of its original and costs no more than a pointer, since strings,
/// blobs, arrays and maps are shared until one of their owners changes. Moving leaves Null behind. What is within an
/// array or a map cannot be changed in place: take a copy of the `Array` or `Map`, change it and make a new value.
/// References and pointers to contents last until the value that gave them is changed, moved from or destroyed.
///
/// Values nest at most `maxDepth` deep, so that walking one, even to destroy it, needs a bounded stack.
///
/// Thread use is that of the standard containers, shared contents included: threads may read one object at once, and
/// may change different objects, copies of each other or not.
class ZRValue final
{
public:
  enum class Kind
  {
    Null,
    Boolean,
    Integer,  ///< signed, 64 bits
    Float,    ///< 32 bits
    Double,   ///< 64 bits
    String,   ///< any bytes; UTF-8 where they are text
    Blob,     ///< bytes, such as the pixels of an image
    Array,
    Map  ///< in the order of its keys, which are compared byte by byte
  };

  using Blob = std::vector<std::uint8_t>;
  using Array = std::vector<ZRValue>;
  using Map = std::map<std::string, ZRValue, std::less<>>;

  /// A number is 0 deep, an empty array 1, an array that holds it 2.
  static constexpr std::size_t maxDepth = 256;

  ZRValue() noexcept;
  ZRValue(std::nullptr_t) noexcept;

  // A template takes exactly its type: a pointer would otherwise turn into a bool.
  template <std::same_as<bool> T>
  ZRValue(T truth) noexcept : ZRValue(Scalar(truth))
  {
  }

  /// Throws `ZRValueError` for an unsigned number beyond 2^63 - 1.
  template <ZRInteger T>
  ZRValue(T number) : ZRValue(Scalar(_toInteger(number)))
  {
  }

  template <ZRReal T>
  ZRValue(T number) noexcept : ZRValue(Scalar(number))
  {
  }

  /// A null pointer throws `ZRValueError`.
  ZRValue(const char* text);
  ZRValue(std::string_view text);
  ZRValue(std::string text);
  ZRValue(Blob bytes);

  /// Throw `ZRValueError` when the value would be more than `maxDepth` deep. Explicit, so that `Array{otherArray}`
  /// cannot mean an array in an array.
  explicit ZRValue(Array items);
  explicit ZRValue(Map entries);

  ZRValue(const ZRValue& other);
  ZRValue(ZRValue&& other) noexcept;
  ZRValue& operator=(const ZRValue& other);
  ZRValue& operator=(ZRValue&& other) noexcept;
  ~ZRValue();

  /// An array of the items, each of any type that a value is made from: `ZRValue::array("Integer", 43)`.
  template <typename... Items>
  [[nodiscard]] static ZRValue array(Items&&... items);

  /// A map: `ZRValue::map({{"width", 320}, {"height", 240}})`. Throws `ZRValueError` when a key comes twice.
  [[nodiscard]] static ZRValue map(std::initializer_list<std::pair<const std::string, ZRValue>> entries = {});

  [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(content.index()); }

  [[nodiscard]] bool isNull() const noexcept { return kind() == Kind::Null; }

  [[nodiscard]] bool isBoolean() const noexcept { return kind() == Kind::Boolean; }

  [[nodiscard]] bool isInteger() const noexcept { return kind() == Kind::Integer; }

  [[nodiscard]] bool isFloat() const noexcept { return kind() == Kind::Float; }

  [[nodiscard]] bool isDouble() const noexcept { return kind() == Kind::Double; }

  [[nodiscard]] bool isString() const noexcept { return kind() == Kind::String; }

  [[nodiscard]] bool isBlob() const noexcept { return kind() == Kind::Blob; }

  [[nodiscard]] bool isArray() const noexcept { return kind() == Kind::Array; }

  [[nodiscard]] bool isMap() const noexcept { return kind() == Kind::Map; }

  /// The content, of exactly this kind. Another kind throws `ZRValueError`.
  [[nodiscard]] bool asBoolean() const;
  [[nodiscard]] std::int64_t asInteger() const;
  [[nodiscard]] float asFloat() const;
  [[nodiscard]] double asDouble() const;
  [[nodiscard]] const std::string& asString() const;
  [[nodiscard]] const Blob& asBlob() const;
  [[nodiscard]] const Array& asArray() const;
  [[nodiscard]] const Map& asMap() const;

  /// A Boolean, or an Integer that is 0 or 1. The rest throws `ZRValueError`.
  [[nodiscard]] bool toBoolean() const;

  /// An Integer, or a whole Float or Double within its range: nothing is rounded. The rest throws `ZRValueError`.
  [[nodiscard]] std::int64_t toInteger() const;

  /// An Integer, a Float or a Double, rounded to the nearest. NaN and infinities pass, but a finite number that only an
  /// infinite float could stand for throws `ZRValueError`, as do the other kinds.
  [[nodiscard]] float toFloat() const;

  /// An Integer, rounded to the nearest beyond 2^53, a Float or a Double. The other kinds throw `ZRValueError`.
  [[nodiscard]] double toDouble() const;

  /// The number of items of an array or of entries of a map. Other kinds throw `ZRValueError`.
  [[nodiscard]] std::size_t size() const;

  /// How deep arrays and maps nest, 0 for all other kinds. At no cost.
  [[nodiscard]] std::size_t depth() const noexcept;

  /// The item of an array. Another kind and an index out of range throw `ZRValueError`.
  [[nodiscard]] const ZRValue& at(std::size_t index) const;

  /// The entry of a map. Another kind and a key that is not there throw `ZRValueError`.
  [[nodiscard]] const ZRValue& at(std::string_view key) const;

  /// The entry of a map, or null. Another kind throws `ZRValueError`.
  [[nodiscard]] const ZRValue* find(std::string_view key) const;
  [[nodiscard]] bool contains(std::string_view key) const;

  /// Appends to an array. Another kind and growing deeper than `maxDepth` throw `ZRValueError` and change nothing.
  void push_back(ZRValue item);

  /// Adds an entry to a map; false, and the map as it was, when the key is there already. Throws as `push_back` does.
  bool insert(std::string key, ZRValue item);

  /// The text form, compact, on one line, of printable characters and valid UTF-8 only. It reads back to the same
  /// value, kinds and the sign of zero included; NaN has one form, so its sign and payload are not kept.
  ///
  ///     value   = space ( "null" | "true" | "false" | integer | double | float | string | blob | array | map ) space
  ///     integer = [ "-" ] digits                                                 43
  ///     double  = [ "-" ] ( digits "." digits [ exponent ] | digits exponent )   1.0   -2.5e-7   1e+300
  ///             | [ "-" ] "inf" | "nan"
  ///     float   = double "f"                                                     1.5f   nanf   -inff
  ///     string  = '"' { byte | escape } '"'                                      "left\thand"
  ///     escape  = "\" ( '"' | "\" | "n" | "r" | "t" | "x" hex hex )
  ///     blob    = 'b"' base64 '"'                                                b"AAH/"
  ///     array   = "[" ( space | value { "," value } ) "]"                        ["Integer",43]
  ///     map     = "{" ( space | entry { "," entry } ) "}"                        {"height":240,"width":320}
  ///     entry   = space string space ":" value
  ///
  /// A digit is 0 to 9, an exponent is "e", an optional sign and digits, space is any number of blanks, tabs, carriage
  /// returns and newlines, a byte is any but the quote, the backslash and the control characters 0 to 31, and base64 is
  /// that of RFC 4648, padded.
  [[nodiscard]] std::string toText() const;

  /// Reads the text form. Throws `ZRValueParseError` on any other text, on a number that its kind cannot hold, on a key
  /// that comes twice and on nesting beyond `maxDepth`. Time: linear in the text but for the sorting of map keys.
  [[nodiscard]] static ZRValue fromText(std::string_view text);

  /// For a person: one line an item, indented by two blanks a level, long strings and blobs cut short and followed by
  /// their size. Lines end with a newline.
  [[nodiscard]] std::string dump() const;

  /// Same kind and same content: Integer 1 is not Double 1.0. NaN equals NaN, so that a value always equals its copy;
  /// for the rest numbers compare as numbers do, and 0.0 equals -0.0.
  friend bool operator==(const ZRValue& a, const ZRValue& b) noexcept;

  /// Writes the text form.
  friend std::ostream& operator<<(std::ostream& out, const ZRValue& value);

private:
  template <typename T>
  struct Shared;

  template <typename T>
  using Pointer = boost::intrusive_ptr<Shared<T>>;

  // In the order of Kind; the pointers are never null.
  using Content = std::variant<std::monostate, bool, std::int64_t, float, double, Pointer<std::string>, Pointer<Blob>,
                               Pointer<Array>, Pointer<Map>>;
  using Scalar = std::variant<bool, std::int64_t, float, double>;

  explicit ZRValue(Scalar scalar) noexcept;

  template <ZRInteger T>
  static std::int64_t _toInteger(T number);
  [[noreturn]] static void _refuse(std::uint64_t number);

  Content content;
};

/// The kind's name: "Null" to "Map".
[[nodiscard]] std::string_view kindName(ZRValue::Kind kind);

template <typename... Items>
ZRValue ZRValue::array(Items&&... items)
{
  Array all;
  all.reserve(sizeof...(items));
  (all.emplace_back(std::forward<Items>(items)), ...);
  return ZRValue(std::move(all));
}

template <ZRInteger T>
std::int64_t ZRValue::_toInteger(T number)
{
  if (!std::in_range<std::int64_t>(number))
    _refuse(static_cast<std::uint64_t>(number));
  return static_cast<std::int64_t>(number);
}
}  // namespace ZR
