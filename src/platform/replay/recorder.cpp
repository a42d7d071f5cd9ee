#include "platform/replay/recorder.h"

#include "filtrix/zrmath/rotation.h"
#include "platform/replay/rosmessages.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr std::size_t positionSize = 6;
const char* const cdr = "cdr";
const char* const json = "json";

const JsonKind positionKind = {
    "filtrix/Position6D",
    R"({"type":"object","properties":{"position":{"type":"array","items":{"type":["number","null"]},)"
    R"("description":"x, y, z in metres, roll, pitch, yaw in radians"}}})"};

std::chrono::nanoseconds machineTime()
{
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch());
}

// Nothing for what is no pose: other than six numbers, or one that is not finite.
std::optional<Ros::Pose> poseOf(const PositionKey& key, std::span<const float> position, std::uint64_t time)
{
  const auto isFinite = [](float value) { return std::isfinite(value); };
  if (position.size() != positionSize || !std::ranges::all_of(position, isFinite))
    return std::nullopt;
  std::array<double, positionSize> p{};
  std::ranges::copy(position, p.begin());
  const auto turn = ZRMath::Rotation::fromRollPitchYaw(p[3], p[4], p[5]).toQuaternion();
  return Ros::Pose{Ros::toStamp(static_cast<std::int64_t>(time / 1'000)),
                   nameOf(key.frame),
                   {p[0], p[1], p[2]},
                   {turn.getX(), turn.getY(), turn.getZ(), turn.getW()}};
}
}  // namespace

Recorder::Recorder(std::filesystem::path path, RecorderOptions options)
    : start(options.start.value_or(machineTime())), file(std::move(path), options.file)
{
}

void Recorder::write(int camera, const ZRImage& frame)
{
  const ImageChannel channel = channelOf(camera, frame);
  const Bytes message = encodeFrame(channel, frame);
  const auto time = static_cast<std::uint64_t>(std::max<std::int64_t>(frame.timestamp(), 0)) * 1'000U;
  const std::lock_guard lock(mutex);
  if (const ImageTopic* const topic = _topicFor(channel, frame.timestamp()))
    file.write(topic->id, _now(), time, message);
}

// Null for a frame that is there already. A camera whose view has changed goes on in a channel of the same topic.
Recorder::ImageTopic* Recorder::_topicFor(const ImageChannel& channel, std::int64_t time)
{
  const auto& header = channel.header;
  const auto [found, isNew] =
      imageTopics.try_emplace({channel.camera, header.colorSpace, header.width, header.height}, ImageTopic{channel});
  ImageTopic& topic = found->second;
  if (!isNew && topic.lastTime == time)
    return nullptr;
  topic.lastTime = time;
  if (isNew || topic.channel != channel)
  {
    topic.channel = channel;
    topic.id = file.addChannel(channel.topic(), _schema(Ros::imageType.name, "ros2msg", Ros::imageType.definition), cdr,
                               channel.metadata());
  }
  return &topic;
}

void Recorder::write(const PositionKey& key, std::span<const float> position)
{
  const std::string exact = nlohmann::json{{"position", position}}.dump();
  const std::lock_guard lock(mutex);
  const std::uint64_t now = _now();
  const PositionTopics& topics = _topicsFor(key);
  if (const auto pose = poseOf(key, position, now))
    file.write(topics.pose, now, now, Ros::encode(*pose));
  file.write(topics.exact, now, now, bytesOf(exact));
}

const Recorder::PositionTopics& Recorder::_topicsFor(const PositionKey& key)
{
  const auto [found, isNew] = positionTopics.try_emplace(key);
  if (isNew)
  {
    const std::uint16_t schema = _schema(Ros::poseType.name, "ros2msg", Ros::poseType.definition);
    found->second.pose = file.addChannel(key.topic(), schema, cdr, key.metadata());
    found->second.exact = _jsonTopic(key.topic() + "/exact", positionKind, key.metadata());
  }
  return found->second;
}

void Recorder::write(const AudioBlock& block)
{
  const Bytes message =
      Ros::encode(Ros::Audio{Ros::toStamp(block.timestamp), block.sampleRate, block.channels, block.samples});
  const auto time = static_cast<std::uint64_t>(std::max<std::int64_t>(block.timestamp, 0)) * 1'000U;
  const std::lock_guard lock(mutex);
  file.write(_topicFor(block), _now(), time, message);
}

std::uint16_t Recorder::_topicFor(const AudioBlock& block)
{
  const Mcap::TextMap metadata = {{"sample_rate", fmt::format("{}", block.sampleRate)},
                                  {"microphones", nlohmann::json(block.channels).dump()}};
  const auto [found, isNew] = audioTopics.try_emplace(metadata.at("sample_rate") + metadata.at("microphones"));
  if (isNew)
    found->second = file.addChannel(fmt::format("/audio/{}", block.sampleRate),
                                    _schema(Ros::audioType.name, "ros2msg", Ros::audioType.definition), cdr, metadata);
  return found->second;
}

void Recorder::write(const std::string& topic, const JsonKind& kind, const nlohmann::json& value)
{
  const std::string text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  const std::lock_guard lock(mutex);
  const std::uint64_t now = _now();
  file.write(_jsonTopic(topic, kind, {}), now, now, bytesOf(text));
}

std::uint16_t Recorder::_jsonTopic(const std::string& topic, const JsonKind& kind, const Mcap::TextMap& metadata)
{
  const auto [found, isNew] = jsonTopics.try_emplace(topic);
  if (isNew)
    found->second = file.addChannel(topic, _schema(kind.name, "jsonschema", kind.schema), json, metadata);
  return found->second;
}

void Recorder::attach(const std::string& name, const std::string& mediaType, std::string_view content)
{
  const std::lock_guard lock(mutex);
  file.attach(name, mediaType, _now(), bytesOf(content));
}

void Recorder::describe(const std::string& name, const Mcap::TextMap& values)
{
  const std::lock_guard lock(mutex);
  file.addMetadata(name, values);
}

void Recorder::close()
{
  const std::lock_guard lock(mutex);
  file.close();
}

std::uint64_t Recorder::_now() const
{
  return static_cast<std::uint64_t>((start + (ku::Clock::now() - clockStart)).count());
}

std::uint16_t Recorder::_schema(const std::string& name, const std::string& encoding, std::string_view text)
{
  const auto [found, isNew] = schemas.try_emplace(name);
  if (isNew)
    found->second = file.addSchema(name, encoding, bytesOf(text));
  return found->second;
}
}  // namespace ZR::Replay
