#pragma once

#include "filtrix/data.h"
#include "filtrix/human.h"
#include "filtrix/object.h"
#include "filtrix/properties.h"

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

/// Reading arrays of objects and their properties.
namespace ZR::Filtrix::Filters
{
/// The payload of a property, or null when it is not there or of another type.
template <typename T>
[[nodiscard]] std::shared_ptr<T> propertyOf(const Type::PropertyHolder& object, std::int32_t key)
{
  const DataPtr value = object.getProperty(key);
  return value ? value->share<T>() : nullptr;
}

template <typename T>
[[nodiscard]] std::shared_ptr<T> propertyOf(const Type::Human& human, std::int32_t key)
{
  const DataPtr value = human.getProperty(key);
  return value ? value->share<T>() : nullptr;
}

/// True for a Boolean property that says so; false when it is not there.
template <typename Holder>
[[nodiscard]] bool isTrue(const Holder& holder, std::int32_t key)
{
  const auto value = propertyOf<bool>(holder, key);
  return value && *value;
}

/// The elements of an array that are of a type; the others are told of in one line and passed over.
template <typename T>
[[nodiscard]] std::vector<std::shared_ptr<T>> elementsOf(const DataPtr& array, std::string_view category);

/// An array of them.
template <typename T>
[[nodiscard]] DataPtr toArray(const std::vector<std::shared_ptr<T>>& elements)
{
  DataArray values;
  values.reserve(elements.size());
  for (const auto& element : elements)
    values.push_back(makeData(element));
  return makeData(std::move(values));
}

/// The object of a person whose body was found in depth; null when there is none.
[[nodiscard]] inline std::shared_ptr<Type::Object3D> bodyOf(const Type::Human& human)
{
  return human.getObject3D(ObjectName::object3D);
}
}  // namespace ZR::Filtrix::Filters
