#pragma once

#include "filtrix/zrmath/velocity3d.h"
#include "filtrix/zrmath/velocity6d.h"

namespace ZR::ZRMath
{
class Rotation;
class Transform;

/// From velocities to motions and back: `exp` is the motion done in one second of a velocity that holds still in the
/// moving body, `log` the velocity that does a motion in one second.
///
///     pose = pose * exp(twist * seconds);                       // dead reckoning, the twist in the body's frame,
///     twist = log(poseBefore.inverse() * poseAfter) / seconds;  // and its undoing
///
/// `log(exp(v))` is v up to half a turn, from where `log` gives the shorter way back. Both are good to about 1e-15 of
/// the result, for turns of 1e-12 as well as next to pi; at pi itself, where two axes serve, `log` gives either of
/// them.
///
/// `exp` throws `std::invalid_argument` on numbers that are not finite.
///
/// Sources: R. Murray, Z. Li and S. Sastry, "A Mathematical Introduction to Robotic Manipulation", 1994, chapter 2;
/// J.-L. Blanco, "A tutorial on SE(3) transformation parameterizations and on-manifold optimization", 2010;
/// J. Sola, J. Deray and D. Atchuthan, "A micro Lie theory for state estimation in robotics", 2018.
[[nodiscard]] Rotation exp(const Velocity3D& angularVelocity);
[[nodiscard]] Velocity3D log(const Rotation& rotation);

[[nodiscard]] Transform exp(const Velocity6D& twist);
[[nodiscard]] Velocity6D log(const Transform& motion);
}  // namespace ZR::ZRMath
