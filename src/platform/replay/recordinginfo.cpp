#include "platform/replay/recordinginfo.h"

#include "platform/replay/mcapreader.h"
#include "platform/replay/recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>

namespace ZR::Replay
{
namespace
{
double seconds(Nanoseconds span)
{
  return std::chrono::duration<double>(span).count();
}

void finish(TopicInfo& topic)
{
  // A damaged file's times may lie farther apart than their type can tell.
  const double span = seconds(topic.last) - seconds(topic.first);
  topic.rateHz = topic.count > 1 && span > 0 ? static_cast<double>(topic.count - 1) / span : 0;
}

// Channels of one topic are one line.
std::vector<TopicInfo> topicsOf(const McapReader& reader)
{
  std::map<std::string, TopicInfo> topics;
  for (const McapEntry& entry : reader.entries())
  {
    const Mcap::Channel& channel = reader.channels().at(entry.channel);
    const Nanoseconds time(static_cast<std::int64_t>(entry.logTime - reader.entries().front().logTime));
    TopicInfo& topic = topics[channel.topic];
    if (topic.count == 0)
    {
      const Mcap::Schema* const schema = reader.schemaOf(channel);
      topic = {channel.topic, schema == nullptr ? "" : schema->name, channel.messageEncoding, 0, time, time, 0};
    }
    ++topic.count;
    topic.last = time;
  }
  std::vector<TopicInfo> list;
  for (auto& [name, topic] : topics)
  {
    finish(topic);
    list.push_back(std::move(topic));
  }
  return list;
}

RecordingInfo fileInfo(const std::filesystem::path& path)
{
  const McapReader reader(path);
  RecordingInfo recording;
  recording.path = path.string();
  recording.complete = reader.isComplete();
  recording.problems = reader.problems();
  recording.topics = topicsOf(reader);
  if (!reader.entries().empty())
  {
    recording.start = Nanoseconds(static_cast<std::int64_t>(reader.entries().front().logTime));
    recording.length =
        Nanoseconds(static_cast<std::int64_t>(reader.entries().back().logTime - reader.entries().front().logTime));
  }
  for (const Mcap::AttachmentIndex& attachment : reader.attachments())
    recording.attachments.push_back({attachment.name, attachment.mediaType, attachment.size});
  return recording;
}

RecordingInfo folderInfo(const std::filesystem::path& path)
{
  const auto folder = openFolderRecording(path);
  RecordingInfo recording;
  recording.path = path.string();
  recording.length = folder->contents().length;
  for (const ImageTrack& track : folder->contents().images)
  {
    recording.topics.push_back(
        {track.topic, "picture", "png", track.times.size(), track.times.front(), track.times.back(), 0});
    finish(recording.topics.back());
  }
  return recording;
}
}  // namespace

RecordingInfo info(const std::filesystem::path& path)
{
  return std::filesystem::is_directory(path) ? folderInfo(path) : fileInfo(path);
}

std::string toText(const RecordingInfo& recording)
{
  std::string text = fmt::format("{}: {:.3f} s{}\n", recording.path, seconds(recording.length),
                                 recording.complete ? "" : ", cut short");
  const auto out = std::back_inserter(text);
  fmt::format_to(out, "{:<40} {:>8} {:>9} {:>10} {:>10}  {}\n", "topic", "count", "rate/Hz", "first/s", "last/s",
                 "kind");
  for (const TopicInfo& topic : recording.topics)
    fmt::format_to(out, "{:<40} {:>8} {:>9.2f} {:>10.3f} {:>10.3f}  {} ({})\n", topic.topic, topic.count, topic.rateHz,
                   seconds(topic.first), seconds(topic.last), topic.schema, topic.encoding);
  for (const AttachmentInfo& attachment : recording.attachments)
    fmt::format_to(out, "attached: {} ({}, {} bytes)\n", attachment.name, attachment.mediaType, attachment.size);
  for (const std::string& problem : recording.problems)
    fmt::format_to(out, "problem: {}\n", problem);
  return text;
}
}  // namespace ZR::Replay
