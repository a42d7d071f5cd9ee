#include "platform/openni/opennirobot.h"

#include "platform/openni/opennicamera.h"
#include "platform/zrbroker.h"

namespace ZR::OpenNI
{
class DepthRobot::Services final
{
public:
  explicit Services(const DeviceOptions& options)
      : camera(std::make_shared<OpenniCamera>(options, TimeBase::beginning(options.start)))
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
