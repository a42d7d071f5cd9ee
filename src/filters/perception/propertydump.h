#pragma once

#include "filtrix/human.h"
#include "filtrix/object.h"

#include <cstdint>
#include <string>
#include <string_view>

/// Texts for whoever looks for a fault in a program: everything that is known of a person or an object, a line each,
/// with the names of the properties rather than their numbers.
namespace ZR::Filtrix::Filters
{
/// The name of a property of "Human", "Object2D" or "Object3D"; the number itself when it has none.
[[nodiscard]] std::string propertyName(std::string_view holder, std::int32_t key);

/// "Human 3 \"name\"", and below it scores, properties and objects, each kind by rising names or keys:
///
///     Human 3 ""
///       score "BodySize" = 1
///       Height = 1.75f
///       Object3D "3D"
///         Distance = 2000
[[nodiscard]] std::string dump(const Type::Human& human);

/// The same for a single object.
[[nodiscard]] std::string dump(const Type::Object2D& object);
[[nodiscard]] std::string dump(const Type::Object3D& object);
}  // namespace ZR::Filtrix::Filters
