#pragma once

#include "filters/perception/objects.h"
#include "filtrix/data.h"
#include "filtrix/human.h"
#include "filtrix/object.h"
#include "filtrix/region.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Reading populations - arrays of people - and what is known of the people in them, whatever the arrays really hold.
namespace ZR::Filtrix::Filters
{
/// True when the inputs are as many as the types and each has a payload of its type. Says nothing otherwise: for
/// filters whose message for bad input is their own.
[[nodiscard]] bool haveTypes(const DataList& inputs, std::span<const TypeTag> types);

/// The person that a value holds; null for null and for any other value. The value keeps it alive.
[[nodiscard]] inline Type::Human* personIn(const DataPtr& value) noexcept
{
  return value ? value->get<Type::Human>() : nullptr;
}

/// The elements of an array that are people, in order. For each other element `wrongType` is logged as an error.
[[nodiscard]] std::vector<DataPtr> peopleOf(const DataPtr& array, std::string_view category,
                                            std::string_view wrongType);

/// The first person of an array who is seen, or of whom it is not known; null when there is none. What stands before it
/// and is no person is logged as above.
[[nodiscard]] std::shared_ptr<Type::Human> firstSeenOf(const DataPtr& array, std::string_view category,
                                                       std::string_view wrongType);

/// Logs that a property was expected to be of another type. `holder` is "Human", "Object2D" or "Object3D".
void complainOfType(std::string_view holder, std::int32_t key, TypeTag expected, const Data& found);

namespace Detail
{
inline std::string_view kindOf(const Type::Human&)
{
  return "Human";
}

inline std::string_view kindOf(const Type::Object2D&)
{
  return "Object2D";
}

inline std::string_view kindOf(const Type::Object3D&)
{
  return "Object3D";
}
}  // namespace Detail

/// The payload of a property of a person or an object; null when it is not there. One of a wrong type counts as
/// missing, and is logged.
template <typename Payload, typename Holder>
[[nodiscard]] std::shared_ptr<Payload> checkedProperty(const Holder& holder, std::int32_t key)
{
  const DataPtr value = holder.getProperty(key);
  auto payload = value ? value->share<Payload>() : nullptr;
  if (value && !payload)
    complainOfType(Detail::kindOf(holder), key, tagOf<Payload>, *value);
  return payload;
}

/// The same for values that are cheap to copy: numbers, times, vectors, regions.
template <typename Payload, typename Holder>
[[nodiscard]] std::optional<Payload> valueOf(const Holder& holder, std::int32_t key)
{
  const auto payload = checkedProperty<Payload>(holder, key);
  return payload ? std::optional<Payload>(*payload) : std::nullopt;
}

/// A Float property; a NaN counts as missing.
template <typename Holder>
[[nodiscard]] std::optional<float> floatProperty(const Holder& holder, std::int32_t key)
{
  const auto value = valueOf<float>(holder, key);
  return value && *value == *value ? value : std::nullopt;
}

/// A Vector2 property of finite coordinates; any other counts as missing.
[[nodiscard]] std::optional<Type::Vector2> placeProperty(const Type::Human& human, std::int32_t key);

/// The number of an UnsignedInteger, or of an Integer from 0 up; nothing for any other value.
[[nodiscard]] std::optional<std::uint64_t> countIn(const DataPtr& value);

/// How far away a person is, in metres: what its Object3D says; without one, its Object2D "BodyImage". Nothing when
/// there is neither, or when it does not say.
[[nodiscard]] std::optional<float> distanceOf(const Type::Human& human);

/// The size of a box whose end is its last pixel, in pixels. NaN corners give NaN.
[[nodiscard]] inline Type::Vector2 pixelSizeOf(const Type::Region2& box) noexcept
{
  return {box.end.x - box.start.x + 1.0F, box.end.y - box.start.y + 1.0F};
}
}  // namespace ZR::Filtrix::Filters
