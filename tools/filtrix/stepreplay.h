#pragma once

#include "filtrix/ku/clock.h"
#include "platform/replay/recording.h"
#include "tools/filtrix/session.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
/// Plays a recording into the sources of a registry, step by step: what was recorded at a moment is set, the clock is
/// the recording's, and every process that is due is run before the next moment comes. So the results are the same on
/// every run, bit by bit, and come as fast as the machine makes them. A manual clock is in force as long as it lives.
class StepReplay final
{
public:
  /// Throws `Replay::RecordingError` when there is no recording.
  explicit StepReplay(const std::filesystem::path& file);
  ~StepReplay();
  StepReplay(const StepReplay&) = delete;
  StepReplay& operator=(const StepReplay&) = delete;

  [[nodiscard]] Session& session() noexcept { return theSession; }

  /// Plays the next moment at which there is a frame; in a recording without frames, a position. False at the end.
  bool step();

private:
  struct Moment
  {
    Replay::Nanoseconds time{0};
    std::vector<std::pair<std::size_t, std::size_t>> images;  // track and item
  };

  void _collectMoments();
  void _createSources();
  void _setImage(std::size_t track, std::size_t item);
  void _setPositions(Replay::Nanoseconds time);
  void _runProcesses();

  const std::unique_ptr<Replay::Recording> recording;
  ku::ManualClock clock;
  Session theSession;
  std::vector<Moment> moments;
  std::size_t next = 0;
};
}  // namespace ZR::Filtrix::Tool
