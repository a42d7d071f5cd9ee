#include "filtrix/zrvalue.h"

#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

namespace ZR
{
// What copies of a value share. Its count tells `ownContent` with acquire order that the other owners are done reading,
// which the count of std::shared_ptr does not promise.
template <typename T>
struct ZRValue::Shared final : boost::intrusive_ref_counter<Shared<T>>
{
  explicit Shared(T data_, std::size_t depth_ = 0) : data(std::move(data_)), depth(depth_) {}

  T data;
  std::size_t depth;
};

namespace
{
using Kind = ZRValue::Kind;

constexpr std::array<std::string_view, 9> kindNames = {"Null",   "Boolean", "Integer", "Float", "Double",
                                                       "String", "Blob",    "Array",   "Map"};

[[noreturn]] void throwWrongKind(std::string_view expected, const ZRValue& came)
{
  throw ZRValueError(fmt::format("ZRValue: expected {}, came {}", expected, kindName(came.kind())));
}

// A number is told with its value, which is what was wrong with it.
[[noreturn]] void throwWrongNumber(std::string_view expected, const ZRValue& came)
{
  throw ZRValueError(fmt::format("ZRValue: expected {}, came {} {}", expected, kindName(came.kind()), came.toText()));
}

template <Kind expected, typename Content>
auto& contentOf(Content& content, const ZRValue& value)
{
  auto* found = std::get_if<static_cast<std::size_t>(expected)>(&content);
  if (found == nullptr)
    throwWrongKind(kindName(expected), value);
  return *found;
}

std::size_t checkedDepth(std::size_t depth)
{
  if (depth > ZRValue::maxDepth)
    throw ZRValueError(fmt::format("ZRValue: nested {} deep, expected at most {}", depth, ZRValue::maxDepth));
  return depth;
}

std::size_t depthAround(const ZRValue::Array& items)
{
  std::size_t depth = 0;
  for (const ZRValue& item : items)
    depth = std::max(depth, item.depth());
  return checkedDepth(depth + 1);
}

std::size_t depthAround(const ZRValue::Map& entries)
{
  std::size_t depth = 0;
  for (const auto& [key, item] : entries)
    depth = std::max(depth, item.depth());
  return checkedDepth(depth + 1);
}

template <typename Shared, typename... Args>
boost::intrusive_ptr<Shared> share(Args&&... args)
{
  return boost::intrusive_ptr<Shared>(std::make_unique<Shared>(std::forward<Args>(args)...).release());
}

// For changing: what other values share is copied first. No other thread can begin to share what only we have.
template <typename Shared>
Shared& ownContent(boost::intrusive_ptr<Shared>& pointer)
{
  if (pointer->use_count() > 1)
    pointer = share<Shared>(pointer->data, pointer->depth);
  return *pointer;
}

template <typename Number>
bool sameNumber(Number a, Number b) noexcept
{
  return a == b || (std::isnan(a) && std::isnan(b));
}
}  // namespace

ZRValue::ZRValue() noexcept = default;

ZRValue::ZRValue(std::nullptr_t) noexcept {}

ZRValue::ZRValue(Scalar scalar) noexcept
{
  std::visit([this](auto value) { content = value; }, scalar);
}

ZRValue::ZRValue(const char* text)
{
  if (text == nullptr)
    throw ZRValueError("ZRValue: expected a string, came a null pointer");
  content = share<Shared<std::string>>(text);
}

ZRValue::ZRValue(std::string_view text) : ZRValue(std::string(text)) {}

ZRValue::ZRValue(std::string text) : content(share<Shared<std::string>>(std::move(text))) {}

ZRValue::ZRValue(Blob bytes) : content(share<Shared<Blob>>(std::move(bytes))) {}

ZRValue::ZRValue(Array items)
{
  const std::size_t depth = depthAround(items);
  content = share<Shared<Array>>(std::move(items), depth);
}

ZRValue::ZRValue(Map entries)
{
  const std::size_t depth = depthAround(entries);
  content = share<Shared<Map>>(std::move(entries), depth);
}

ZRValue::ZRValue(const ZRValue& other) = default;

ZRValue::ZRValue(ZRValue&& other) noexcept : content(std::exchange(other.content, Content())) {}

ZRValue& ZRValue::operator=(const ZRValue& other)
{
  // By way of a copy: `other` may be an item of this very value.
  return *this = ZRValue(other);
}

ZRValue& ZRValue::operator=(ZRValue&& other) noexcept
{
  content = std::exchange(other.content, Content());
  return *this;
}

ZRValue::~ZRValue() = default;

ZRValue ZRValue::map(std::initializer_list<std::pair<const std::string, ZRValue>> entries)
{
  Map all;
  for (const auto& [key, item] : entries)
    if (!all.try_emplace(key, item).second)
      throw ZRValueError(
          fmt::format("ZRValue: expected different keys in a Map, came {} twice", ZRValue(key).toText()));
  return ZRValue(std::move(all));
}

bool ZRValue::asBoolean() const
{
  return contentOf<Kind::Boolean>(content, *this);
}

std::int64_t ZRValue::asInteger() const
{
  return contentOf<Kind::Integer>(content, *this);
}

float ZRValue::asFloat() const
{
  return contentOf<Kind::Float>(content, *this);
}

double ZRValue::asDouble() const
{
  return contentOf<Kind::Double>(content, *this);
}

const std::string& ZRValue::asString() const
{
  return contentOf<Kind::String>(content, *this)->data;
}

const ZRValue::Blob& ZRValue::asBlob() const
{
  return contentOf<Kind::Blob>(content, *this)->data;
}

const ZRValue::Array& ZRValue::asArray() const
{
  return contentOf<Kind::Array>(content, *this)->data;
}

const ZRValue::Map& ZRValue::asMap() const
{
  return contentOf<Kind::Map>(content, *this)->data;
}

bool ZRValue::toBoolean() const
{
  constexpr std::string_view expected = "Boolean or Integer 0 or 1";
  if (isBoolean())
    return asBoolean();
  if (!isInteger())
    throwWrongKind(expected, *this);
  if (asInteger() != 0 && asInteger() != 1)
    throwWrongNumber(expected, *this);
  return asInteger() == 1;
}

std::int64_t ZRValue::toInteger() const
{
  constexpr double limit = 0x1p63;  // the greatest Integer itself is no double
  if (isInteger())
    return asInteger();
  const double number = toDouble();
  if (!(number >= -limit && number < limit) || std::trunc(number) != number)
    throwWrongNumber("a whole number of 64 bits", *this);
  return static_cast<std::int64_t>(number);
}

float ZRValue::toFloat() const
{
  if (isFloat())
    return asFloat();
  if (isInteger())
    return static_cast<float>(asInteger());  // by way of a double it would be rounded twice
  const double number = toDouble();
  const auto rounded = static_cast<float>(number);
  if (std::isfinite(number) && !std::isfinite(rounded))
    throwWrongNumber("a number in the range of Float", *this);
  return rounded;
}

double ZRValue::toDouble() const
{
  switch (kind())
  {
  case Kind::Integer:
    return static_cast<double>(asInteger());
  case Kind::Float:
    return static_cast<double>(asFloat());
  case Kind::Double:
    return asDouble();
  default:
    throwWrongKind("Integer, Float or Double", *this);
  }
}

std::size_t ZRValue::size() const
{
  if (isArray())
    return asArray().size();
  if (isMap())
    return asMap().size();
  throwWrongKind("Array or Map", *this);
}

std::size_t ZRValue::depth() const noexcept
{
  if (const auto* items = std::get_if<Pointer<Array>>(&content))
    return (*items)->depth;
  if (const auto* entries = std::get_if<Pointer<Map>>(&content))
    return (*entries)->depth;
  return 0;
}

const ZRValue& ZRValue::at(std::size_t index) const
{
  const Array& items = asArray();
  if (index >= items.size())
    throw ZRValueError(fmt::format("ZRValue: index {} in an Array of {}", index, items.size()));
  return items[index];
}

const ZRValue& ZRValue::at(std::string_view key) const
{
  const ZRValue* const found = find(key);
  if (found == nullptr)
    throw ZRValueError(fmt::format("ZRValue: no key {} in a Map of {}", ZRValue(key).toText(), size()));
  return *found;
}

const ZRValue* ZRValue::find(std::string_view key) const
{
  const Map& entries = asMap();
  const auto found = entries.find(key);
  return found == entries.end() ? nullptr : &found->second;
}

bool ZRValue::contains(std::string_view key) const
{
  return find(key) != nullptr;
}

void ZRValue::push_back(ZRValue item)
{
  auto& items = contentOf<Kind::Array>(content, *this);
  const std::size_t depth = std::max(items->depth, checkedDepth(item.depth() + 1));
  auto& own = ownContent(items);
  own.data.push_back(std::move(item));
  own.depth = depth;
}

bool ZRValue::insert(std::string key, ZRValue item)
{
  auto& entries = contentOf<Kind::Map>(content, *this);
  if (entries->data.contains(key))
    return false;
  const std::size_t depth = std::max(entries->depth, checkedDepth(item.depth() + 1));
  auto& own = ownContent(entries);
  own.data.emplace(std::move(key), std::move(item));
  own.depth = depth;
  return true;
}

void ZRValue::_refuse(std::uint64_t number)
{
  throw ZRValueError(fmt::format("ZRValue: expected an Integer of at most {}, came {}",
                                 std::numeric_limits<std::int64_t>::max(), number));
}

bool operator==(const ZRValue& a, const ZRValue& b) noexcept
{
  const auto sameContent = []<typename Left, typename Right>(const Left& left, const Right& right)
  {
    if constexpr (!std::is_same_v<Left, Right>)
      return false;
    else if constexpr (std::is_floating_point_v<Left>)
      return sameNumber(left, right);
    else if constexpr (std::is_arithmetic_v<Left> || std::is_same_v<Left, std::monostate>)
      return left == right;
    else
      return left == right || left->data == right->data;  // what is shared need not be walked
  };
  return std::visit(sameContent, a.content, b.content);
}

std::string_view kindName(ZRValue::Kind kind)
{
  return kindNames.at(static_cast<std::size_t>(kind));
}
}  // namespace ZR
