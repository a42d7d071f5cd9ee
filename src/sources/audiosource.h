#pragma once

#include "sources/sourceworkers.h"

#include <memory>
#include <vector>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Filtrix
{
class FiltrixPrivate;

/// The robot's microphones as the source "AudioDevice": AudioBuffer values of signed 16-bit samples, all channels in
/// turn. The buffer's `capture` and the value's own time stamp hold the time of the first sample; `capture` has the
/// rate in Hz and the channels' names too.
///
/// The audio service is subscribed to while a live process reads the source, at 16 kHz or the nearest usual rate that
/// it gives. One that is missing or fails is tried again every second. Blocks without channels, rate or samples, or
/// whose samples do not share out evenly, are refused.
///
/// Log category "filtrix.audiosource".
class AudioSource final
{
public:
  AudioSource(const std::shared_ptr<ZRBroker>& broker, const std::shared_ptr<FiltrixPrivate>& registry);

  /// Of the one source, if it could be made. Thread-safe.
  [[nodiscard]] std::vector<SourceFigures> getFigures() const { return workers.getFigures(); }

private:
  SourceWorkers workers;
};
}  // namespace ZR::Filtrix
