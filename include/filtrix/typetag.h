#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The one table of the kinds of value: row(name, payload type), in the order of their numbers, which never change.
/// "Invalid" is the tag of a value without payload, "Unknown" that of an opaque pointer. Program text and port
/// declarations use the names as they stand here.
#define FILTRIX_TYPE_TAGS(row)                                                                                         \
  row(Invalid, NoPayload) row(Boolean, bool) row(Integer, std::int32_t) row(UnsignedInteger, std::uint32_t)            \
      row(Float, float) row(Double, double) row(String, std::string) row(ColorImage, Type::ColorImage)                 \
          row(GrayscaleImage, Type::GrayscaleImage) row(BinaryImage, Type::BinaryImage)                                \
              row(LabelImage, Type::LabelImage) row(DepthImage, Type::DepthImage) row(XYZImage, Type::XYZImage)        \
                  row(MatrixImage, Type::MatrixImage) row(Histogram, Type::Histogram)                                  \
                      row(AudioBuffer, Type::AudioBuffer) row(Color, Type::Color) row(Vector2, Type::Vector2)          \
                          row(Vector3, Type::Vector3) row(Vector4, Type::Vector4) row(Vector6, Type::Vector6)          \
                              row(Region2, Type::Region2) row(Region3, Type::Region3) row(Array, DataArray)            \
                                  row(Human, Type::Human) row(Object2D, Type::Object2D) row(Object3D, Type::Object3D)  \
                                      row(Time, Type::Time) row(Duration, Type::Duration) row(Unknown, OpaquePayload)  \
                                          row(Lambda, Type::Lambda)

namespace ZR::Filtrix
{
/// The kind of a value: 0 "Invalid" to 30 "Lambda".
enum class TypeTag : std::uint32_t
{
#define FILTRIX_ROW(name, payload) name,
  FILTRIX_TYPE_TAGS(FILTRIX_ROW)
#undef FILTRIX_ROW
};

inline constexpr std::size_t typeTagCount = static_cast<std::size_t>(TypeTag::Lambda) + 1;

namespace Type
{
/// The tag's name; "Invalid" for a number that is no tag.
[[nodiscard]] std::string_view typeName(TypeTag tag) noexcept;

/// The tag of a name, compared exactly; `TypeTag::Invalid` for any other text.
[[nodiscard]] TypeTag typeFromName(std::string_view name) noexcept;
}  // namespace Type
}  // namespace ZR::Filtrix
