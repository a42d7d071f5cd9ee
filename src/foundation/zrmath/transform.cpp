#include "filtrix/zrmath/transform.h"

#include "filtrix/zrmath/exponential.h"
#include "foundation/zrmath/checks.h"
#include "foundation/zrmath/eigen.h"

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

namespace ZR::ZRMath
{
namespace
{
constexpr double bottomRowTolerance = 1e-9;

void requireHomogeneous(const Eigen::Matrix4d& m)
{
  requireFinite("Transform::fromMatrix", "translation", {m(0, 3), m(1, 3), m(2, 3)});
  const Eigen::RowVector4d expected(0.0, 0.0, 0.0, 1.0);
  if (!((m.row(3) - expected).cwiseAbs().maxCoeff() <= bottomRowTolerance))
    throw std::invalid_argument(fmt::format("Transform::fromMatrix: row 3 is ({}, {}, {}, {}), expected (0, 0, 0, 1)",
                                            m(3, 0), m(3, 1), m(3, 2), m(3, 3)));
}
}  // namespace

Transform::Transform(Rotation rotation_, const Position3D& translation_)
    : rotation(std::move(rotation_)), translation(translation_)
{
}

Transform Transform::fromPosition6D(const Position6D& pose)
{
  requireFinite("Transform::fromPosition6D", "(x, y, z)", {pose.x, pose.y, pose.z});
  requireFinite("Transform::fromPosition6D", "(wx, wy, wz)", {pose.wx, pose.wy, pose.wz});
  return {Rotation::fromRollPitchYaw(pose.wx, pose.wy, pose.wz), {pose.x, pose.y, pose.z}};
}

Transform Transform::fromMatrix(const Eigen::Matrix4d& matrix)
{
  requireHomogeneous(matrix);
  return {Rotation::fromMatrix(matrix.topLeftCorner<3, 3>()), toPosition(matrix.topRightCorner<3, 1>())};
}

Position6D Transform::toPosition6D() const
{
  const RollPitchYaw turn = rotation.toRollPitchYaw();
  return {translation.x, translation.y, translation.z, turn.roll, turn.pitch, turn.yaw};
}

Eigen::Matrix4d Transform::toMatrix() const
{
  Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
  matrix.topLeftCorner<3, 3>() = rotation.getMatrix();
  matrix.topRightCorner<3, 1>() = toEigen(translation);
  return matrix;
}

Transform Transform::inverse() const
{
  const Rotation back = rotation.inverse();
  return {back, back * -translation};
}

Transform operator*(const Transform& poseAB, const Transform& poseBC)
{
  return {poseAB.getRotation() * poseBC.getRotation(), poseAB * poseBC.getTranslation()};
}

Position3D operator*(const Transform& poseAB, const Position3D& pointB)
{
  return poseAB.getRotation() * pointB + poseAB.getTranslation();
}

PoseDistance distance(const Transform& a, const Transform& b)
{
  return {distance(a.getTranslation(), b.getTranslation()), angleBetween(a.getRotation(), b.getRotation())};
}

bool isNear(const Transform& a, const Transform& b, double toleranceMetres, double toleranceRadians)
{
  const PoseDistance apart = distance(a, b);
  return apart.metres <= toleranceMetres && apart.radians <= toleranceRadians;
}

Transform interpolate(const Transform& a, const Transform& b, double share)
{
  requireFinite("interpolate", "share", {share});
  return a * exp(log(a.inverse() * b) * share);
}
}  // namespace ZR::ZRMath
