#include "module/valuebridge.h"

#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace ZR::Filtrix::ValueBridge
{
namespace
{
constexpr const char* category = "filtrix.valuebridge";
constexpr std::int8_t noCamera = -1;

[[noreturn]] void fail(const std::string& text)
{
  ku::log::write(ku::log::Level::Error, category, text);
  throw std::runtime_error(text);
}

std::int32_t toInt32(const ZRValue& value)
{
  const std::int64_t number = value.toInteger();
  if (!std::in_range<std::int32_t>(number))
    throw ZRValueError(fmt::format("expected an Integer of 32 bits, came {}", number));
  return static_cast<std::int32_t>(number);
}

struct Reader
{
  std::string_view tag;
  DataPtr (*read)(const ZRValue&);
};

// What can be set from outside.
constexpr Reader readers[] = {
    {"String", [](const ZRValue& value) { return makeData(value.asString()); }},
    {"Integer", [](const ZRValue& value) { return makeData(toInt32(value)); }},
    {"Boolean", [](const ZRValue& value) { return makeData(value.toBoolean()); }},
    {"Float", [](const ZRValue& value) { return makeData(value.toFloat()); }},
    {"Double", [](const ZRValue& value) { return makeData(value.toDouble()); }},
};

/// One conversion out, with the count of what it may still write.
class Writer
{
public:
  ZRValue tagged(const DataPtr& value);

private:
  ZRValue _payload(const Data& value);
  ZRValue _array(const DataArray& items);
  ZRValue _human(const Type::Human& human);
  ZRValue _properties(const Type::PropertyTable& properties);

  template <typename Object>
  ZRValue _object(const Object& object);

  template <typename Object>
  ZRValue _objects(const std::map<std::string, std::shared_ptr<Object>>& objects);

  std::size_t level = 0;
  std::size_t written = 0;
};

ZRValue toValue(const Type::Vector2& v)
{
  return ZRValue::array(v.x, v.y);
}

ZRValue toValue(const Type::Vector3& v)
{
  return ZRValue::array(v.x, v.y, v.z);
}

ZRValue toValue(const Type::Vector4& v)
{
  return ZRValue::array(v.x, v.y, v.z, v.w);
}

ZRValue toValue(const Type::Vector6& v)
{
  return ZRValue::array(v.x, v.y, v.z, v.wx, v.wy, v.wz);
}

ZRValue toValue(const Type::Color& color)
{
  return ZRValue::array(color.red, color.green, color.blue);
}

template <typename Vector>
ZRValue toValue(const Type::Region<Vector>& region)
{
  return ZRValue::array(toValue(region.start), toValue(region.end));
}

template <typename Image>
std::unique_ptr<ZRImage> toRecord(const Image& image, int colorSpace)
{
  auto record = std::make_unique<ZRImage>(image.width(), image.height(), colorSpace);
  record->setTimestamp(image.timestamp().microseconds());
  record->setCameraId(noCamera);
  const float left = image.horizontalFov() / 2;
  const float top = image.verticalFov() / 2;
  record->setAngles({left, top, -left, -top});

  const std::size_t rowSize = static_cast<std::size_t>(image.width()) * image.cvMat().elemSize();
  for (int y = 0; y < image.height() && rowSize > 0; ++y)
    std::memcpy(record->data() + static_cast<std::size_t>(y) * rowSize, image.row(y), rowSize);
  return record;
}

std::unique_ptr<ZRImage> toRecord(const Data& value)
{
  switch (value.type())
  {
  case TypeTag::ColorImage:
    return toRecord(*value.get<Type::ColorImage>(), ColorSpace::rgb);
  case TypeTag::GrayscaleImage:
    return toRecord(*value.get<Type::GrayscaleImage>(), ColorSpace::gray);
  case TypeTag::LabelImage:
    return toRecord(*value.get<Type::LabelImage>(), ColorSpace::label);
  case TypeTag::BinaryImage:
    return toRecord(*value.get<Type::BinaryImage>(), ColorSpace::gray);
  case TypeTag::DepthImage:
    return toRecord(*value.get<Type::DepthImage>(), ColorSpace::depth);
  default:
    return nullptr;
  }
}

ZRValue imageValue(const Data& value)
{
  ZRValue record = toRecord(value)->toZRValue();
  record.push_back(Type::sourceName(value));
  return record;
}

// The name under which a type goes out, which is its own but for those whose value another name tells as well. Empty
// for what means nothing outside.
std::string_view outerName(TypeTag tag)
{
  switch (tag)
  {
  case TypeTag::UnsignedInteger:
  case TypeTag::Time:
  case TypeTag::Duration:
    return Type::typeName(TypeTag::Integer);
  case TypeTag::Color:
    return Type::typeName(TypeTag::Vector3);
  case TypeTag::Invalid:
  case TypeTag::XYZImage:
  case TypeTag::MatrixImage:
  case TypeTag::Histogram:
  case TypeTag::AudioBuffer:
  case TypeTag::Unknown:
  case TypeTag::Lambda:
    return {};
  default:
    return Type::typeName(tag);
  }
}

ZRValue Writer::tagged(const DataPtr& value)
{
  if (++written > maxValues)
    fail(fmt::format("Value holds more than {} values", maxValues));
  const std::string_view name = value && value->rawPointer() ? outerName(value->type()) : std::string_view();
  if (name.empty())
    return ZRValue::array("Null", nullptr);
  if (level == maxLevels)
    fail(fmt::format("Value is nested more than {} levels deep", maxLevels));
  ++level;
  ZRValue result = ZRValue::array(name, _payload(*value));
  --level;
  return result;
}

ZRValue Writer::_payload(const Data& value)
{
  switch (value.type())
  {
  case TypeTag::Boolean:
    return value.toBool();
  case TypeTag::Integer:
    return value.toInt();
  case TypeTag::UnsignedInteger:
    return value.toUnsigned();
  case TypeTag::Float:
    return value.toFloat();
  case TypeTag::Double:
    return value.toDouble();
  case TypeTag::String:
    return value.toString();
  case TypeTag::ColorImage:
  case TypeTag::GrayscaleImage:
  case TypeTag::BinaryImage:
  case TypeTag::LabelImage:
  case TypeTag::DepthImage:
    return imageValue(value);
  case TypeTag::Color:
    return toValue(*value.get<Type::Color>());
  case TypeTag::Vector2:
    return toValue(*value.get<Type::Vector2>());
  case TypeTag::Vector3:
    return toValue(*value.get<Type::Vector3>());
  case TypeTag::Vector4:
    return toValue(*value.get<Type::Vector4>());
  case TypeTag::Vector6:
    return toValue(*value.get<Type::Vector6>());
  case TypeTag::Region2:
    return toValue(*value.get<Type::Region2>());
  case TypeTag::Region3:
    return toValue(*value.get<Type::Region3>());
  case TypeTag::Array:
    return _array(*value.get<DataArray>());
  case TypeTag::Human:
    return _human(*value.get<Type::Human>());
  case TypeTag::Object2D:
    return _object(*value.get<Type::Object2D>());
  case TypeTag::Object3D:
    return _object(*value.get<Type::Object3D>());
  case TypeTag::Time:
    return value.get<Time>()->microseconds();
  case TypeTag::Duration:
    return value.get<Duration>()->microseconds();
  default:
    return {};
  }
}

ZRValue Writer::_array(const DataArray& items)
{
  ZRValue::Array values;
  values.reserve(items.size());
  for (const DataPtr& item : items)
    values.push_back(tagged(item));
  return ZRValue(std::move(values));
}

ZRValue Writer::_human(const Type::Human& human)
{
  ZRValue::Array scores;
  for (const auto& [name, score] : human.getScores())
    scores.push_back(ZRValue::array(name, score));
  return ZRValue::array(std::bit_cast<std::int64_t>(human.getId()), human.getName(), tagged(human.getData()),
                        ZRValue(std::move(scores)), _objects(human.getObjects2D()), _objects(human.getObjects3D()),
                        _properties(human.getProperties()));
}

// Sorted by key: the table's own order would change with its history.
ZRValue Writer::_properties(const Type::PropertyTable& properties)
{
  const std::map<std::int32_t, DataPtr> sorted(properties.begin(), properties.end());
  ZRValue::Array values;
  for (const auto& [key, value] : sorted)
    values.push_back(ZRValue::array(key, tagged(value)));
  return ZRValue(std::move(values));
}

template <typename Object>
ZRValue Writer::_object(const Object& object)
{
  const auto region = object.getRegion();
  return ZRValue::array(region ? toValue(*region) : ZRValue(), _properties(object.getProperties()));
}

template <typename Object>
ZRValue Writer::_objects(const std::map<std::string, std::shared_ptr<Object>>& objects)
{
  ZRValue::Array values;
  for (const auto& [name, object] : objects)
    values.push_back(ZRValue::array(name, object ? _object(*object) : ZRValue()));
  return ZRValue(std::move(values));
}
}  // namespace

DataPtr toData(const ZRValue& tagged)
{
  if (!tagged.isArray() || tagged.size() != 2 || !tagged.at(0).isString())
    fail(R"(Value must be an array of {"Type", value}, for example ["Integer", 43])");
  const std::string& tag = tagged.at(0).asString();
  const auto* const reader = std::ranges::find(readers, tag, &Reader::tag);
  if (reader == std::end(readers))
    fail("Type not supported:" + tag);
  try
  {
    return reader->read(tagged.at(1));
  }
  catch (const ZRValueError& error)
  {
    fail(fmt::format("Value of type {}: {}", tag, error.what()));
  }
}

ZRValue toZRValue(const DataPtr& value)
{
  return Writer().tagged(value);
}

std::unique_ptr<ZRImage> toZRImage(const DataPtr& value)
{
  if (!value || !value->rawPointer())
    return nullptr;
  auto record = toRecord(*value);
  if (!record)
    ku::log::warning(category, "A value of type {} cannot be handed out as an image", Type::typeName(value->type()));
  return record;
}

ZRValue toRemoteImage(const DataPtr& value)
{
  const auto record = toZRImage(value);
  return record ? record->toZRValue() : ZRValue();
}
}  // namespace ZR::Filtrix::ValueBridge
