#pragma once

#include "platform/audioservice.h"
#include "platform/capture/capturerobot.h"
#include "platform/capture/soundfile.h"
#include "platform/frames/subscriptiontable.h"
#include "platform/frames/timebase.h"
#include "platform/frames/waiter.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ZR::Capture
{
/// Microphones that hear a sound file, a fiftieth of a second a block. Every listener hears it from its beginning.
class CaptureAudio final : public AudioService
{
public:
  /// Throws `CaptureError` when the file cannot be read.
  CaptureAudio(AudioInput input_, TimeBase time_);

  [[nodiscard]] std::vector<std::string> getMicrophoneNames() override;

  /// Only at the file's own rate; another throws std::invalid_argument.
  [[nodiscard]] std::string subscribeAudio(const std::string& name, int sampleRateHz) override;
  void unsubscribe(const std::string& id) override;
  [[nodiscard]] std::shared_ptr<const AudioBlock> getBlock(const std::string& id) override;

private:
  struct Subscription
  {
    explicit Subscription(const AudioInput& input) : sound(input.file) {}

    std::mutex mutex;  // guards the rest but the waiter; held while a block is read
    SoundFile sound;
    ku::Clock::time_point origin = ku::Clock::now();
    std::int64_t heard = 0;  // samples of each channel
    Waiter waiter;
  };

  [[nodiscard]] std::shared_ptr<const AudioBlock> _look(Subscription& subscription, ku::Clock::time_point& wake) const;

  const AudioInput input;
  const TimeBase time;
  int sampleRate = 0;
  std::vector<std::string> microphones;
  SubscriptionTable<Subscription> subscriptions;
};
}  // namespace ZR::Capture
