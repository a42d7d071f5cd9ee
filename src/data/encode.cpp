#include "data/bytewriter.h"
#include "filtrix/audiobuffer.h"
#include "filtrix/codec.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"

#include <fmt/format.h>

namespace ZR::Filtrix::Type
{
namespace
{
class Encoder
{
public:
  void value(const DataPtr& data)
  {
    if (!data)
    {
      out.number(std::uint8_t{255});
      return;
    }
    if (path.size() > maxCodecDepth)
      fail(fmt::format("expected at most {} levels of nesting, got more", maxCodecDepth));
    out.number(static_cast<std::uint8_t>(data->type()));
    out.number(data->timestamp().microseconds());
    out.number(static_cast<std::uint8_t>(data->rawPointer() != nullptr ? 1 : 0));
    if (data->rawPointer() != nullptr)
      payload(*data);
    if (out.bytes.size() > maxEncodedBytes)
      fail(fmt::format("expected at most {} bytes, got more", maxEncodedBytes));
  }

  std::vector<std::byte> encodeAll(const DataPtr& data)
  {
    out.number(codecVersion);
    value(data);
    return std::move(out.bytes);
  }

private:
  [[noreturn]] void fail(const std::string& problem) const
  {
    std::string where;
    for (const std::string& step : path)
      where += step;
    throw CodecError(fmt::format("encode: {}{}{}", where, where.empty() ? "" : ": ", problem));
  }

  void inner(std::string step, const DataPtr& data)
  {
    path.push_back(std::move(step));
    value(data);
    path.pop_back();
  }

  void put(bool v) { out.number(static_cast<std::uint8_t>(v ? 1 : 0)); }

  template <typename Number>
  requires std::is_arithmetic_v<Number>

  void put(Number v) { out.number(v); }

  void put(const std::string& v) { out.text(v); }

  void put(const Color& v) { floats({v.red, v.green, v.blue}); }

  void put(const Vector2& v) { floats({v.x, v.y}); }

  void put(const Vector3& v) { floats({v.x, v.y, v.z}); }

  void put(const Vector4& v) { floats({v.x, v.y, v.z, v.w}); }

  void put(const Vector6& v) { floats({v.x, v.y, v.z, v.wx, v.wy, v.wz}); }

  template <typename Vector>
  void put(const Region<Vector>& v)
  {
    put(v.start);
    put(v.end);
  }

  void put(Time v) { out.number(v.microseconds()); }

  void put(Duration v) { out.number(v.microseconds()); }

  void put(const Histogram& v)
  {
    put(v.channels());
    out.count(v.totalSize());
    out.raw(v.values(), v.totalSize() * sizeof(float));
  }

  void put(const AudioBuffer& v)
  {
    put(v.channels());
    out.count(v.size());
    out.raw(v.samples(), v.size() * sizeof(std::int16_t));
    put(v.capture.timestamp);
    put(v.capture.sampleRate);
    out.count(v.capture.channelNames.size());
    for (const std::string& name : v.capture.channelNames)
      put(name);
  }

  template <typename Pixel, int Channels>
  void put(const Image<Pixel, Channels>& v)
  {
    put(v.width());
    put(v.height());
    put(v.sourceName());
    put(v.timestamp());
    put(v.horizontalFov());
    put(v.verticalFov());
    const std::size_t rowBytes = static_cast<std::size_t>(v.width()) * Channels * sizeof(Pixel);
    if (rowBytes * static_cast<std::size_t>(v.height()) > maxEncodedBytes)
      fail(fmt::format("expected at most {} bytes, got an image of {}x{}", maxEncodedBytes, v.width(), v.height()));
    for (int y = 0; y < v.height(); ++y)
      out.raw(v.row(y), rowBytes);
  }

  void put(const DataArray& v)
  {
    out.count(v.size());
    for (std::size_t i = 0; i < v.size(); ++i)
      inner(fmt::format("[{}]", i), v[i]);
  }

  void put(const PropertyTable& v)
  {
    out.count(v.size());
    for (const auto& [key, property] : v)
    {
      put(key);
      inner(fmt::format(".property({})", key), property);
    }
  }

  template <typename Region>
  void put(const Object<Region>& v)
  {
    const auto region = v.getRegion();
    put(region != nullptr);
    if (region)
      put(*region);
    put(v.getProperties());
  }

  template <typename ObjectClass>
  void put(const std::map<std::string, std::shared_ptr<ObjectClass>>& objects)
  {
    out.count(objects.size());
    for (const auto& [name, object] : objects)
    {
      put(name);
      put(object != nullptr);
      if (!object)
        continue;
      path.push_back(fmt::format(".object({})", name));
      put(*object);
      path.pop_back();
    }
  }

  void put(const Human& v)
  {
    put(v.getId());
    put(v.getName());
    inner(".data", v.getData());
    const auto scores = v.getScores();
    out.count(scores.size());
    for (const auto& [name, score] : scores)
    {
      put(name);
      put(score);
    }
    put(v.getObjects2D());
    put(v.getObjects3D());
    put(v.getProperties());
  }

  void floats(std::initializer_list<float> values)
  {
    for (const float v : values)
      out.number(v);
  }

  void payload(const Data& data);

  ByteWriter out;
  std::vector<std::string> path;  // how to get from the outermost value to the one at work
};

void Encoder::payload(const Data& data)
{
  switch (data.type())
  {
#define FILTRIX_CASE(name, type)                                                                                       \
  case TypeTag::name:                                                                                                  \
    put(*data.get<type>());                                                                                            \
    break;
    FILTRIX_CASE(Boolean, bool)
    FILTRIX_CASE(Integer, std::int32_t)
    FILTRIX_CASE(UnsignedInteger, std::uint32_t)
    FILTRIX_CASE(Float, float)
    FILTRIX_CASE(Double, double)
    FILTRIX_CASE(String, std::string)
    FILTRIX_CASE(ColorImage, ColorImage)
    FILTRIX_CASE(GrayscaleImage, GrayscaleImage)
    FILTRIX_CASE(BinaryImage, BinaryImage)
    FILTRIX_CASE(LabelImage, LabelImage)
    FILTRIX_CASE(DepthImage, DepthImage)
    FILTRIX_CASE(XYZImage, XYZImage)
    FILTRIX_CASE(MatrixImage, MatrixImage)
    FILTRIX_CASE(Histogram, Histogram)
    FILTRIX_CASE(AudioBuffer, AudioBuffer)
    FILTRIX_CASE(Color, Color)
    FILTRIX_CASE(Vector2, Vector2)
    FILTRIX_CASE(Vector3, Vector3)
    FILTRIX_CASE(Vector4, Vector4)
    FILTRIX_CASE(Vector6, Vector6)
    FILTRIX_CASE(Region2, Region2)
    FILTRIX_CASE(Region3, Region3)
    FILTRIX_CASE(Array, DataArray)
    FILTRIX_CASE(Human, Human)
    FILTRIX_CASE(Object2D, Object2D)
    FILTRIX_CASE(Object3D, Object3D)
    FILTRIX_CASE(Time, Time)
    FILTRIX_CASE(Duration, Duration)
#undef FILTRIX_CASE
  default:
    fail(fmt::format("a value of type {} can not be written", typeName(data.type())));
  }
}
}  // namespace

std::vector<std::byte> encode(const DataPtr& value)
{
  Encoder encoder;
  return encoder.encodeAll(value);
}
}  // namespace ZR::Filtrix::Type
