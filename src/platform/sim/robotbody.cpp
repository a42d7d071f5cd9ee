#include "platform/sim/robotbody.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace ZR::Sim
{
namespace
{
using ZRMath::Transform;

constexpr int structuredLight = 4;

Transform pose(double x, double y, double z, double pitch, double yaw)
{
  return Transform::fromPosition6D({x, y, z, 0.0, pitch, yaw});
}

const Transform& torsoInRobot()
{
  static const Transform torso = pose(0.0, 0.0, 0.85, 0.0, 0.0);
  return torso;
}

// Of the cameras in the head, whose own frame is at its joint.
Transform cameraInHead(int camera)
{
  constexpr double radians = 0.017453292519943295;
  switch (camera)
  {
  case Camera::bottom:
    return pose(0.05, 0.0, 0.04, 39.7 * radians, 0.0);
  case Camera::depth:
    return pose(0.06, 0.0, 0.09, 0.0, 0.0);
  case Camera::stereo:
    return pose(0.06, 0.5 * stereoBaseline, 0.10, 0.0, 0.0);
  default:
    return pose(0.06, 0.0, 0.12, 0.0, 0.0);
  }
}

struct SensorName
{
  const char* name;
  int camera;
};

const std::vector<SensorName>& sensors(const Scene& scene)
{
  static const std::vector<SensorName> depthHead{
      {"CameraTop", Camera::top}, {"CameraBottom", Camera::bottom}, {"CameraDepth", Camera::depth}};
  static const std::vector<SensorName> stereoHead{{"CameraLeft", Camera::stereo}};
  return scene.model == structuredLight ? depthHead : stereoHead;
}
}  // namespace

HeadPose headPoseAt(const Scene& scene, double time)
{
  const auto& poses = scene.head;
  const auto after = std::ranges::find_if(poses, [time](const HeadPose& head) { return head.time > time; });
  if (after == poses.begin())
    return poses.front();
  if (after == poses.end())
    return poses.back();
  const HeadPose& before = *std::prev(after);
  const auto share = static_cast<float>((time - before.time) / (after->time - before.time));
  return {time, before.pan + (after->pan - before.pan) * share, before.tilt + (after->tilt - before.tilt) * share};
}

Transform cameraPose(const Scene& scene, int camera, MotionFrame frame, double time)
{
  const HeadPose head = headPoseAt(scene, time);
  // On a stereo head every picture is of the left eye, but for the lower camera's.
  const bool isLeftEye = scene.model != structuredLight && camera != Camera::bottom;
  const Transform camInTorso = pose(0.0, 0.0, 0.20, static_cast<double>(head.tilt), static_cast<double>(head.pan)) *
                               cameraInHead(isLeftEye ? Camera::stereo : camera);
  return frame == MotionFrame::Torso ? camInTorso : torsoInRobot() * camInTorso;
}

ViewAngles viewAngles(int camera, int width, int height)
{
  ViewAngles angles;
  if (camera == Camera::depth)
    angles = {0.50615F, 0.3927F, -0.50615F, -0.3927F};
  const float square = std::tan(angles.left) * static_cast<float>(height) / static_cast<float>(std::max(width, 1));
  const float up = std::min(angles.top, std::atan(square));
  angles.top = up;
  angles.bottom = -up;
  return angles;
}

std::vector<std::string> sensorNames(const Scene& scene)
{
  std::vector<std::string> names;
  for (const SensorName& sensor : sensors(scene))
    names.emplace_back(sensor.name);
  return names;
}

int cameraOfSensor(const Scene& scene, const std::string& sensor)
{
  for (const SensorName& known : sensors(scene))
  {
    if (known.name == sensor)
      return known.camera;
  }
  throw std::invalid_argument(
      fmt::format("no sensor \"{}\", expected one of {}", sensor, fmt::join(sensorNames(scene), ", ")));
}
}  // namespace ZR::Sim
