#pragma once

#include "filtrix/zrimage.h"
#include "filtrix/zrmath/transform.h"
#include "platform/motionservice.h"
#include "platform/sim/scene.h"

#include <string>
#include <vector>

/// The simulated robot's body: where its cameras are, and how they see. It stands on the world's origin and turns its
/// head; the torso is 0.85 m above the ground, and the head's cameras about 1.15 m.
namespace ZR::Sim
{
/// The camera service's numbers.
namespace Camera
{
inline constexpr int top = 0;
inline constexpr int bottom = 1;
inline constexpr int depth = 2;
inline constexpr int stereo = 3;
}  // namespace Camera

/// Metres between the eyes of the stereo camera; the right one is that much to the right of the left one.
inline constexpr double stereoBaseline = 0.06;

/// The pose of the head at a moment of the scene.
[[nodiscard]] HeadPose headPoseAt(const Scene& scene, double time);

/// A camera in a frame. Of the stereo camera the left eye.
[[nodiscard]] ZRMath::Transform cameraPose(const Scene& scene, int camera, MotionFrame frame, double time);

/// How a camera sees in a picture of this shape: the full view for pictures of four by three, less height for wide
/// ones.
[[nodiscard]] ViewAngles viewAngles(int camera, int width, int height);

/// "CameraTop", "CameraBottom" and "CameraDepth", or on a stereo head "CameraLeft".
[[nodiscard]] std::vector<std::string> sensorNames(const Scene& scene);

/// The camera of a sensor. Throws std::invalid_argument when there is none of this name.
[[nodiscard]] int cameraOfSensor(const Scene& scene, const std::string& sensor);
}  // namespace ZR::Sim
