#include "platform/audioservice.h"

#include <utility>

namespace ZR
{
AudioService::AudioService(std::string name) : ZRModuleCore(std::move(name))
{
  setModuleDescription("The robot's microphones.");

  functionName("getMicrophoneNames", getName(), "Lists the microphones, in the order of their channels.");
  bindMethod(&AudioService::getMicrophoneNames, this);

  functionName("subscribeAudio", getName(), "Opens a subscription on all microphones and gives its identifier.");
  addParam("name", "Who asks.");
  addParam("sampleRate", "Samples per second and channel.");
  bindMethod(&AudioService::subscribeAudio, this);

  functionName("unsubscribe", getName(), "Closes a subscription.");
  addParam("id", "The subscription.");
  bindMethod(&AudioService::unsubscribe, this);
}
}  // namespace ZR
