#include "platform/replay/replayservices.h"

#include "filtrix/ku/log.h"
#include "platform/replay/recordingerror.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr int plainCamera = 1;      // the model number of a colour camera
constexpr int structuredLight = 4;  // and of the depth camera that frames of depth are taken to come from
constexpr int depthCamera = 2;

template <typename Track>
std::vector<std::shared_ptr<const Timeline>> timelinesOf(const std::vector<Track>& tracks,
                                                         std::optional<Nanoseconds> lap)
{
  std::vector<std::shared_ptr<const Timeline>> timelines;
  for (const Track& track : tracks)
    timelines.push_back(std::make_shared<const Timeline>(track.times, lap));
  return timelines;
}

std::int64_t microseconds(Nanoseconds span)
{
  return std::chrono::duration_cast<std::chrono::microseconds>(span).count();
}

FrameFormat formatOf(const ZRImageHeader& header)
{
  return {header.width, header.height, header.colorSpace};
}

std::shared_ptr<const ZRImage> withTime(const ZRImage& frame, std::int64_t time)
{
  auto copy = std::make_shared<ZRImage>(frame.header());
  std::ranges::copy(frame.bytes(), copy->bytes().begin());
  copy->setTimestamp(time);
  return copy;
}

std::string topicsOf(const std::vector<ImageTrack>& tracks)
{
  std::vector<std::string> topics;
  for (const ImageTrack& track : tracks)
    topics.push_back(track.topic);
  return fmt::format("{}", fmt::join(topics, ", "));
}

// A damaged item costs itself alone.
template <typename Load>
auto loaded(const Load& load) -> decltype(load())
try
{
  return load();
}

catch (const RecordingError& error)
{
  ku::log::error("replay", "passed over: {}", error.what());
  return nullptr;
}
}  // namespace

std::int64_t ReplayState::stampOf(const Timeline& timeline, std::uint64_t item, std::int64_t recorded) const
{
  if (!hasClockStamps)
    return recorded + microseconds(timeline.shift(item));
  return microseconds(playhead.timeOf(timeline.timeOf(item).value_or(Nanoseconds(0))).time_since_epoch());
}

ReplayCamera::ReplayCamera(std::shared_ptr<ReplayState> state_)
    : state(std::move(state_)), timelines(timelinesOf(state->recording->contents().images, state->lap))
{
}

bool ReplayCamera::hasDepthCamera()
{
  const RecordingContents& contents = state->recording->contents();
  const auto isDepth = [](const ImageTrack& track) { return track.camera == depthCamera; };
  return contents.hasDepthCamera.value_or(std::ranges::any_of(contents.images, isDepth));
}

int ReplayCamera::getCameraModel(int camera)
{
  const auto& models = state->recording->contents().cameraModels;
  const auto found = models.find(camera);
  if (found != models.end())
    return found->second;
  return camera == depthCamera ? structuredLight : plainCamera;
}

std::string ReplayCamera::subscribeCamera(const std::string& name, int camera, int resolution, int colorSpace,
                                          int framesPerSecond)
{
  const FrameFormat format = frameFormat(resolution, colorSpace);
  auto subscription = std::make_shared<Subscription>();
  subscription->track = _trackFor(camera, format);
  subscription->format = format;
  subscription->timeline = timelines[subscription->track];
  subscription->consumer = std::make_shared<Consumer>(name, subscription->timeline, Delivery::Newest, framesPerSecond);
  state->playhead.open(subscription->consumer);
  return subscriptions.add(name, subscription);
}

// The very format, or else the same colour space before others, and the largest of those.
std::size_t ReplayCamera::_trackFor(int camera, const FrameFormat& format) const
{
  const auto& tracks = state->recording->contents().images;
  const auto fitness = [&](const ImageTrack& track)
  {
    const bool fits = track.camera == camera && canConvert(track.header.colorSpace, format.colorSpace);
    return std::tuple(fits, fits && formatOf(track.header) == format, track.header.colorSpace == format.colorSpace,
                      track.header.width);
  };
  const auto best = std::ranges::max_element(tracks, {}, fitness);
  if (best == tracks.end() || !std::get<0>(fitness(*best)))
    throw std::invalid_argument(fmt::format("replay: camera {} was not recorded in color space {}; recorded are: {}",
                                            camera, format.colorSpace, topicsOf(tracks)));
  return static_cast<std::size_t>(best - tracks.begin());
}

void ReplayCamera::unsubscribe(const std::string& id)
{
  state->playhead.close(*subscriptions.remove(id)->consumer);
}

