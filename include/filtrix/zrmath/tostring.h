#pragma once

#include <string>

namespace ZR::ZRMath
{
struct Position2D;
struct Position3D;
struct Position6D;
struct Velocity3D;
struct Velocity6D;
class Pose2D;
class Quaternion;
class Rotation;
class Transform;

/// For logs and messages: the type and its named numbers, each in the fewest digits that read back to the same one.
///     Pose2D(x=1.5, y=0, theta=0.25)
/// Turns are told as roll, pitch and yaw, quaternions by their members. The locale plays no part.
[[nodiscard]] std::string toString(const Position2D& position);
[[nodiscard]] std::string toString(const Position3D& position);
[[nodiscard]] std::string toString(const Position6D& pose);
[[nodiscard]] std::string toString(const Velocity3D& velocity);
[[nodiscard]] std::string toString(const Velocity6D& twist);
[[nodiscard]] std::string toString(const Pose2D& pose);
[[nodiscard]] std::string toString(const Quaternion& q);
[[nodiscard]] std::string toString(const Rotation& rotation);
[[nodiscard]] std::string toString(const Transform& pose);
}  // namespace ZR::ZRMath
