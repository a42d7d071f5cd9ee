#include "platform/openni/opennirobot.h"

#include "platform/openni/opennicamera.h"
#include "platform/zrbroker.h"

namespace ZR::OpenNI
{
namespace
{
TimeBase timeBase(const DeviceOptions& options)
{
  TimeBase time;
  time.start =
      options.start.value_or(std::chrono::duration_cast<std::chrono::microseconds>(time.clockStart.time_since_epoch()));
  return time;
}
}  // namespace

class DepthRobot::Services final
{
public:
  explicit Services(const DeviceOptions& options) : camera(std::make_shared<OpenniCamera>(options, timeBase(options)))
  {
  }

  const std::shared_ptr<OpenniCamera> camera;
};

DepthRobot::DepthRobot(const DeviceOptions& options) : services(std::make_unique<Services>(options)) {}

DepthRobot::~DepthRobot() = default;

void DepthRobot::attach(ZRBroker& broker) const
{
  broker.add(services->camera);
}
}  // namespace ZR::OpenNI
