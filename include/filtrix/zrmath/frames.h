#pragma once

#include "filtrix/zrmath/transform.h"
#include "filtrix/zrmath/velocity6d.h"

#include <Eigen/Core>

namespace ZR::ZRMath
{
/// The same thing, written in another frame. `poseAB` is the pose of B in A; what is written in B comes out written in
/// A.
///
/// A point goes by `poseAB * pointB`, a pose of some C by `poseAB * poseBC`, a free vector by the rotation alone.
/// Source: R. Murray, Z. Li and S. Sastry, "A Mathematical Introduction to Robotic Manipulation", 1994, chapter 2.4.

/// A twist, by the adjoint: the turn rate is turned, and the linear part is that of the body's point at A's origin.
[[nodiscard]] Velocity6D changeFrame(const Transform& poseAB, const Velocity6D& twistB);

/// A motion, such as that of a body between two moments: poseAB * motion * poseAB^-1.
[[nodiscard]] Transform changeFrame(const Transform& poseAB, const Transform& motionB);

/// The adjoint as a matrix on (linear, angular), for what takes covariances along.
[[nodiscard]] Eigen::Matrix<double, 6, 6> adjoint(const Transform& poseAB);
}  // namespace ZR::ZRMath
