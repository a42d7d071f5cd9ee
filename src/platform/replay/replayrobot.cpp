#include "platform/replay/replayrobot.h"

#include "platform/replay/recordingerror.h"
#include "platform/replay/replayservices.h"
#include "platform/zrbroker.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr Nanoseconds usualGap(1'000'000'000 / 30);  // from the last moment to the first of the next lap
constexpr Nanoseconds firstLead = std::chrono::milliseconds(2);
constexpr Nanoseconds settleLead = std::chrono::milliseconds(1);

std::optional<Nanoseconds> lapOf(const RecordingContents& contents, bool loop)
{
  if (contents.stillLap)
    return contents.stillLap;
  return loop ? std::optional(contents.length + usualGap) : std::nullopt;
}

std::shared_ptr<ReplayState> openState(const std::filesystem::path& path, const ReplayOptions& options)
{
  auto recording = openRecording(path);
  const auto lap = lapOf(recording->contents(), options.loop);
  return std::make_shared<ReplayState>(std::move(recording), lap, options.start == Start::WithFirstConsumer,
                                       options.stamps == Stamps::OfTheClock);
}

template <typename Track>
void addMoments(std::vector<Timeline>& moments, const std::vector<Track>& tracks, std::optional<Nanoseconds> lap)
{
  for (const Track& track : tracks)
    moments.emplace_back(track.times, lap);
}

void advanceTo(ku::ManualClock& clock, ku::Clock::time_point time)
{
  const auto left = time - ku::Clock::now();
  if (left > ku::Clock::duration::zero())
    clock.advance(left);
}
}  // namespace

ReplayRobot::ReplayRobot(const std::filesystem::path& path, ReplayOptions options) : state(openState(path, options))
{
  const RecordingContents& contents = state->recording->contents();
  addMoments(moments, contents.images, state->lap);
  addMoments(moments, contents.audio, state->lap);
  if (moments.empty())
    addMoments(moments, contents.positions, state->lap);
  if (moments.empty())
    throw RecordingError(fmt::format("{}: expected images, sound or positions, came none", path.string()));
}

ReplayRobot::~ReplayRobot()
{
  stop();
}

void ReplayRobot::attach(ZRBroker& broker) const
{
  broker.add(std::make_shared<ReplayCamera>(state));
  broker.add(std::make_shared<ReplayMotion>(state));
  if (!state->recording->contents().audio.empty())
    broker.add(std::make_shared<ReplayAudio>(state));
}

void ReplayRobot::play()
{
  state->playhead.play(Nanoseconds(0));
}

void ReplayRobot::stop()
{
  state->playhead.stop();
}

std::optional<Nanoseconds> ReplayRobot::nextTime() const
{
  const auto position = state->playhead.position();
  const Nanoseconds from = position ? *position + Nanoseconds(1) : Nanoseconds(0);
  std::optional<Nanoseconds> next;
  for (const Timeline& track : moments)
  {
    const auto item = track.firstFrom(from);
    const auto time = item ? track.timeOf(*item) : std::nullopt;
    if (time && (!next || *time < *next))
      next = time;
  }
  return next;
}

bool ReplayRobot::step(ku::ManualClock& clock, std::chrono::milliseconds patience)
{
  state->playhead.play(firstLead);
  const std::optional<Nanoseconds> next = nextTime();
  if (!next)
    return false;

  const ku::Clock::time_point due = state->playhead.timeOf(*next);
  const auto lead = std::min<ku::Clock::duration>(settleLead, (due - ku::Clock::now()) / 2);
  advanceTo(clock, due - lead);
  _settle(patience);
  advanceTo(clock, due);
  _settle(patience);
  return true;
}

void ReplayRobot::_settle(std::chrono::milliseconds patience)
{
  state->playhead.wakeDue();
  if (!state->playhead.waitForRest(patience))
    throw RecordingError(fmt::format("replay: not back for the next moment within {} ms: {}", patience.count(),
                                     fmt::join(state->playhead.busy(), ", ")));
}
}  // namespace ZR::Replay
