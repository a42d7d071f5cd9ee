#include "platform/cameraservice.h"

#include <utility>

namespace ZR
{
CameraService::CameraService(std::string name) : ZRModuleCore(std::move(name))
{
  const auto open = [this](const char* method, const char* text) { functionName(method, getName(), text); };
  setModuleDescription("The robot's cameras.");

  open("hasDepthCamera", "Tells whether the robot has a depth camera.");
  bindMethod(&CameraService::hasDepthCamera, this);

  open("getCameraModel", "Gives the model number of a camera.");
  addParam("camera", "The camera: 0 top, 1 bottom, 2 depth, 3 stereo.");
  bindMethod(&CameraService::getCameraModel, this);

  open("subscribeCamera", "Opens a subscription and gives its identifier.");
  addParam("name", "Who asks.");
  addParam("camera", "The camera.");
  addParam("resolution", "The number of the resolution.");
  addParam("colorSpace", "The number of the colour space.");
  addParam("fps", "Frames per second.");
  bindMethod(&CameraService::subscribeCamera, this);

  open("unsubscribe", "Closes a subscription.");
  addParam("id", "The subscription.");
  bindMethod(&CameraService::unsubscribe, this);

  open("getImageLocal", "Waits for the next frame and gives it.");
  addParam("id", "The subscription.");
  bindMethod(
      [this](const std::string& id)
      {
        const auto image = getImageLocal(id);
        return image ? image->toZRValue() : ZRValue();
      });

  open("releaseImage", "Gives a frame back.");
  addParam("id", "The subscription.");
  bindMethod(&CameraService::releaseImage, this);

  open("setFrameRate", "Changes the frame rate of a subscription.");
  addParam("id", "The subscription.");
  addParam("fps", "Frames per second.");
  bindMethod(&CameraService::setFrameRate, this);
}
}  // namespace ZR
