#include "platform/capture/captureaudio.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZR::Capture
{
namespace
{
constexpr int blocksPerSecond = 50;

ku::Clock::duration spanOf(std::int64_t samples, int rate)
{
  constexpr std::int64_t second = 1'000'000'000;
  return ku::Clock::duration(samples / rate * second + samples % rate * second / rate);
}

// The last block of a sound may be short. An empty one means that there is nothing more.
std::vector<std::int16_t> readBlock(SoundFile& sound, int size, bool loop)
{
  std::vector<std::int16_t> samples = sound.read(size);
  if (!samples.empty() || !loop)
    return samples;
  sound.rewind();
  return sound.read(size);
}
}  // namespace

CaptureAudio::CaptureAudio(AudioInput input_, TimeBase time_) : input(std::move(input_)), time(time_)
{
  const SoundFile sound(input.file);
  sampleRate = sound.sampleRate();
  for (int channel = 1; channel <= sound.channels(); ++channel)
    microphones.push_back(fmt::format("Microphone{}", channel));
}

std::vector<std::string> CaptureAudio::getMicrophoneNames()
{
  return microphones;
}

std::string CaptureAudio::subscribeAudio(const std::string& name, int sampleRateHz)
{
  if (sampleRateHz != sampleRate)
    throw std::invalid_argument(
        fmt::format("{}: {} Hz, expected its own {} Hz", input.file.string(), sampleRateHz, sampleRate));
  return subscriptions.add(name, std::make_shared<Subscription>(input));
}

void CaptureAudio::unsubscribe(const std::string& id)
{
  subscriptions.remove(id)->waiter.close();
}

std::shared_ptr<const AudioBlock> CaptureAudio::getBlock(const std::string& id)
{
  const auto subscription = subscriptions.find(id);
  return subscription->waiter.wait([&](ku::Clock::time_point& wake) { return _look(*subscription, wake); });
}

// A block can be heard once its last sample has been spoken.
std::shared_ptr<const AudioBlock> CaptureAudio::_look(Subscription& subscription, ku::Clock::time_point& wake) const
{
  const std::lock_guard lock(subscription.mutex);
  const int size = std::max(1, sampleRate / blocksPerSecond);
  const ku::Clock::time_point whole = subscription.origin + spanOf(subscription.heard + size, sampleRate);
  if (whole > ku::Clock::now())
  {
    wake = whole;
    return nullptr;
  }
  auto block = std::make_shared<AudioBlock>();
  block->samples = readBlock(subscription.sound, size, input.loop);
  if (block->samples.empty())
    return nullptr;
  block->timestamp = time.microseconds(subscription.origin + spanOf(subscription.heard, sampleRate));
  block->sampleRate = sampleRate;
  block->channels = microphones;
  subscription.heard += static_cast<std::int64_t>(block->samples.size() / microphones.size());
  return block;
}
}  // namespace ZR::Capture
