#include "platform/capture/capturerobot.h"

#include "platform/capture/captureaudio.h"
#include "platform/capture/capturecamera.h"
#include "platform/zrbroker.h"

#include <memory>

namespace ZR::Capture
{
namespace
{
TimeBase timeBase(const CaptureOptions& options)
{
  const auto now =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
  return TimeBase::beginning(options.start.value_or(now));
}
}  // namespace

class CaptureRobot::Services final
{
public:
  explicit Services(const CaptureOptions& options)
      : time(timeBase(options)), camera(std::make_shared<CaptureCamera>(options.cameras, time))
  {
    if (options.audio)
      audio = std::make_shared<CaptureAudio>(*options.audio, time);
  }

  void attach(ZRBroker& broker) const
  {
    broker.add(camera);
    if (audio)
      broker.add(audio);
  }

private:
  const TimeBase time;
  const std::shared_ptr<CaptureCamera> camera;
  std::shared_ptr<CaptureAudio> audio;
};

CaptureRobot::CaptureRobot(const CaptureOptions& options) : services(std::make_unique<Services>(options)) {}

CaptureRobot::~CaptureRobot() = default;

void CaptureRobot::attach(ZRBroker& broker) const
{
  services->attach(broker);
}
}  // namespace ZR::Capture
