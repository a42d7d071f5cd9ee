#include "filtrix/zrmath/frames.h"

#include "foundation/zrmath/eigen.h"

namespace ZR::ZRMath
{
Velocity6D changeFrame(const Transform& poseAB, const Velocity6D& twistB)
{
  const Rotation& rotation = poseAB.getRotation();
  const Position3D& origin = poseAB.getTranslation();
  const Velocity3D angular = rotation * twistB.angular;
  const Velocity3D lever = Velocity3D{origin.x, origin.y, origin.z}.cross(angular);
  return {rotation * twistB.linear + lever, angular};
}

Transform changeFrame(const Transform& poseAB, const Transform& motionB)
{
  return poseAB * motionB * poseAB.inverse();
}

Eigen::Matrix<double, 6, 6> adjoint(const Transform& poseAB)
{
  const Eigen::Matrix3d& rotation = poseAB.getRotation().getMatrix();
  const Position3D& p = poseAB.getTranslation();
  Eigen::Matrix3d cross;
  cross << 0.0, -p.z, p.y, p.z, 0.0, -p.x, -p.y, p.x, 0.0;

  Eigen::Matrix<double, 6, 6> matrix = Eigen::Matrix<double, 6, 6>::Zero();
  matrix.topLeftCorner<3, 3>() = rotation;
  matrix.topRightCorner<3, 3>() = cross * rotation;
  matrix.bottomRightCorner<3, 3>() = rotation;
  return matrix;
}
}  // namespace ZR::ZRMath
