#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>

namespace ZR
{
class ZRBroker;
}

namespace ZR::Capture
{
/// A camera, a film or a sound cannot be opened. The text says which.
class CaptureError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Where the pictures of a camera come from.
struct CameraInput
{
  /// The number of a camera of this machine ("0"), a video file, or what else OpenCV opens, such as "rtsp://...".
  std::string source;

  /// A film begins again at its end.
  bool loop = true;

  /// The whole angle from the left edge to the right, in radians; 60 degrees are usual for cameras on desks. The angle
  /// from top to bottom follows from the shape of the pictures.
  double horizontalFov = std::numbers::pi / 3;
};

struct AudioInput
{
  std::filesystem::path file;  ///< WAV, or what else libsndfile reads
  bool loop = true;
};

struct CaptureOptions
{
  std::map<int, CameraInput> cameras = {};  ///< by the camera service's numbers: 0 top, 1 bottom
  std::optional<AudioInput> audio = {};

  /// Microseconds since 1970 at which the robot starts; the machine's time when not told. From there on `ku::Clock`
  /// counts.
  std::optional<std::chrono::microseconds> start = {};
};

/// A robot whose eyes and ears are those of this machine, or files: colour cameras, no depth camera, no joints.
///
/// Pictures are resized and converted to what a subscription asks for. Films and sounds go at their own pace by
/// `ku::Clock` from the moment on that somebody watches or listens; a slow consumer loses pictures, as with a camera,
/// and a film that nobody watches for two seconds waits. Thread-safe.
class CaptureRobot final
{
public:
  /// Opens everything. Throws `CaptureError` on what cannot be opened, std::invalid_argument on a camera other than 0
  /// and 1 or an angle that is not between 0 and pi.
  explicit CaptureRobot(const CaptureOptions& options);
  ~CaptureRobot();
  CaptureRobot(const CaptureRobot&) = delete;
  CaptureRobot& operator=(const CaptureRobot&) = delete;

  /// Adds a camera service and, with sound, an audio service.
  void attach(ZRBroker& broker) const;

private:
  class Services;

  const std::unique_ptr<Services> services;
};
}  // namespace ZR::Capture
