#include "platform/replay/rosmessages.h"

#include "platform/replay/cdr.h"

#include <limits>
#include <utility>

namespace ZR::Replay::Ros
{
#define FILTRIX_NEXT_TYPE "================================================================================\n"
#define FILTRIX_TIME FILTRIX_NEXT_TYPE "MSG: builtin_interfaces/Time\nint32 sec\nuint32 nanosec\n"
#define FILTRIX_HEADER                                                                                                 \
  FILTRIX_NEXT_TYPE "MSG: std_msgs/Header\nbuiltin_interfaces/Time stamp\nstring frame_id\n" FILTRIX_TIME

const MessageType imageType = {"sensor_msgs/msg/Image",
                               "std_msgs/Header header\nuint32 height\nuint32 width\nstring encoding\n"
                               "uint8 is_bigendian\nuint32 step\nuint8[] data\n" FILTRIX_HEADER};

const MessageType poseType = {
    "geometry_msgs/msg/PoseStamped",
    "std_msgs/Header header\ngeometry_msgs/Pose pose\n" FILTRIX_HEADER FILTRIX_NEXT_TYPE
    "MSG: geometry_msgs/Pose\ngeometry_msgs/Point position\ngeometry_msgs/Quaternion orientation\n" FILTRIX_NEXT_TYPE
    "MSG: geometry_msgs/Point\nfloat64 x\nfloat64 y\nfloat64 z\n" FILTRIX_NEXT_TYPE
    "MSG: geometry_msgs/Quaternion\nfloat64 x\nfloat64 y\nfloat64 z\nfloat64 w\n"};

const MessageType audioType = {"filtrix/msg/AudioBlock",
                               "builtin_interfaces/Time stamp\nint32 sample_rate\nstring[] channels\n"
                               "int16[] samples\n" FILTRIX_TIME};

#undef FILTRIX_HEADER
#undef FILTRIX_TIME
#undef FILTRIX_NEXT_TYPE

namespace
{
constexpr std::int64_t microsecondsPerSecond = 1'000'000;
constexpr std::uint32_t nanosecondsPerMicrosecond = 1'000;

void put(CdrWriter& to, const Stamp& stamp)
{
  to.number(stamp.seconds);
  to.number(stamp.nanoseconds);
}

Stamp takeStamp(CdrReader& from)
{
  const auto seconds = from.number<std::int32_t>();
  return {seconds, from.number<std::uint32_t>()};
}
}  // namespace

Stamp toStamp(std::int64_t microseconds)
{
  std::int64_t seconds = microseconds / microsecondsPerSecond;
  std::int64_t rest = microseconds % microsecondsPerSecond;
  if (rest < 0)
  {
    rest += microsecondsPerSecond;
    --seconds;
  }
  if (!std::in_range<std::int32_t>(seconds))
    throw RecordingError(fmt::format("the time {} us, expected seconds of 32 bits", microseconds));
  return {static_cast<std::int32_t>(seconds), static_cast<std::uint32_t>(rest) * nanosecondsPerMicrosecond};
}

std::int64_t toMicroseconds(const Stamp& stamp)
{
  return stamp.seconds * microsecondsPerSecond + stamp.nanoseconds / nanosecondsPerMicrosecond;
}

Bytes encode(const Image& image)
{
  CdrWriter to;
  put(to, image.stamp);
  to.text(image.frame);
  to.number(image.height);
  to.number(image.width);
  to.text(image.encoding);
  to.number(static_cast<std::uint8_t>(image.bigEndian));
  to.number(image.step);
  to.count(image.data.size());
  to.raw(image.data);
  return to.bytes();
}

Image decodeImage(ByteSpan message)
{
  CdrReader from(message);
  Image image;
  image.stamp = takeStamp(from);
  image.frame = from.text();
  image.height = from.number<std::uint32_t>();
  image.width = from.number<std::uint32_t>();
  image.encoding = from.text();
  image.bigEndian = from.number<std::uint8_t>() != 0;
  image.step = from.number<std::uint32_t>();
  image.data = from.raw(from.count(1));
  return image;
}

Bytes encode(const Pose& pose)
{
  CdrWriter to;
  put(to, pose.stamp);
  to.text(pose.frame);
  for (const double value : pose.position)
    to.number(value);
  for (const double value : pose.orientation)
    to.number(value);
  return to.bytes();
}

Pose decodePose(ByteSpan message)
{
  CdrReader from(message);
  Pose pose;
  pose.stamp = takeStamp(from);
  pose.frame = from.text();
  for (double& value : pose.position)
    value = from.number<double>();
  for (double& value : pose.orientation)
    value = from.number<double>();
  return pose;
}

Bytes encode(const Audio& audio)
{
  CdrWriter to;
  put(to, audio.stamp);
  to.number(audio.sampleRate);
  to.count(audio.channels.size());
  for (const std::string& channel : audio.channels)
    to.text(channel);
  to.count(audio.samples.size());
  for (const std::int16_t sample : audio.samples)
    to.number(sample);
  return to.bytes();
}

Audio decodeAudio(ByteSpan message)
{
  CdrReader from(message);
  Audio audio;
  audio.stamp = takeStamp(from);
  audio.sampleRate = from.number<std::int32_t>();
  const std::uint32_t channels = from.count(sizeof(std::uint32_t));
  for (std::uint32_t i = 0; i < channels; ++i)
    audio.channels.push_back(from.text());
  audio.samples.resize(from.count(sizeof(std::int16_t)));
  for (std::int16_t& sample : audio.samples)
    sample = from.number<std::int16_t>();
  return audio;
}
}  // namespace ZR::Replay::Ros
