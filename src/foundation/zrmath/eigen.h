#pragma once

#include "filtrix/zrmath/position3d.h"
#include "filtrix/zrmath/velocity3d.h"

#include <Eigen/Core>

namespace ZR::ZRMath
{
/// Between our vectors and Eigen's, for the matrix products inside this folder.
[[nodiscard]] inline Eigen::Vector3d toEigen(const Position3D& p)
{
  return {p.x, p.y, p.z};
}

[[nodiscard]] inline Eigen::Vector3d toEigen(const Velocity3D& v)
{
  return {v.x, v.y, v.z};
}

[[nodiscard]] inline Position3D toPosition(const Eigen::Vector3d& v)
{
  return {v.x(), v.y(), v.z()};
}

[[nodiscard]] inline Velocity3D toVelocity(const Eigen::Vector3d& v)
{
  return {v.x(), v.y(), v.z()};
}
}  // namespace ZR::ZRMath
