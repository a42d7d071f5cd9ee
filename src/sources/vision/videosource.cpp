#include "sources/vision/videosource.h"

#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"
#include "graph/nodesource.h"
#include "program/filtrixprivate.h"
#include "sources/aside.h"
#include "sources/synchronizedsource.h"
#include "sources/vision/cameraaccess.h"
#include "sources/vision/videosourceworker.h"

#include <array>
#include <memory>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.videosource";

// Cameras and camera models by the service's numbers.
constexpr int topCamera = 0;
constexpr int bottomCamera = 1;
constexpr int depthCamera = 2;
constexpr int leftCamera = 3;
constexpr int structuredLightModel = 4;
constexpr int stereoModel = 7;

// The view of a structured-light camera, radians: what a blank image claims to have looked at.
constexpr float depthViewWidth = 1.0123F;
constexpr float depthViewHeight = 0.7854F;

constexpr std::array vgaFamily{7, 0, 1, 2};       // QQQVGA to VGA
constexpr std::array hdFamily{12, 11, 10, 9, 5};  // QQQQ720p to 720p
constexpr std::array depthSpaces{ColorSpace::depth, ColorSpace::distance, ColorSpace::infrared};

std::string cameraName(int camera, int colorSpace)
{
  switch (camera)
  {
  case topCamera:
    return "TopCamera";
  case bottomCamera:
    return "BottomCamera";
  case depthCamera:
    if (colorSpace == ColorSpace::depth)
      return "DepthCamera";
    if (colorSpace == ColorSpace::distance)
      return "DistanceCamera";
    return colorSpace == ColorSpace::infrared ? "IRCamera" : "unknown";
  case leftCamera:
    return "LeftCamera";
  default:
    return "unknown";
  }
}
}  // namespace

VideoSource::VideoSource(const std::shared_ptr<ZRBroker>& broker, std::shared_ptr<FiltrixPrivate> registry_)
    : registry(std::move(registry_)), cameras(std::make_shared<CameraAccess>(broker))
{
  const auto proxy = cameras->proxy();
  if (!proxy || !ask("ZRVideoDevice::hasDepthCamera", [proxy] { return (*proxy)->hasDepthCamera(); }))
  {
    _buildWithoutDepth();
    return;
  }
  const int model = ask("ZRVideoDevice::getCameraModel", [proxy] { return (*proxy)->getCameraModel(depthCamera); });
  if (model == structuredLightModel)
    _buildWithDepth();
  else if (model == stereoModel)
    _buildWithStereo();
  else
    _buildColour();
}

VideoSource::~VideoSource() = default;

std::string VideoSource::sourceName(int camera, int colorSpace, int resolution)
{
  return "VideoDevice_" + cameraName(camera, colorSpace) + "<" + std::string(resolutionWord(resolution)) + ">";
}

// With the synchronized one beside it. False when the name is taken.
bool VideoSource::_createSource(const std::string& name)
{
  const auto node = std::make_shared<NodeSource>(name);
  if (!registry->createSource(name, node))
    return false;
  addSynchronizedSource(registry, *node);
  return true;
}

template <typename Image>
void VideoSource::_startWorker(int camera, int colorSpace, int resolution)
{
  const std::string name = sourceName(camera, colorSpace, resolution);
  ku::log::verbose(category, "Adding worker for source {} (colorSpace {})", name, colorSpace);
  if (_createSource(name))
    workers.add(std::make_shared<VideoSourceWorker<Image>>(registry, cameras, name,
                                                           CameraView{camera, colorSpace, resolution}));
}

void VideoSource::_startDummyWorker(int camera, int colorSpace, int resolution)
{
  const std::string name = sourceName(camera, colorSpace, resolution);
  ku::log::verbose(category, "Adding DUMMY worker for source {} (colorSpace {})", name, colorSpace);
  const CameraResolution& size = *findCameraResolution(resolution);
  const auto blank =
      std::make_shared<Type::DepthImage>(size.width, size.height, name, Time(), depthViewWidth, depthViewHeight);
  blank->cvMat().setTo(0);
  DataPtr value = makeData(blank);
  value->setTimestamp(blank->timestamp());
  if (_createSource(name))
    registry->setData(name, value);
}

void VideoSource::_alias(const std::string& alias, const std::string& target)
{
  registry->createSourceAlias("VideoDevice_" + alias, "VideoDevice_" + alias + "<" + target + ">");
}

void VideoSource::_buildColour()
{
  for (const int camera : {topCamera, bottomCamera})
  {
    for (const int resolution : vgaFamily)
      _startWorker<Type::ColorImage>(camera, ColorSpace::rgb, resolution);
  }
  _alias("TopCamera", "QVGA");
  _alias("BottomCamera", "QVGA");
}

void VideoSource::_buildWithoutDepth()
{
  _buildColour();
  for (const int colorSpace : depthSpaces)
  {
    for (const int resolution : vgaFamily)
      _startDummyWorker(depthCamera, colorSpace, resolution);
  }
  for (const char* const camera : {"DepthCamera", "DistanceCamera", "IRCamera"})
    _alias(camera, "QQVGA");
}

void VideoSource::_buildWithDepth()
{
  _buildColour();
  for (const int colorSpace : depthSpaces)
  {
    for (const int resolution : vgaFamily)
      _startWorker<Type::DepthImage>(depthCamera, colorSpace, resolution);
  }
  for (const char* const camera : {"DepthCamera", "DistanceCamera", "IRCamera"})
    _alias(camera, "QQVGA");
}

void VideoSource::_buildWithStereo()
{
  _buildColour();
  for (const int resolution : hdFamily)
  {
    _startWorker<Type::ColorImage>(leftCamera, ColorSpace::rgb, resolution);
    _startWorker<Type::DepthImage>(depthCamera, ColorSpace::depth, resolution);
    _startWorker<Type::DepthImage>(depthCamera, ColorSpace::distance, resolution);
    _startDummyWorker(depthCamera, ColorSpace::infrared, resolution);
  }
  _alias("LeftCamera", "Q720p");
  for (const char* const camera : {"DepthCamera", "DistanceCamera", "IRCamera"})
    _alias(camera, "QQ720p");
}
}  // namespace ZR::Filtrix