std::shared_ptr<const ZRImage> ReplayCamera::getImageLocal(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  const auto item = state->playhead.next(*subscription->consumer);
  if (!item)
    return nullptr;
  return loaded([&] { return _frame(*subscription, *item); });
}

std::shared_ptr<const ZRImage> ReplayCamera::_frame(const Subscription& subscription, std::uint64_t item)
{
  const Timeline& timeline = *subscription.timeline;
  auto frame = state->recording->image(subscription.track, timeline.recorded(item));
  if (formatOf(frame->header()) != subscription.format)
    frame = convertFrame(*frame, subscription.format);
  const std::int64_t stamp = state->stampOf(timeline, item, frame->timestamp());
  return stamp == frame->timestamp() ? frame : withTime(*frame, stamp);
}

void ReplayCamera::releaseImage(const std::string& id)
{
  static_cast<void>(subscriptions.find(id));
}

void ReplayCamera::setFrameRate(const std::string& id, int framesPerSecond)
{
  state->playhead.setRate(*subscriptions.find(id)->consumer, framesPerSecond);
}

ReplayMotion::ReplayMotion(std::shared_ptr<ReplayState> state_) : state(std::move(state_))
{
  for (const PositionTrack& track : state->recording->contents().positions)
    timelines.emplace_back(track.times, state->lap);
}

std::vector<std::string> ReplayMotion::getSensorNames()
{
  const RecordingContents& contents = state->recording->contents();
  if (!contents.sensors.empty())
    return contents.sensors;
  std::vector<std::string> names;
  for (const PositionTrack& track : contents.positions)
    if (std::ranges::find(names, track.key.sensor) == names.end())
      names.push_back(track.key.sensor);
  return names;
}

std::vector<float> ReplayMotion::getPosition(const std::string& sensor, MotionFrame frame, bool useSensorValues)
{
  const auto& tracks = state->recording->contents().positions;
  const auto found = std::ranges::find(tracks, PositionKey{sensor, frame, useSensorValues}, &PositionTrack::key);
  if (found == tracks.end())
    throw std::invalid_argument(
        fmt::format("replay: no position was recorded as {}", PositionKey{sensor, frame, useSensorValues}.topic()));
  const auto track = static_cast<std::size_t>(found - tracks.begin());
  const Timeline& timeline = timelines[track];
  const auto item = timeline.nearest(state->playhead.position().value_or(Nanoseconds(0)));
  return item ? state->recording->position(track, timeline.recorded(*item)) : std::vector<float>();
}

ReplayAudio::ReplayAudio(std::shared_ptr<ReplayState> state_)
    : state(std::move(state_)), timelines(timelinesOf(state->recording->contents().audio, state->lap))
{
}

std::vector<std::string> ReplayAudio::getMicrophoneNames()
{
  const auto& tracks = state->recording->contents().audio;
  return tracks.empty() ? std::vector<std::string>() : tracks.front().microphones;
}

std::string ReplayAudio::subscribeAudio(const std::string& name, int sampleRateHz)
{
  const auto& tracks = state->recording->contents().audio;
  const auto found = std::ranges::find(tracks, sampleRateHz, &AudioTrack::sampleRate);
  if (found == tracks.end())
    throw std::invalid_argument(fmt::format("replay: no sound was recorded at {} Hz", sampleRateHz));
  auto subscription = std::make_shared<Subscription>();
  subscription->track = static_cast<std::size_t>(found - tracks.begin());
  subscription->timeline = timelines[subscription->track];
  subscription->consumer = std::make_shared<Consumer>(name, subscription->timeline, Delivery::EveryOne, 1);
  state->playhead.open(subscription->consumer);
  return subscriptions.add(name, subscription);
}

void ReplayAudio::unsubscribe(const std::string& id)
{
  state->playhead.close(*subscriptions.remove(id)->consumer);
}

std::shared_ptr<const AudioBlock> ReplayAudio::getBlock(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  const auto item = state->playhead.next(*subscription->consumer);
  if (!item)
    return nullptr;
  return loaded(
      [&]() -> std::shared_ptr<const AudioBlock>
      {
        const Timeline& timeline = *subscription->timeline;
        auto block = state->recording->audio(subscription->track, timeline.recorded(*item));
        const std::int64_t stamp = block ? state->stampOf(timeline, *item, block->timestamp) : 0;
        if (!block || stamp == block->timestamp)
          return block;
        AudioBlock later = *block;
        later.timestamp = stamp;
        return std::make_shared<const AudioBlock>(std::move(later));
      });
}
}  // namespace ZR::Replay
