#pragma once

#include "filtrix/zrmath/position3d.h"
#include "filtrix/zrmath/position6d.h"
#include "filtrix/zrmath/rotation.h"

#include <Eigen/Core>

namespace ZR::ZRMath
{
/// The pose of frame B in frame A: takes a point written in B to the same point written in A.
///     pointA = poseAB * pointB;      poseAC = poseAB * poseBC;
/// Metres and radians; x forward, y left, z up, right-handed. Also a motion: what moves A onto B.
class Transform final
{
public:
  /// No motion: both frames are one.
  Transform() = default;

  /// The translation is B's origin written in A, in metres; it is not checked, so NaN travels through.
  Transform(Rotation rotation, const Position3D& translation);

  /// Throws `std::invalid_argument` on numbers that are not finite.
  [[nodiscard]] static Transform fromPosition6D(const Position6D& pose);

  /// A homogeneous matrix: rotation and translation above the row 0 0 0 1, which is held to 1e-9. The rotation is
  /// mended like in `Rotation::fromMatrix`. Throws `std::invalid_argument` on any other matrix.
  [[nodiscard]] static Transform fromMatrix(const Eigen::Matrix4d& matrix);

  /// The angles are those of `Rotation::toRollPitchYaw`.
  [[nodiscard]] Position6D toPosition6D() const;

  [[nodiscard]] Eigen::Matrix4d toMatrix() const;

  [[nodiscard]] const Rotation& getRotation() const { return rotation; }

  [[nodiscard]] const Position3D& getTranslation() const { return translation; }

  [[nodiscard]] Transform inverse() const;

private:
  Rotation rotation;
  Position3D translation;
};

[[nodiscard]] Transform operator*(const Transform& poseAB, const Transform& poseBC);
[[nodiscard]] Position3D operator*(const Transform& poseAB, const Position3D& pointB);

/// How far two poses are apart. The parts stand side by side since metres and radians do not add up.
struct PoseDistance
{
  double metres = 0.0;
  double radians = 0.0;  ///< the smallest angle that turns one into the other, in [0, pi]
};

[[nodiscard]] PoseDistance distance(const Transform& a, const Transform& b);

/// True when both the places and the turns are near; NaN is near nothing.
[[nodiscard]] bool isNear(const Transform& a, const Transform& b, double toleranceMetres, double toleranceRadians);

/// From `a` (share 0) to `b` (share 1) along a screw: at a constant twist, the short way round; other shares go on
/// beyond them. The way is the same from whatever frame it is looked at; for a straight path of the origin interpolate
/// the translation and the rotation by themselves.
/// Throws `std::invalid_argument` on a share that is not finite.
[[nodiscard]] Transform interpolate(const Transform& a, const Transform& b, double share);
}  // namespace ZR::ZRMath
