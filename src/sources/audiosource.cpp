#include "sources/audiosource.h"

#include "filtrix/audiobuffer.h"
#include "platform/audioservice.h"
#include "program/filtrixprivate.h"
#include "sources/servicecalls.h"

#include <fmt/format.h>

#include <exception>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
using std::chrono::microseconds;

constexpr const char* category = "filtrix.audiosource";
constexpr const char* sourceName = "AudioDevice";

/// In Hz: what speech needs, then what else a service may have.
constexpr int sampleRates[] = {16'000, 48'000, 44'100, 32'000, 22'050, 8'000};

// From one round to the next: the service gives the pace while somebody listens.
constexpr microseconds whileListening{10};
constexpr microseconds afterNothing{10'000};
constexpr microseconds whileUnwanted{200'000};
constexpr microseconds afterFailure{1'000'000};

void requireSound(const AudioBlock& block)
{
  if (block.sampleRate > 0 && !block.channels.empty() && !block.samples.empty() &&
      block.samples.size() % block.channels.size() == 0)
    return;
  throw std::runtime_error(fmt::format("expected samples that share out among channels, at a rate, came {} samples for "
                                       "{} channels at {} Hz",
                                       block.samples.size(), block.channels.size(), block.sampleRate));
}

DataPtr toValue(const AudioBlock& block)
{
  requireSound(block);
  const auto buffer =
      std::make_shared<Type::AudioBuffer>(block.samples.data(), static_cast<std::uint32_t>(block.samples.size()),
                                          static_cast<std::uint32_t>(block.channels.size()));
  buffer->capture = {Time(block.timestamp), static_cast<std::uint32_t>(block.sampleRate), block.channels};
  DataPtr value = makeData(buffer);
  value->setTimestamp(Time(block.timestamp));
  return value;
}

// Gives the subscription's identifier; throws what the service says to the last of the rates.
std::string subscribe(AudioService& audio)
{
  std::exception_ptr failure;
  for (const int rate : sampleRates)
  {
    try
    {
      std::string id = audio.subscribeAudio(sourceName, rate);
      if (!id.empty())
        return id;
    }
    catch (...)
    {
      failure = std::current_exception();
    }
  }
  if (failure)
    std::rethrow_exception(failure);
  throw std::runtime_error("expected a subscription, came an empty name");
}

class AudioSourceWorker final : public SourceWorker
{
public:
  AudioSourceWorker(const std::shared_ptr<ZRBroker>& broker_, const std::shared_ptr<FiltrixPrivate>& registry_)
      : broker(broker_), registry(registry_)
  {
  }

  std::string getName() const override { return "AudioSourceWorker"; }

  SourceFigures getFigures() const override { return progress.get(); }

  microseconds step() override
  {
    const bool isWanted = _isWanted();
    const std::string id = _openId();
    if (isWanted)
      return id.empty() ? _subscribe() : _listen(id);
    if (!id.empty())
    {
      _publish(nullptr);
      _unsubscribe(calls);
    }
    progress.enter(SourceState::Unwanted);
    return whileUnwanted;
  }

  void close() override
  {
    {
      const std::lock_guard lock(mutex);
      isClosed = true;
    }
    ServiceCalls own(category);  // this runs beside a round
    _unsubscribe(own);
  }

private:
  [[nodiscard]] bool _isWanted() const
  {
    const auto alive = registry.lock();
    return alive && alive->getSourceDemand(sourceName) > 0.0F;
  }

  [[nodiscard]] std::string _openId() const
  {
    const std::lock_guard lock(mutex);
    return openId;
  }

  // The service may come late or go away: it is looked for anew.
  [[nodiscard]] std::shared_ptr<AudioService> _service() const { return AudioProxy(broker.lock()).get(); }

  microseconds _subscribe()
  {
    std::string id;
    if (!calls.make("Error when calling ZRAudioDevice::subscribeAudio: ", [&] { id = subscribe(*_service()); }))
    {
      progress.fail();
      progress.enter(isAnew ? SourceState::Lost : SourceState::Waiting);
      return afterFailure;
    }
    isAnew = false;
    progress.enter(SourceState::Subscribed);
    bool isLate = false;
    {
      const std::lock_guard lock(mutex);
      openId = id;
      isLate = isClosed;
    }
    if (isLate)
      _unsubscribe(calls);
    return whileListening;
  }

  void _unsubscribe(ServiceCalls& with)
  {
    std::string id;
    {
      const std::lock_guard lock(mutex);
      id.swap(openId);
    }
    if (!id.empty() &&
        !with.make("Error when calling ZRAudioDevice::unsubscribe: ", [&] { _service()->unsubscribe(id); }))
      progress.fail();
  }

  microseconds _listen(const std::string& id)
  {
    std::shared_ptr<const AudioBlock> block;
    try
    {
      block = _service()->getBlock(id);
    }
    catch (...)
    {
      return _recover(id);
    }
    if (!block)
      return afterNothing;
    if (!calls.make("Can't take sound: ", [&] { _publish(toValue(*block)); }))
      progress.refuse();
    return whileListening;
  }

  // A subscription that fails is given up, and asked for anew. Within a handler.
  microseconds _recover(const std::string& id)
  {
    if (_openId() != id)
      return afterFailure;  // it failed because it has ended
    progress.fail();
    calls.make("Error when calling ZRAudioDevice::getBlock: ", [] { throw; });
    _unsubscribe(calls);
    isAnew = true;
    progress.enter(SourceState::Lost);
    return afterFailure;
  }

  void _publish(const DataPtr& value)
  {
    {
      const std::lock_guard lock(mutex);
      if (isClosed)
        return;
    }
    const auto alive = registry.lock();
    if (!alive)
      return;
    alive->setData(sourceName, value);
    if (value)
      progress.bring();
  }

  const std::weak_ptr<ZRBroker> broker;
  const std::weak_ptr<FiltrixPrivate> registry;
  SourceProgress progress{sourceName};

  // For the thread of the round alone.
  ServiceCalls calls{category};
  bool isAnew = false;  // there was a subscription, and it was lost

  mutable std::mutex mutex;  // guards the two below; a leaf
  std::string openId;        // empty: not subscribed
  bool isClosed = false;
};
}  // namespace

AudioSource::AudioSource(const std::shared_ptr<ZRBroker>& broker, const std::shared_ptr<FiltrixPrivate>& registry)
{
  if (registry->createSource(sourceName))
    workers.add(std::make_shared<AudioSourceWorker>(broker, registry));
}
}  // namespace ZR::Filtrix
