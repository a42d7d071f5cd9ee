#pragma once

#include "filtrix/region.h"
#include "filtrix/time.h"
#include "filtrix/typetag.h"
#include "filtrix/vectors.h"

#include <boost/container/small_vector.hpp>

#include <concepts>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ZR::Filtrix
{
namespace Type
{
class ColorImage;
class GrayscaleImage;
class BinaryImage;
class LabelImage;
class DepthImage;
class XYZImage;
class MatrixImage;
class Histogram;
class AudioBuffer;
class Human;
class Object2D;
class Object3D;
class Lambda;
}  // namespace Type

class Data;
using DataPtr = std::shared_ptr<Data>;

/// The payload of an Array. Elements may be null.
using DataArray = std::vector<DataPtr>;

/// The inputs or the outputs of a filter, in port order; null stands for no value. A filter with at most four ports on
/// a side costs no allocation for it.
///
/// Values listed in braces are moved in, where an initializer list would copy each: a filter's `return {makeData(x)}`
/// then counts no share.
class DataList : public boost::container::small_vector<DataPtr, 4>
{
public:
  DataList() noexcept = default;

  /// That many times the value, null unless it is given.
  explicit DataList(std::size_t count, const DataPtr& value = nullptr) : small_vector(count, value) {}

  template <std::input_iterator Iterator>
  DataList(Iterator begin, Iterator end) : small_vector(begin, end)
  {
  }

  template <std::convertible_to<DataPtr> First, std::convertible_to<DataPtr>... Others>
  DataList(First&& first, Others&&... others)
  {
    reserve(1 + sizeof...(Others));
    emplace_back(std::forward<First>(first));
    (emplace_back(std::forward<Others>(others)), ...);
  }
};

struct NoPayload;
struct OpaquePayload;

/// The tag of a payload type: `tagOf<float>` is `TypeTag::Float`.
template <typename Payload>
inline constexpr TypeTag tagOf = TypeTag::Invalid;
#define FILTRIX_ROW(name, payload)                                                                                     \
  template <>                                                                                                          \
  inline constexpr TypeTag tagOf<payload> = TypeTag::name;
FILTRIX_TYPE_TAGS(FILTRIX_ROW)
#undef FILTRIX_ROW

/// Every value that travels through the graph: a payload held by shared pointer, the tag that tells what it is, and a
/// time stamp.
///
/// A payload is not changed any more once a filter has published it; several values, and the filter that made it, may
/// hold the same one. `Human`, `Object2D` and `Object3D` are the exceptions and lock for themselves.
class Data final
{
public:
  /// How deep arrays may nest, so that walking one, even to destroy it, needs a bounded stack.
  static constexpr std::uint32_t maxNesting = 64;

  /// The empty value: no payload, tag "Invalid".
  Data() noexcept = default;

  /// The constructors from a value copy it into a payload of its own.
  explicit Data(bool value);
  explicit Data(std::int32_t value);
  explicit Data(std::uint32_t value);
  explicit Data(float value);
  explicit Data(double value);
  explicit Data(std::string value);
  explicit Data(const char* value);  ///< a null pointer counts as the empty string
  explicit Data(DataArray value);    ///< throws std::length_error beyond `maxNesting`
  explicit Data(const Type::Color& value);
  explicit Data(Duration value);
  explicit Data(Time value);
  explicit Data(const Type::Histogram& value);
  explicit Data(const Type::Region2& value);
  explicit Data(const Type::Region3& value);
  explicit Data(const Type::Vector2& value);
  explicit Data(const Type::Vector3& value);
  explicit Data(const Type::Vector4& value);
  explicit Data(const Type::Vector6& value);
  Data(float x, float y);
  Data(float x, float y, float z);
  Data(float x, float y, float z, float w);
  Data(float x, float y, float z, float wx, float wy, float wz);

  /// The constructors from a shared pointer share its payload. A null pointer gives a value of that tag without
  /// payload.
  explicit Data(std::shared_ptr<Type::AudioBuffer> payload) noexcept;
  explicit Data(std::shared_ptr<Type::BinaryImage> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Color> payload) noexcept;
  explicit Data(std::shared_ptr<Type::ColorImage> payload) noexcept;
  explicit Data(std::shared_ptr<Type::DepthImage> payload) noexcept;
  explicit Data(std::shared_ptr<Duration> payload) noexcept;
  explicit Data(std::shared_ptr<Type::GrayscaleImage> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Histogram> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Human> payload) noexcept;
  explicit Data(std::shared_ptr<Type::LabelImage> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Lambda> payload) noexcept;
  explicit Data(std::shared_ptr<Type::MatrixImage> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Object2D> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Object3D> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Region2> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Region3> payload) noexcept;
  explicit Data(std::shared_ptr<Time> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Vector2> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Vector3> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Vector4> payload) noexcept;
  explicit Data(std::shared_ptr<Type::Vector6> payload) noexcept;
  explicit Data(std::shared_ptr<Type::XYZImage> payload) noexcept;
  explicit Data(std::shared_ptr<void> opaque) noexcept;  ///< tag "Unknown"

  /// No pointer may slip into the constructor from a truth value.
  template <typename T>
  requires(!std::is_same_v<std::remove_cv_t<T>, char>) explicit Data(T* pointer) = delete;

  [[nodiscard]] TypeTag type() const noexcept { return tag; }

  /// When the value came about; unset until somebody sets it.
  [[nodiscard]] Time timestamp() const noexcept { return time; }

  void setTimestamp(Time newTime) noexcept { time = newTime; }

  /// Exchanges the payloads. The tags go with them, since they tell how a payload is read; the time stamps stay.
  void swap(Data& other) noexcept;

  /// The payload, or null when the value is of another type. Never a conversion.
  template <typename Payload>
  [[nodiscard]] Payload* get() const noexcept
  {
    static_assert(tagOf<Payload> != TypeTag::Invalid, "no kind of value has this payload type");
    return tag == tagOf<Payload> ? static_cast<Payload*>(payload.get()) : nullptr;
  }

  /// The same, as a share in the payload.
  template <typename Payload>
  [[nodiscard]] std::shared_ptr<Payload> share() const noexcept
  {
    return get<Payload>() ? std::static_pointer_cast<Payload>(payload) : nullptr;
  }

  /// The small values by their own type: any other type gives false, 0 or an empty string or array.
  [[nodiscard]] bool toBool() const noexcept;
  [[nodiscard]] std::int32_t toInt() const noexcept;
  [[nodiscard]] std::uint32_t toUnsigned() const noexcept;
  [[nodiscard]] std::string toString() const;
  [[nodiscard]] DataArray toArray() const;

  /// Reads Float, Integer and UnsignedInteger; 0 for any other type, Double included.
  [[nodiscard]] float toFloat() const noexcept;

  /// Reads Double, Float, Integer and UnsignedInteger; 0 for any other type.
  [[nodiscard]] double toDouble() const noexcept;

  /// Levels of arrays in the value when it was made: 0 for anything else, 1 for an Array without arrays.
  [[nodiscard]] std::uint32_t nesting() const noexcept { return levels; }

  /// The payload as it stands, whatever the tag.
  [[nodiscard]] void* rawPointer() const noexcept { return payload.get(); }

  /// True when the value made its payload by copying.
  [[nodiscard]] bool ownsValue() const noexcept { return owned; }

private:
  std::shared_ptr<void> payload;
  TypeTag tag = TypeTag::Invalid;
  std::uint32_t levels = 0;
  Time time;
  bool owned = false;
};

/// A fresh shared value: `makeData(0.5F)`.
template <typename... Args>
[[nodiscard]] DataPtr makeData(Args&&... args)
{
  return std::make_shared<Data>(std::forward<Args>(args)...);
}

namespace Type
{
/// The value as a text for people: `True`, `12`, `1.5f`, `{X=1 Y=2}`, `{NULL;3}`. Empty without a payload; "{void*}"
/// for kinds that have no text. Never throws for what is in the value. An Array nested deeper than 256 levels ends
/// there with "{...}".
[[nodiscard]] std::string toText(const Data& value);
}  // namespace Type
}  // namespace ZR::Filtrix
