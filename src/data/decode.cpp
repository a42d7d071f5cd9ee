#include "data/bytewriter.h"
#include "filtrix/audiobuffer.h"
#include "filtrix/codec.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace ZR::Filtrix::Type
{
namespace
{
/// No image has a longer side; one without pixels could say anything otherwise.
constexpr std::int32_t longestSide = 1 << 20;

// Reads values from bytes that may say anything: every count is held against the bytes that are left before memory is
// taken for it.
class Decoder
{
public:
  explicit Decoder(std::span<const std::byte> bytes_) : bytes(bytes_) {}

  DataPtr decodeAll()
  {
    if (const auto version = number<std::uint8_t>("the version"); version != codecVersion)
      fail(0, fmt::format("expected version {}, got {}", codecVersion, version));
    DataPtr result = value(0);
    if (at != bytes.size())
      fail(at, fmt::format("expected the end, got {} more bytes", bytes.size() - at));
    return result;
  }

private:
  [[noreturn]] static void fail(std::size_t where, const std::string& problem)
  {
    throw CodecError(fmt::format("decode: byte {}: {}", where, problem));
  }

  std::span<const std::byte> raw(std::size_t size, const char* what)
  {
    if (size > bytes.size() - at)
      fail(at, fmt::format("expected {} bytes for {}, got {}", size, what, bytes.size() - at));
    const auto part = bytes.subspan(at, size);
    at += size;
    return part;
  }

  template <typename Number>
  Number number(const char* what)
  {
    Number result{};
    std::memcpy(&result, raw(sizeof result, what).data(), sizeof result);
    return result;
  }

  bool flag(const char* what)
  {
    const std::size_t where = at;
    const auto byte = number<std::uint8_t>(what);
    if (byte > 1)
      fail(where, fmt::format("expected 0 or 1 for {}, got {}", what, byte));
    return byte == 1;
  }

  // A count of items that take at least `least` bytes each.
  std::size_t count(std::size_t least, const char* what)
  {
    const std::size_t where = at;
    const auto items = number<std::uint32_t>(what);
    if (items > (bytes.size() - at) / least)
      fail(where, fmt::format("expected at most {} items or bytes for {}, as the bytes left allow, got {}",
                              (bytes.size() - at) / least, what, items));
    return items;
  }

  std::string text(const char* what)
  {
    const auto part = raw(count(1, what), what);
    return {reinterpret_cast<const char*>(part.data()), part.size()};
  }

  // A list of numbers, one after the other.
  template <typename Number>
  std::vector<Number> numbers(const char* what)
  {
    const std::size_t items = count(sizeof(Number), what);
    std::vector<Number> list(items);
    const auto part = raw(items * sizeof(Number), what);
    if (!part.empty())
      std::memcpy(list.data(), part.data(), part.size());
    return list;
  }

  Time time() { return Time(number<std::int64_t>("a time")); }

  Vector2 vector2() { return {f32(), f32()}; }

  Vector3 vector3() { return {f32(), f32(), f32()}; }

  Vector4 vector4() { return {f32(), f32(), f32(), f32()}; }

  Vector6 vector6() { return {f32(), f32(), f32(), f32(), f32(), f32()}; }

  float f32() { return number<float>("a float"); }

  DataPtr value(std::size_t depth)
  {
    const std::size_t where = at;
    const auto tag = number<std::uint8_t>("a tag");
    if (tag == 255)
      return nullptr;
    if (depth > maxCodecDepth)
      fail(where, fmt::format("expected at most {} levels of nesting, got more", maxCodecDepth));
    const Time stamp = time();
    const bool hasPayload = flag("whether there is a payload");
    DataPtr data = hasPayload ? payload(static_cast<TypeTag>(tag), where, depth)
                              : withoutPayload(static_cast<TypeTag>(tag), where);
    data->setTimestamp(stamp);
    return data;
  }

  static DataPtr withoutPayload(TypeTag tag, std::size_t where);
  DataPtr payload(TypeTag tag, std::size_t where, std::size_t depth);

  template <typename ImageClass>
  DataPtr image();
  DataPtr histogram();
  DataPtr audio();
  PropertyTable properties(std::size_t depth);

  template <typename ObjectClass, typename Region>
  std::shared_ptr<ObjectClass> object(std::size_t depth);
  DataPtr human(std::size_t depth);
  DataPtr array(std::size_t depth);

  template <typename RegionClass>
  std::shared_ptr<RegionClass> region()
  {
    if constexpr (std::is_same_v<RegionClass, Region2>)
    {
      const Vector2 start = vector2();
      return std::make_shared<RegionClass>(start, vector2());
    }
    else
    {
      const Vector3 start = vector3();
      return std::make_shared<RegionClass>(start, vector3());
    }
  }

  const std::span<const std::byte> bytes;
  std::size_t at = 0;
};

// Only values that wrap a null pointer come without a payload.
DataPtr Decoder::withoutPayload(TypeTag tag, std::size_t where)
{
  switch (tag)
  {
  case TypeTag::Invalid:
    return makeData();
#define FILTRIX_CASE(name)                                                                                             \
  case TypeTag::name:                                                                                                  \
    return makeData(std::shared_ptr<Type::name>());
    FILTRIX_CASE(ColorImage)
    FILTRIX_CASE(GrayscaleImage)
    FILTRIX_CASE(BinaryImage)
    FILTRIX_CASE(LabelImage)
    FILTRIX_CASE(DepthImage)
    FILTRIX_CASE(XYZImage)
    FILTRIX_CASE(MatrixImage)
    FILTRIX_CASE(Histogram)
    FILTRIX_CASE(AudioBuffer)
    FILTRIX_CASE(Color)
    FILTRIX_CASE(Vector2)
    FILTRIX_CASE(Vector3)
    FILTRIX_CASE(Vector4)
    FILTRIX_CASE(Vector6)
    FILTRIX_CASE(Region2)
    FILTRIX_CASE(Region3)
    FILTRIX_CASE(Human)
    FILTRIX_CASE(Object2D)
    FILTRIX_CASE(Object3D)
    FILTRIX_CASE(Time)
    FILTRIX_CASE(Duration)
#undef FILTRIX_CASE
  default:
    fail(where, fmt::format("expected a payload for tag {}, got none", static_cast<std::uint32_t>(tag)));
  }
}

DataPtr Decoder::payload(TypeTag tag, std::size_t where, std::size_t depth)
{
  switch (tag)
  {
  case TypeTag::Boolean:
    return makeData(flag("a truth value"));
  case TypeTag::Integer:
    return makeData(number<std::int32_t>("an integer"));
  case TypeTag::UnsignedInteger:
    return makeData(number<std::uint32_t>("an integer"));
  case TypeTag::Float:
    return makeData(f32());
  case TypeTag::Double:
    return makeData(number<double>("a double"));
  case TypeTag::String:
    return makeData(text("a string"));
  case TypeTag::ColorImage:
    return image<ColorImage>();
  case TypeTag::GrayscaleImage:
    return image<GrayscaleImage>();
  case TypeTag::BinaryImage:
    return image<BinaryImage>();
  case TypeTag::LabelImage:
    return image<LabelImage>();
  case TypeTag::DepthImage:
    return image<DepthImage>();
  case TypeTag::XYZImage:
    return image<XYZImage>();
  case TypeTag::MatrixImage:
    return image<MatrixImage>();
  case TypeTag::Histogram:
    return histogram();
  case TypeTag::AudioBuffer:
    return audio();
  case TypeTag::Color:
    return makeData(Color{f32(), f32(), f32()});
  case TypeTag::Vector2:
    return makeData(vector2());
  case TypeTag::Vector3:
    return makeData(vector3());
  case TypeTag::Vector4:
    return makeData(vector4());
  case TypeTag::Vector6:
    return makeData(vector6());
  case TypeTag::Region2:
    return makeData(*region<Region2>());
  case TypeTag::Region3:
    return makeData(*region<Region3>());
  case TypeTag::Array:
    return array(depth);
  case TypeTag::Human:
    return human(depth);
  case TypeTag::Object2D:
    return makeData(object<Object2D, Region2>(depth));
  case TypeTag::Object3D:
    return makeData(object<Object3D, Region3>(depth));
  case TypeTag::Time:
    return makeData(time());
  case TypeTag::Duration:
    return makeData(Duration(number<std::int64_t>("a duration")));
  default:
    fail(where, fmt::format("expected a tag that can be written, got {}", static_cast<std::uint32_t>(tag)));
  }
}

template <typename ImageClass>
DataPtr Decoder::image()
{
  const std::size_t where = at;
  const auto width = number<std::int32_t>("a width");
  const auto height = number<std::int32_t>("a height");
  const std::string source = text("a source");
  const Time stamp = time();
  const float horizontal = f32();
  const float vertical = f32();
  constexpr std::size_t pixelBytes = ImageClass::channels * sizeof(typename ImageClass::PixelType);
  // Held against the bytes left by division: the product of two large sides would wrap round.
  const std::size_t left = (bytes.size() - at) / pixelBytes;
  const bool fits = width >= 0 && height >= 0 && width <= longestSide && height <= longestSide &&
                    (width == 0 || static_cast<std::size_t>(height) <= left / static_cast<std::size_t>(width));
  if (!fits)
    fail(where, fmt::format("expected an image of at most {} pixels, as the bytes left allow, got {}x{}", left, width,
                            height));
  auto result = std::make_shared<ImageClass>(width, height, source, stamp, horizontal, vertical);
  const auto part = raw(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * pixelBytes, "pixels");
  if (!part.empty())
    std::memcpy(result->data(), part.data(), part.size());
  return makeData(std::move(result));
}

DataPtr Decoder::histogram()
{
  const auto channels = number<std::uint32_t>("a count of channels");
  const auto bins = numbers<float>("bins");
  return makeData(Histogram(bins.data(), static_cast<std::uint32_t>(bins.size()), channels));
}

DataPtr Decoder::audio()
{
  const auto channels = number<std::uint32_t>("a count of channels");
  const auto samples = numbers<std::int16_t>("samples");
  auto buffer = std::make_shared<AudioBuffer>(samples.data(), static_cast<std::uint32_t>(samples.size()), channels);
  buffer->capture.timestamp = time();
  buffer->capture.sampleRate = number<std::uint32_t>("a sample rate");
  const std::size_t names = count(sizeof(std::uint32_t), "channel names");
  for (std::size_t i = 0; i < names; ++i)
    buffer->capture.channelNames.push_back(text("a channel name"));
  return makeData(std::move(buffer));
}

DataPtr Decoder::array(std::size_t depth)
{
  DataArray elements;
  const std::size_t size = count(1, "elements");
  for (std::size_t i = 0; i < size; ++i)
    elements.push_back(value(depth + 1));
  return makeData(std::move(elements));
}

PropertyTable Decoder::properties(std::size_t depth)
{
  PropertyTable table;
  const std::size_t size = count(sizeof(std::int32_t) + 1, "properties");
  for (std::size_t i = 0; i < size; ++i)
  {
    const auto key = number<std::int32_t>("a property's key");
    table[key] = value(depth + 1);
  }
  return table;
}

template <typename ObjectClass, typename Region>
std::shared_ptr<ObjectClass> Decoder::object(std::size_t depth)
{
  auto result = std::make_shared<ObjectClass>(flag("whether there is a region") ? region<Region>() : nullptr);
  for (auto& [key, property] : properties(depth))
    result->setProperty(key, std::move(property));
  return result;
}

DataPtr Decoder::human(std::size_t depth)
{
  const auto id = number<std::uint64_t>("an id");
  auto person = std::make_shared<Human>(id, text("a name"));
  person->setData(value(depth + 1));
  for (std::size_t left = count(sizeof(std::uint32_t) + sizeof(float), "scores"); left > 0; --left)
  {
    const std::string name = text("a score's name");
    person->setScore(name, f32());
  }
  for (std::size_t left = count(sizeof(std::uint32_t) + 1, "objects"); left > 0; --left)
  {
    const std::string name = text("an object's name");
    person->setObject2D(name, flag("whether there is an object") ? object<Object2D, Region2>(depth + 1) : nullptr);
  }
  for (std::size_t left = count(sizeof(std::uint32_t) + 1, "objects"); left > 0; --left)
  {
    const std::string name = text("an object's name");
    person->setObject3D(name, flag("whether there is an object") ? object<Object3D, Region3>(depth + 1) : nullptr);
  }
  for (auto& [key, property] : properties(depth))
    person->setProperty(key, std::move(property));
  return makeData(std::move(person));
}
}  // namespace

DataPtr decode(std::span<const std::byte> bytes)
{
  return Decoder(bytes).decodeAll();
}
}  // namespace ZR::Filtrix::Type
