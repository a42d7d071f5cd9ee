#pragma once

#include "filtrix/ku/clock.h"
#include "platform/replay/timeline.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Replay
{
struct ReplayState;

/// When a recording starts to play.
enum class Start
{
  WithFirstConsumer,  ///< of a camera or the microphones
  WhenTold            ///< by `play` or `step`
};

/// Which time stamps frames and sounds have.
enum class Stamps
{
  AsRecorded,
  OfTheClock  ///< of `ku::Clock`, as if they came from a robot now
};

struct ReplayOptions
{
  bool loop = false;  ///< again and again, with times that go on
  Start start = Start::WithFirstConsumer;
  Stamps stamps = Stamps::AsRecorded;
};

/// A robot that is a recording: an MCAP file, or a folder of pictures.
///
/// It plays by `ku::Clock`. On the machine's clock that is at the recorded pace, and a consumer that is slow loses
/// frames as it would with a camera. On a `ku::ManualClock` it plays as fast as its consumers go, in step with them, so
/// that nothing is lost and the outputs are the same on every run:
///
///     ku::ManualClock clock;
///     ReplayRobot robot(file, {.start = Start::WhenTold});
///     robot.attach(*host.broker());
///     // start the consumers, and wait until they have subscribed
///     while (robot.step(clock))
///       // all have got what came at this moment, and wait for the next: look at the results, run processes
///     robot.stop();  // before the consumers are stopped, which wait for a frame
///
/// A consumer is a thread that calls `getImageLocal` or `getBlock` again and again. Positions are asked for, not waited
/// for: who wants them at the time of a frame asks between two steps, or from the consumer's thread.
///
/// Thread-safe, but one thread calls `step`.
class ReplayRobot final
{
public:
  /// Throws `RecordingError` when there is no recording, or nothing in it.
  explicit ReplayRobot(const std::filesystem::path& path, ReplayOptions options = {});

  /// Stops.
  ~ReplayRobot();
  ReplayRobot(const ReplayRobot&) = delete;
  ReplayRobot& operator=(const ReplayRobot&) = delete;

  /// Adds a camera service, a motion service and, where sound was recorded, an audio service.
  void attach(ZRBroker& broker) const;

  /// Starts now. Does nothing when it has started.
  void play();

  /// Ends all waits: from now on the services give nothing, at once.
  void stop();

  /// The next recorded moment of a frame or a sound, from the start of the recording; in a recording without either,
  /// of a position. Nothing at the end.
  [[nodiscard]] std::optional<Nanoseconds> nextTime() const;

  /// Moves the clock to the next recorded moment, and waits, in real time, until all consumers have come back for what
  /// follows. The clock stops a little before the moment first, so that consumers that are called by a period find
  /// their way to the camera. False at the end of the recording. Throws `RecordingError` that names the consumers that
  /// have not come back within `patience`.
  bool step(ku::ManualClock& clock, std::chrono::milliseconds patience = std::chrono::seconds(10));

private:
  void _settle(std::chrono::milliseconds patience);

  const std::shared_ptr<ReplayState> state;
  std::vector<Timeline> moments;  // of the tracks that make up the steps
};
}  // namespace ZR::Replay
