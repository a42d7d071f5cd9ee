#pragma once

#include "sources/sourceworkers.h"

#include <memory>
#include <string>
#include <vector>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Filtrix
{
class CameraAccess;
class FiltrixPrivate;

/// The robot's cameras as sources of the graph, one for each camera and resolution: "VideoDevice_TopCamera<QVGA>" and
/// so on, and a short alias for each camera's usual resolution, "VideoDevice_TopCamera". Beside each there is a
/// `SynchronizedSource`, "Synchronized_VideoDevice_TopCamera<QVGA>".
///
/// Which cameras there are the service tells; on a robot without a depth camera, or without a camera service, the depth
/// sources are there and hold one blank image, so that programs load. A service that comes later brings the cameras 0
/// and 1 to life.
///
/// A camera is subscribed to while a live process reads its source, at the rate of the fastest of them. Depth images
/// hold millimetres along the optical axis, distance images millimetres from the camera's centre, 0 for no measurement;
/// the header has the full fields of view of a pinhole.
///
/// Log category "filtrix.videosource".
class VideoSource final
{
public:
  /// Throws a std::exception when the service cannot say which cameras there are.
  VideoSource(const std::shared_ptr<ZRBroker>& broker, std::shared_ptr<FiltrixPrivate> registry_);

  /// Ends the workers, in a second at most.
  ~VideoSource();
  VideoSource(const VideoSource&) = delete;
  VideoSource& operator=(const VideoSource&) = delete;

  /// "VideoDevice_TopCamera<QVGA>" of the service's numbers; "unknown" stands for what has no name.
  [[nodiscard]] static std::string sourceName(int camera, int colorSpace, int resolution);

  /// Of each source that a camera fills. Thread-safe.
  [[nodiscard]] std::vector<SourceFigures> getFigures() const { return workers.getFigures(); }

private:
  bool _createSource(const std::string& name);
  template <typename Image>
  void _startWorker(int camera, int colorSpace, int resolution);
  void _startDummyWorker(int camera, int colorSpace, int resolution);
  void _buildWithoutDepth();
  void _buildWithDepth();
  void _buildWithStereo();
  void _buildColour();
  void _alias(const std::string& alias, const std::string& target);

  const std::shared_ptr<FiltrixPrivate> registry;
  const std::shared_ptr<CameraAccess> cameras;
  SourceWorkers workers;
};
}  // namespace ZR::Filtrix
