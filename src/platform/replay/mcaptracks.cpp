#include "platform/replay/mcaptracks.h"

#include "filtrix/ku/log.h"
#include "platform/replay/rosmessages.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <tuple>
#include <utility>

namespace ZR::Replay
{
namespace
{
using ChannelEntries = std::map<std::uint16_t, std::vector<McapEntry>>;

constexpr const char* exactPositionSchema = "filtrix/Position6D";

// Times from damaged files may be anything; what is beyond a few centuries only has to stay a number.
Nanoseconds span(std::uint64_t from, std::uint64_t to)
{
  constexpr std::uint64_t longest = std::numeric_limits<std::int64_t>::max() / 4;
  return Nanoseconds(static_cast<std::int64_t>(std::min(to - from, longest)));
}

ChannelEntries byChannel(const McapReader& reader)
{
  ChannelEntries entries;
  for (const McapEntry& entry : reader.entries())
    entries[entry.channel].push_back(entry);
  return entries;
}

std::string_view schemaName(const McapReader& reader, const Mcap::Channel& channel)
{
  const Mcap::Schema* const schema = reader.schemaOf(channel);
  return schema == nullptr ? std::string_view() : std::string_view(schema->name);
}

void sortByTime(std::vector<McapEntry>& entries)
{
  std::ranges::stable_sort(entries, {}, &McapEntry::logTime);
}

std::vector<std::string> textsOf(const nlohmann::json& value)
{
  std::vector<std::string> texts;
  if (!value.is_array())
    return texts;
  for (const auto& item : value)
    if (item.is_string())
      texts.push_back(item.get<std::string>());
  return texts;
}

nlohmann::json parsed(const std::string& text)
{
  return nlohmann::json::parse(text, nullptr, false);
}

// -1 where there is no number.
int numberOf(std::string_view text)
{
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

class TrackBuilder final
{
public:
  explicit TrackBuilder(McapReader& reader_) : reader(reader_) {}

  [[nodiscard]] McapTracks build();

private:
  using Format = std::tuple<int, int, int, int>;  // camera, colour space, width, height

  void _add(const Mcap::Channel& channel, const std::vector<McapEntry>& entries);
  void _addImages(const Mcap::Channel& channel, const std::vector<McapEntry>& entries);
  void _addPositions(const Mcap::Channel& channel, const std::vector<McapEntry>& entries, bool exact);
  void _addAudio(const Mcap::Channel& channel, const std::vector<McapEntry>& entries);
  void _describe();
  [[nodiscard]] std::vector<Nanoseconds> _times(std::vector<McapEntry>& entries) const;

  McapReader& reader;
  McapTracks tracks;
  std::map<Format, std::size_t> imageTracks;
  std::map<PositionKey, std::size_t> positionTracks;
};

McapTracks TrackBuilder::build()
{
  const auto& all = reader.entries();
  if (!all.empty())
  {
    tracks.contents.start = span(0, all.front().logTime);
    tracks.contents.length = span(all.front().logTime, all.back().logTime);
  }
  for (const auto& [id, entries] : byChannel(reader))
  {
    const Mcap::Channel& channel = reader.channels().at(id);
    try
    {
      _add(channel, entries);
    }
    catch (const RecordingError& error)
    {
      ku::log::warning("replay", "{}: \"{}\" is left out: {}", reader.getPath().string(), channel.topic, error.what());
    }
  }
  for (std::size_t i = 0; i < tracks.images.size(); ++i)
    tracks.contents.images[i].times = _times(tracks.images[i].entries);
  for (std::size_t i = 0; i < tracks.positions.size(); ++i)
    tracks.contents.positions[i].times = _times(tracks.positions[i].entries);
  for (std::size_t i = 0; i < tracks.audio.size(); ++i)
    tracks.contents.audio[i].times = _times(tracks.audio[i].entries);
  _describe();
  return std::move(tracks);
}

void TrackBuilder::_add(const Mcap::Channel& channel, const std::vector<McapEntry>& entries)
{
  const std::string_view schema = schemaName(reader, channel);
  if (schema == Ros::imageType.name)
    _addImages(channel, entries);
  else if (schema == exactPositionSchema)
    _addPositions(channel, entries, true);
  else if (schema == Ros::poseType.name)
    _addPositions(channel, entries, false);
  else if (schema == Ros::audioType.name)
    _addAudio(channel, entries);
}

// Channels of one format are one track: the view changed in between.
void TrackBuilder::_addImages(const Mcap::Channel& channel, const std::vector<McapEntry>& entries)
{
  const auto own = readImageChannel(channel.metadata);
  const ImageChannel image = own ? *own : guessImageChannel(reader.read(entries.front()).data);
  const auto& header = image.header;
  const auto [found, isNew] =
      imageTracks.try_emplace({image.camera, header.colorSpace, header.width, header.height}, tracks.images.size());
  if (isNew)
  {
    tracks.images.emplace_back();
    tracks.contents.images.push_back({channel.topic, image.camera, header, {}});
  }
  TrackMessages& messages = tracks.images[found->second];
  messages.imageChannels.emplace(channel.id, image);
  messages.entries.insert(messages.entries.end(), entries.begin(), entries.end());
}

// The floats as they were go before the pose that was made of them.
void TrackBuilder::_addPositions(const Mcap::Channel& channel, const std::vector<McapEntry>& entries, bool exact)
{
  const std::string sensor = channel.topic.substr(channel.topic.rfind('/') + 1);
  const PositionKey key = readPositionKey(channel.metadata).value_or(PositionKey{sensor});
  const auto [found, isNew] = positionTracks.try_emplace(key, tracks.positions.size());
  if (isNew)
  {
    tracks.positions.push_back({entries, {}, exact});
    tracks.contents.positions.push_back({key, {}});
  }
  else if (exact)
  {
    tracks.positions[found->second] = {entries, {}, exact};
  }
}

void TrackBuilder::_addAudio(const Mcap::Channel& channel, const std::vector<McapEntry>& entries)
{
  const auto rate = channel.metadata.find("sample_rate");
  const auto microphones = channel.metadata.find("microphones");
  if (rate == channel.metadata.end() || microphones == channel.metadata.end() || numberOf(rate->second) <= 0)
    throw RecordingError("expected \"sample_rate\" and \"microphones\" in the channel's metadata");
  tracks.audio.push_back({entries, {}, true});
  tracks.contents.audio.push_back({numberOf(rate->second), textsOf(parsed(microphones->second)), {}});
}

void TrackBuilder::_describe()
{
  for (const auto& [name, values] : reader.metadata())
  {
    for (const auto& [key, text] : values)
    {
      const auto value = parsed(text);
      if (name == "motion" && key == "sensors")
        tracks.contents.sensors = textsOf(value);
      else if (name == "cameras" && key == "depth")
        tracks.contents.hasDepthCamera = text == "true";
      else if (name == "cameras" && key.starts_with("model.") && value.is_number_integer())
        tracks.contents.cameraModels[numberOf(key.substr(key.find('.') + 1))] = value.get<int>();
    }
  }
}

std::vector<Nanoseconds> TrackBuilder::_times(std::vector<McapEntry>& entries) const
{
  sortByTime(entries);
  std::vector<Nanoseconds> times;
  times.reserve(entries.size());
  const std::uint64_t start = reader.entries().front().logTime;
  for (const McapEntry& entry : entries)
    times.push_back(span(start, entry.logTime));
  return times;
}
}  // namespace

McapTracks readTracks(McapReader& reader)
{
  return TrackBuilder(reader).build();
}
}  // namespace ZR::Replay
