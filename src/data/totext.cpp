#include "filtrix/audiobuffer.h"
#include "filtrix/data.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/object.h"

#include <sstream>

namespace ZR::Filtrix::Type
{
namespace
{
/// Arrays and objects that hold one another are told so deep, and so many values of them in all: an array that holds
/// itself twice would never come to an end otherwise.
constexpr int deepest = 256;
constexpr int longest = 1'000'000;

constexpr const char* cutShort = "{...}";

// How deep this thread is in a text, and how many values it has told. An object's text comes back here for its
// properties, so the counts cannot travel as arguments.
thread_local int depth = 0;
thread_local int told = 0;

class Level
{
public:
  Level()
  {
    if (depth++ == 0)
      told = 0;
    ++told;
  }

  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;

  ~Level() { --depth; }
};

void write(std::ostream& out, const Vector2& v)
{
  out << "{X=" << v.x << " Y=" << v.y << '}';
}

void write(std::ostream& out, const Vector3& v)
{
  out << "{X=" << v.x << " Y=" << v.y << " Z=" << v.z << '}';
}

void write(std::ostream& out, const Vector4& v)
{
  out << "{X=" << v.x << " Y=" << v.y << " Z=" << v.z << " W=" << v.w << '}';
}

void write(std::ostream& out, const Vector6& v)
{
  out << "{X=" << v.x << " Y=" << v.y << " Z=" << v.z << " WX=" << v.wx << " WY=" << v.wy << " WZ=" << v.wz << '}';
}

void write(std::ostream& out, const Region2& r)
{
  out << "{Start=[" << r.start.x << ',' << r.start.y << "] End=[" << r.end.x << ',' << r.end.y << "]}";
}

void write(std::ostream& out, const Region3& r)
{
  out << "{Start=[" << r.start.x << ',' << r.start.y << ',' << r.start.z << "] End=[" << r.end.x << ',' << r.end.y
      << ',' << r.end.z << "]}";
}

void write(std::ostream& out, const Histogram& h)
{
  out << "{Histogram Channels=" << h.channels() << " Size=" << h.size() << '}';
}

void write(std::ostream& out, const Human& h)
{
  out << "{Human Id=" << h.getId() << " Name=" << h.getName() << '}';
}

void write(std::ostream& out, const Object2D& object)
{
  out << "{Object2D " << object.toText() << '}';
}

void write(std::ostream& out, const Object3D& object)
{
  out << "{Object3D " << object.toText() << '}';
}

void write(std::ostream& out, const Time& time)
{
  out << "{Time second=" << time.seconds() << '}';
}

void write(std::ostream& out, const Duration& duration)
{
  out << "{Duration Milliseconds=" << duration.milliseconds() << '}';
}

void write(std::ostream& out, const DataArray& array)
{
  out << '{';
  const char* separator = "";
  for (const DataPtr& element : array)
  {
    if (told >= longest)
    {
      out << separator << cutShort;
      break;
    }
    out << separator << (element ? toText(*element) : "NULL");
    separator = ";";
  }
  out << '}';
}

template <typename ImageClass>
void writeImage(std::ostream& out, const char* name, const ImageClass& image)
{
  out << '{' << name << " Width=" << image.width() << " Height=" << image.height()
      << " Data=" << static_cast<const void*>(image.data()) << '}';
}

template <typename Payload>
void writePayload(std::ostream& out, const Data& value)
{
  write(out, *value.get<Payload>());
}
}  // namespace

std::string toText(const Data& value)
{
  if (value.rawPointer() == nullptr)
    return {};
  const Level level;
  if (depth > deepest || told > longest)
    return cutShort;
  std::ostringstream out;
  switch (value.type())
  {
  case TypeTag::Boolean:
    out << (value.toBool() ? "True" : "False");
    break;
  case TypeTag::Integer:
    out << value.toInt();
    break;
  case TypeTag::UnsignedInteger:
    out << value.toUnsigned();
    break;
  case TypeTag::Float:
    out << value.toFloat() << 'f';
    break;
  case TypeTag::Double:
    out << value.toDouble();
    break;
  case TypeTag::String:
    return value.toString();
  case TypeTag::ColorImage:
    writeImage(out, "Image", *value.get<ColorImage>());
    break;
  case TypeTag::BinaryImage:
    writeImage(out, "BinaryImage", *value.get<BinaryImage>());
    break;
  case TypeTag::DepthImage:
    writeImage(out, "DepthImage", *value.get<DepthImage>());
    break;
  case TypeTag::XYZImage:
    writeImage(out, "XYZImage", *value.get<XYZImage>());
    break;
  case TypeTag::MatrixImage:
    writeImage(out, "MatrixImage", *value.get<MatrixImage>());
    break;
  case TypeTag::GrayscaleImage:
    writeImage(out, "GrayscaleImage", *value.get<GrayscaleImage>());
    break;
  case TypeTag::LabelImage:
    writeImage(out, "LabelImage", *value.get<LabelImage>());
    break;
  case TypeTag::Vector2:
    writePayload<Vector2>(out, value);
    break;
  case TypeTag::Vector3:
    writePayload<Vector3>(out, value);
    break;
  case TypeTag::Vector4:
    writePayload<Vector4>(out, value);
    break;
  case TypeTag::Vector6:
    writePayload<Vector6>(out, value);
    break;
  case TypeTag::Region2:
    writePayload<Region2>(out, value);
    break;
  case TypeTag::Region3:
    writePayload<Region3>(out, value);
    break;
  case TypeTag::Histogram:
    writePayload<Histogram>(out, value);
    break;
  case TypeTag::Human:
    writePayload<Human>(out, value);
    break;
  case TypeTag::Object2D:
    writePayload<Object2D>(out, value);
    break;
  case TypeTag::Object3D:
    writePayload<Object3D>(out, value);
    break;
  case TypeTag::Time:
    writePayload<Time>(out, value);
    break;
  case TypeTag::Duration:
    writePayload<Duration>(out, value);
    break;
  case TypeTag::Array:
    writePayload<DataArray>(out, value);
    break;
  default:
    out << "{void*}";
  }
  return out.str();
}
}  // namespace ZR::Filtrix::Type
