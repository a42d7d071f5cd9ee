#pragma once

#include "platform/zrmodulecore.h"
#include "platform/zrproxy.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZR
{
/// A stretch of sound: samples of all channels in turn, first sample of every channel first.
struct AudioBlock
{
  std::int64_t timestamp = 0;  ///< microseconds, of the first sample
  int sampleRate = 0;          ///< Hz
  std::vector<std::string> channels;
  std::vector<std::int16_t> samples;
};

/// The robot's microphones. Whatever goes wrong is thrown as a std::exception. Thread-safe.
class AudioService : public ZRModuleCore
{
public:
  static constexpr const char* serviceName = "ZRAudioDevice";
  static constexpr const char* serviceKind = "an audio service";

  /// Binds `getMicrophoneNames`, `subscribeAudio` and `unsubscribe` by their names; sound itself is for callers in this
  /// process.
  explicit AudioService(std::string name = serviceName);

  [[nodiscard]] virtual std::vector<std::string> getMicrophoneNames() = 0;

  /// Opens a subscription on all microphones and gives its identifier; an empty one means that it failed. `name` is who
  /// asks, for people.
  [[nodiscard]] virtual std::string subscribeAudio(const std::string& name, int sampleRateHz) = 0;

  virtual void unsubscribe(const std::string& id) = 0;

  /// Blocks until the next block; null when none comes.
  [[nodiscard]] virtual std::shared_ptr<const AudioBlock> getBlock(const std::string& id) = 0;
};

using AudioProxy = ServiceProxy<AudioService>;
}  // namespace ZR
