#include "platform/replay/imagechannel.h"

#include "platform/replay/rosmessages.h"
#include "platform/zrimagechecks.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>

namespace ZR::Replay
{
namespace
{
/// How ROS names the pixels of a colour space.
struct Encoding
{
  int colorSpace;
  std::string_view name;
};

// A name that stands for several colour spaces means the first of them in a foreign file.
constexpr Encoding encodings[] = {
    {ColorSpace::gray, "mono8"},      {ColorSpace::rgb, "rgb8"},           {ColorSpace::bgr, "bgr8"},
    {ColorSpace::depth, "16UC1"},     {ColorSpace::distance, "16UC1"},     {ColorSpace::infrared, "16UC1"},
    {ColorSpace::infrared, "mono16"}, {ColorSpace::yuv422, "yuv422_yuy2"}, {ColorSpace::xyz, "32FC3"},
    {ColorSpace::label, "32SC1"},
};

std::string encodingOf(const ZRImageHeader& header)
{
  const auto* const row = std::ranges::find(encodings, header.colorSpace, &Encoding::colorSpace);
  return row == std::end(encodings) ? fmt::format("8UC{}", header.nbLayers) : std::string(row->name);
}

std::string colorSpaceName(int code)
{
  const CameraColorSpace* const row = findCameraColorSpace(code);
  return row == nullptr ? fmt::format("{}", code) : std::string(row->name);
}

std::uint32_t rowBytes(const ZRImageHeader& header)
{
  return static_cast<std::uint32_t>(header.width) * static_cast<std::uint32_t>(header.nbLayers);
}

template <typename Number>
Number numberIn(const Mcap::TextMap& metadata, const char* key)
{
  const auto found = metadata.find(key);
  const std::string text = found == metadata.end() ? "nothing" : found->second;
  const auto value = nlohmann::json::parse(text, nullptr, false);
  if (!value.is_number_integer() || !std::in_range<Number>(value.get<std::int64_t>()))
    throw RecordingError(fmt::format("channel: \"{}\" is \"{}\", expected an integer", key, text));
  return value.get<Number>();
}

ViewAngles viewIn(const Mcap::TextMap& metadata)
{
  const auto value = nlohmann::json::parse(metadata.at("view"), nullptr, false);
  const auto isNumber = [](const auto& item) { return item.is_number(); };
  if (!value.is_array() || value.size() != 4 || !std::ranges::all_of(value, isNumber))
    throw RecordingError(
        fmt::format("channel: \"view\" is \"{}\", expected four angles in radians", metadata.at("view")));
  return {value[0].get<float>(), value[1].get<float>(), value[2].get<float>(), value[3].get<float>()};
}

std::int32_t sideOf(std::uint32_t side)
{
  if (!std::in_range<std::int32_t>(side))
    throw RecordingError(fmt::format("an image of a side of {} pixels", side));
  return static_cast<std::int32_t>(side);
}

ImageChannel checked(ImageChannel channel)
{
  const std::string problem = problemOf(channel.header);
  if (!problem.empty())
    throw RecordingError("channel: " + problem);
  return channel;
}
}  // namespace

std::string ImageChannel::topic() const
{
  return fmt::format("/camera/{}/{}/{}x{}", camera, colorSpaceName(header.colorSpace), header.width, header.height);
}

Mcap::TextMap ImageChannel::metadata() const
{
  const auto& [left, top, right, bottom] = header.angles;
  return {{"camera", fmt::format("{}", camera)},
          {"camera_id", fmt::format("{}", int{header.cameraId})},
          {"width", fmt::format("{}", header.width)},
          {"height", fmt::format("{}", header.height)},
          {"bytes_per_pixel", fmt::format("{}", header.nbLayers)},
          {"color_space", fmt::format("{}", header.colorSpace)},
          {"view", fmt::format("[{}, {}, {}, {}]", left, top, right, bottom)}};
}

ImageChannel channelOf(int camera, const ZRImage& frame)
{
  ImageChannel channel{camera, frame.header()};
  channel.header.timestamp = 0;
  return channel;
}

Bytes encodeFrame(const ImageChannel& channel, const ZRImage& frame)
{
  Ros::Image image;
  image.stamp = Ros::toStamp(frame.timestamp());
  image.frame = fmt::format("camera_{}", channel.camera);
  image.height = static_cast<std::uint32_t>(frame.height());
  image.width = static_cast<std::uint32_t>(frame.width());
  image.encoding = encodingOf(frame.header());
  image.step = rowBytes(frame.header());
  image.data = frame.bytes();
  return Ros::encode(image);
}

std::optional<ImageChannel> readImageChannel(const Mcap::TextMap& metadata)
{
  if (!metadata.contains("view"))
    return std::nullopt;
  ImageChannel channel;
  channel.camera = numberIn<int>(metadata, "camera");
  channel.header.cameraId = numberIn<std::int8_t>(metadata, "camera_id");
  channel.header.width = numberIn<std::int32_t>(metadata, "width");
  channel.header.height = numberIn<std::int32_t>(metadata, "height");
  channel.header.nbLayers = numberIn<std::int32_t>(metadata, "bytes_per_pixel");
  channel.header.colorSpace = numberIn<std::int32_t>(metadata, "color_space");
  channel.header.angles = viewIn(metadata);
  return checked(channel);
}

ImageChannel guessImageChannel(ByteSpan firstMessage)
{
  const Ros::Image image = Ros::decodeImage(firstMessage);
  const auto* const row = std::ranges::find(encodings, image.encoding, &Encoding::name);
  if (row == std::end(encodings))
    throw RecordingError(fmt::format("images of encoding \"{}\", expected one of mono8, rgb8, bgr8, 16UC1, mono16, "
                                     "yuv422_yuy2, 32FC3 and 32SC1",
                                     image.encoding));
  ImageChannel channel;
  channel.header.width = sideOf(image.width);
  channel.header.height = sideOf(image.height);
  channel.header.colorSpace = row->colorSpace;
  channel.header.nbLayers = findCameraColorSpace(row->colorSpace)->bytesPerPixel;
  channel.camera = row->colorSpace == ColorSpace::depth ? 2 : 0;
  channel.header.cameraId = static_cast<std::int8_t>(channel.camera);
  return checked(channel);
}

std::unique_ptr<ZRImage> decodeFrame(const ImageChannel& channel, ByteSpan message)
{
  const Ros::Image image = Ros::decodeImage(message);
  const std::size_t row = rowBytes(channel.header);
  const bool sameSize =
      std::cmp_equal(image.width, channel.header.width) && std::cmp_equal(image.height, channel.header.height);
  if (!sameSize || image.step < row || image.bigEndian || image.data.size() / std::max(image.step, 1U) < image.height)
    throw RecordingError(fmt::format("an image of {} x {} pixels in {} bytes, expected {} x {} in rows of {} bytes, "
                                     "little-endian",
                                     image.width, image.height, image.data.size(), channel.header.width,
                                     channel.header.height, row));

  ZRImageHeader header = channel.header;
  header.timestamp = Ros::toMicroseconds(image.stamp);
  auto frame = std::make_unique<ZRImage>(header);
  std::uint8_t* to = frame->data();
  for (std::size_t y = 0; y < image.height; ++y, to += row)
    std::ranges::copy(image.data.subspan(y * image.step, row), to);
  return frame;
}
}  // namespace ZR::Replay
