#include "tools/filtrix/stepreplay.h"

#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "filtrix/time.h"
#include "platform/frames/frameconversion.h"
#include "platform/replay/timeline.h"
#include "program/filtrixprivate.h"
#include "sources/vision/videosource.h"

#include <fmt/format.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace ZR::Filtrix::Tool
{
namespace
{
using Replay::Nanoseconds;

const char* wordOf(MotionFrame frame)
{
  switch (frame)
  {
  case MotionFrame::Torso:
    return "TORSO";
  case MotionFrame::Robot:
    return "ROBOT";
  case MotionFrame::World:
    break;
  }
  return "WORLD";
}

std::string sourceOf(const Replay::PositionKey& key)
{
  return fmt::format("Motion_{}<{}>", key.sensor, wordOf(key.frame));
}

bool isDepth(int colorSpace)
{
  return colorSpace == ColorSpace::depth || colorSpace == ColorSpace::distance || colorSpace == ColorSpace::infrared;
}

// The time of the first frame, or what a manual clock starts at anyway.
Nanoseconds clockStart(Replay::Recording& recording)
{
  for (std::size_t track = 0; track < recording.contents().images.size(); ++track)
  {
    const auto image = recording.contents().images[track].times.empty() ? nullptr : recording.image(track, 0);
    if (image && image->timestamp() > 0)
      return std::chrono::microseconds(image->timestamp()) - recording.contents().images[track].times.front();
  }
  return std::chrono::hours(1);
}

DataPtr valueOf(const ZRImage& record, const std::string& source)
{
  const Time time(record.timestamp());
  const float width = record.angles().left - record.angles().right;
  const float height = record.angles().top - record.angles().bottom;
  const bool is16Bit = isDepth(record.colorSpace());
  // The pixels are only read, and copied at once.
  const cv::Mat pixels =
      cv::Mat(record.height(), record.width(), is16Bit ? CV_16UC1 : CV_8UC3, const_cast<std::uint8_t*>(record.data()))
          .clone();
  DataPtr value = is16Bit ? makeData(std::make_shared<Type::DepthImage>(pixels, source, time, width, height))
                          : makeData(std::make_shared<Type::ColorImage>(pixels, source, time, width, height));
  value->setTimestamp(time);
  return value;
}
}  // namespace

StepReplay::StepReplay(const std::filesystem::path& file)
    : recording(Replay::openRecording(file)), clock(clockStart(*recording))
{
  _collectMoments();
  _createSources();
}

StepReplay::~StepReplay() = default;

void StepReplay::_collectMoments()
{
  std::map<Nanoseconds, Moment> byTime;
  const auto& contents = recording->contents();
  for (std::size_t track = 0; track < contents.images.size(); ++track)
  {
    for (std::size_t item = 0; item < contents.images[track].times.size(); ++item)
      byTime[contents.images[track].times[item]].images.emplace_back(track, item);
  }
  if (contents.images.empty())
  {
    for (const Replay::PositionTrack& track : contents.positions)
    {
      for (const Nanoseconds time : track.times)
        byTime[time];
    }
  }
  for (auto& [time, moment] : byTime)
  {
    moment.time = time;
    moments.push_back(std::move(moment));
  }
}

void StepReplay::_createSources()
{
  FiltrixPrivate& registry = theSession.registry();
  const std::vector<std::string> known = registry.getSources();
  const auto require = [&](const std::string& source)
  {
    if (std::ranges::find(known, source) == known.end())
      registry.createSource(source);
  };
  for (const Replay::PositionTrack& track : recording->contents().positions)
  {
    if (track.key.measured)
      require(sourceOf(track.key));
  }
  for (const Replay::ImageTrack& track : recording->contents().images)
  {
    if (const CameraResolution* const size = findCameraResolution(track.header.width, track.header.height))
      require(VideoSource::sourceName(
          track.camera, isDepth(track.header.colorSpace) ? track.header.colorSpace : ColorSpace::rgb, size->code));
  }
}

// Into each source of this camera that somebody reads, in the size that it is named after.
void StepReplay::_setImage(std::size_t track, std::size_t item)
{
  const auto image = recording->image(track, item);
  const int camera = recording->contents().images[track].camera;
  FiltrixPrivate& registry = theSession.registry();
  for (const CameraResolution& size : cameraResolutions())
  {
    const std::vector<int> wanted =
        isDepth(image->colorSpace()) ? std::vector<int>{ColorSpace::depth, ColorSpace::distance, ColorSpace::infrared}
                                     : std::vector<int>{ColorSpace::rgb};
    for (const int colorSpace : wanted)
    {
      const std::string source = VideoSource::sourceName(camera, colorSpace, size.code);
      if (size.word.empty() || !canConvert(image->colorSpace(), colorSpace) || !registry.isSourceBinded(source))
        continue;
      registry.setData(source, valueOf(*convertFrame(*image, {size.width, size.height, colorSpace}), source));
    }
  }
}

void StepReplay::_setPositions(Nanoseconds time)
{
  const auto& tracks = recording->contents().positions;
  for (std::size_t track = 0; track < tracks.size(); ++track)
  {
    const auto item = Replay::Timeline(tracks[track].times).nearest(time);
    if (!item || !tracks[track].key.measured)
      continue;
    const std::vector<float> p = recording->position(track, static_cast<std::size_t>(*item));
    if (p.size() == 6)
      theSession.registry().setData(sourceOf(tracks[track].key), makeData(p[0], p[1], p[2], p[3], p[4], p[5]));
  }
}

// In the order in which the scheduler would.
void StepReplay::_runProcesses()
{
  FiltrixPrivate& registry = theSession.registry();
  std::vector<std::string> processes = registry.getProcesses();
  std::ranges::stable_sort(processes, std::ranges::greater(),
                           [&](const std::string& name) { return registry.getProcessPriority(name); });
  for (const std::string& process : processes)
  {
    const std::vector<std::string> sinks = registry.getProcessSinks(process);
    if (!sinks.empty() && registry.isProcessEnable(process))
      static_cast<void>(registry.getData(process + ":" + sinks.front()));
  }
}

bool StepReplay::step()
{
  if (next == moments.size())
    return false;
  const Moment& moment = moments[next];
  clock.advance(moment.time - (next == 0 ? Nanoseconds(0) : moments[next - 1].time));
  ++next;
  _setPositions(moment.time);
  for (const auto& [track, item] : moment.images)
    _setImage(track, item);
  _runProcesses();
  return true;
}
}  // namespace ZR::Filtrix::Tool
