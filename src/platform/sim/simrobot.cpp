#include "platform/sim/simrobot.h"

#include "platform/frames/timebase.h"
#include "platform/sim/simservices.h"
#include "platform/zrbroker.h"

#include <utility>

namespace ZR::Sim
{
class Robot::Services final
{
public:
  Services(Scene scene, const RobotOptions& options)
      : photographer(std::make_shared<Photographer>(std::make_shared<Stage>(std::move(scene)), options.sensor)),
        time(TimeBase::beginning(options.start)), camera(std::make_shared<SimCamera>(photographer, time)),
        motion(std::make_shared<SimMotion>(photographer, time)), audio(std::make_shared<SimAudio>(time))
  {
  }

  void attach(ZRBroker& broker) const
  {
    broker.add(camera);
    broker.add(motion);
    broker.add(audio);
  }

  const std::shared_ptr<const Photographer> photographer;

private:
  const TimeBase time;
  const std::shared_ptr<SimCamera> camera;
  const std::shared_ptr<SimMotion> motion;
  const std::shared_ptr<SimAudio> audio;
};

Robot::Robot(Scene scene, const RobotOptions& options) : services(std::make_unique<Services>(std::move(scene), options))
{
}

Robot::~Robot() = default;

void Robot::attach(ZRBroker& broker) const
{
  services->attach(broker);
}

const Photographer& Robot::photographer() const noexcept
{
  return *services->photographer;
}
}  // namespace ZR::Sim
