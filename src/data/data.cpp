#include "filtrix/data.h"

#include "filtrix/histogram.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZR::Filtrix
{
Data::Data(bool value) : payload(std::make_shared<bool>(value)), tag(TypeTag::Boolean), owned(true) {}

Data::Data(std::int32_t value) : payload(std::make_shared<std::int32_t>(value)), tag(TypeTag::Integer), owned(true) {}

Data::Data(std::uint32_t value)
    : payload(std::make_shared<std::uint32_t>(value)), tag(TypeTag::UnsignedInteger), owned(true)
{
}

Data::Data(float value) : payload(std::make_shared<float>(value)), tag(TypeTag::Float), owned(true) {}

Data::Data(double value) : payload(std::make_shared<double>(value)), tag(TypeTag::Double), owned(true) {}

Data::Data(std::string value)
    : payload(std::make_shared<std::string>(std::move(value))), tag(TypeTag::String), owned(true)
{
}

Data::Data(const char* value) : Data(std::string(value != nullptr ? value : "")) {}

Data::Data(DataArray value)
    : payload(std::make_shared<DataArray>(std::move(value))), tag(TypeTag::Array), levels(1), owned(true)
{
  for (const DataPtr& element : *get<DataArray>())
  {
    if (element)
      levels = std::max(levels, element->levels + 1);
  }
  if (levels > maxNesting)
    throw std::length_error(fmt::format("an Array nests {} levels deep, expected at most {}", levels, maxNesting));
}

Data::Data(const Type::Color& value) : payload(std::make_shared<Type::Color>(value)), tag(TypeTag::Color), owned(true)
{
}

Data::Data(Duration value) : payload(std::make_shared<Duration>(value)), tag(TypeTag::Duration), owned(true) {}

Data::Data(Time value) : payload(std::make_shared<Time>(value)), tag(TypeTag::Time), owned(true) {}

// Through size, channels and values, so that the bins are duplicated even when `value` only borrows them.
Data::Data(const Type::Histogram& value)
    : payload(std::make_shared<Type::Histogram>(value.values(), value.totalSize(), value.channels())),
      tag(TypeTag::Histogram), owned(true)
{
}

Data::Data(const Type::Region2& value)
    : payload(std::make_shared<Type::Region2>(value)), tag(TypeTag::Region2), owned(true)
{
}

Data::Data(const Type::Region3& value)
    : payload(std::make_shared<Type::Region3>(value)), tag(TypeTag::Region3), owned(true)
{
}

Data::Data(const Type::Vector2& value)
    : payload(std::make_shared<Type::Vector2>(value)), tag(TypeTag::Vector2), owned(true)
{
}

Data::Data(const Type::Vector3& value)
    : payload(std::make_shared<Type::Vector3>(value)), tag(TypeTag::Vector3), owned(true)
{
}

Data::Data(const Type::Vector4& value)
    : payload(std::make_shared<Type::Vector4>(value)), tag(TypeTag::Vector4), owned(true)
{
}

Data::Data(const Type::Vector6& value)
    : payload(std::make_shared<Type::Vector6>(value)), tag(TypeTag::Vector6), owned(true)
{
}

Data::Data(float x, float y) : Data(Type::Vector2(x, y)) {}

Data::Data(float x, float y, float z) : Data(Type::Vector3(x, y, z)) {}

Data::Data(float x, float y, float z, float w) : Data(Type::Vector4(x, y, z, w)) {}

Data::Data(float x, float y, float z, float wx, float wy, float wz) : Data(Type::Vector6(x, y, z, wx, wy, wz)) {}

// The wrapping constructors differ in nothing but the tag.
#define FILTRIX_WRAP(name, type)                                                                                       \
  Data::Data(std::shared_ptr<type> payload_) noexcept : payload(std::move(payload_)), tag(TypeTag::name) {}
FILTRIX_WRAP(AudioBuffer, Type::AudioBuffer)
FILTRIX_WRAP(BinaryImage, Type::BinaryImage)
FILTRIX_WRAP(Color, Type::Color)
FILTRIX_WRAP(ColorImage, Type::ColorImage)
FILTRIX_WRAP(DepthImage, Type::DepthImage)
FILTRIX_WRAP(Duration, Type::Duration)
FILTRIX_WRAP(GrayscaleImage, Type::GrayscaleImage)
FILTRIX_WRAP(Histogram, Type::Histogram)
FILTRIX_WRAP(Human, Type::Human)
FILTRIX_WRAP(LabelImage, Type::LabelImage)
FILTRIX_WRAP(Lambda, Type::Lambda)
FILTRIX_WRAP(MatrixImage, Type::MatrixImage)
FILTRIX_WRAP(Object2D, Type::Object2D)
FILTRIX_WRAP(Object3D, Type::Object3D)
FILTRIX_WRAP(Region2, Type::Region2)
FILTRIX_WRAP(Region3, Type::Region3)
FILTRIX_WRAP(Time, Type::Time)
FILTRIX_WRAP(Vector2, Type::Vector2)
FILTRIX_WRAP(Vector3, Type::Vector3)
FILTRIX_WRAP(Vector4, Type::Vector4)
FILTRIX_WRAP(XYZImage, Type::XYZImage)
FILTRIX_WRAP(Unknown, void)
#undef FILTRIX_WRAP

// Counts as owning, unlike the other wrapping constructors: kept for those who look at the flag.
Data::Data(std::shared_ptr<Type::Vector6> payload_) noexcept
    : payload(std::move(payload_)), tag(TypeTag::Vector6), owned(true)
{
}

void Data::swap(Data& other) noexcept
{
  std::swap(payload, other.payload);
  std::swap(tag, other.tag);
  std::swap(levels, other.levels);
}

bool Data::toBool() const noexcept
{
  const auto* const value = get<bool>();
  return value != nullptr && *value;
}

std::int32_t Data::toInt() const noexcept
{
  const auto* const value = get<std::int32_t>();
  return value != nullptr ? *value : 0;
}

std::uint32_t Data::toUnsigned() const noexcept
{
  const auto* const value = get<std::uint32_t>();
  return value != nullptr ? *value : 0;
}

std::string Data::toString() const
{
  const auto* const value = get<std::string>();
  return value != nullptr ? *value : std::string();
}

DataArray Data::toArray() const
{
  const auto* const value = get<DataArray>();
  return value != nullptr ? *value : DataArray();
}

float Data::toFloat() const noexcept
{
  if (!payload)
    return 0.0F;
  switch (tag)
  {
  case TypeTag::Float:
    return *get<float>();
  case TypeTag::Integer:
    return static_cast<float>(toInt());
  case TypeTag::UnsignedInteger:
    return static_cast<float>(toUnsigned());
  default:
    return 0.0F;
  }
}

double Data::toDouble() const noexcept
{
  if (!payload)
    return 0.0;
  switch (tag)
  {
  case TypeTag::Double:
    return *get<double>();
  case TypeTag::Float:
    return static_cast<double>(*get<float>());
  case TypeTag::Integer:
    return toInt();
  case TypeTag::UnsignedInteger:
    return toUnsigned();
  default:
    return 0.0;
  }
}
}  // namespace ZR::Filtrix
