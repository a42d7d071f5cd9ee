#pragma once

/// Rigid-body math: where things are, how they are turned and how they move. All numbers are 64-bit floats.
///
/// Conventions, the same for every type:
///
///     frames      right-handed; x forward, y left, z up
///     units       metres, radians, seconds
///     poses       the pose of frame B in frame A takes a point written in B to the same point written in A:
///                     pointA = poseAB * pointB;      poseAC = poseAB * poseBC;
///     angles      positive by the right-hand rule: yaw turns x to y, pitch turns z to x, roll turns y to z,
///                 so looking down is a positive pitch
///     roll, pitch, yaw
///                 R = Rz(yaw) * Ry(pitch) * Rx(roll)
///     quaternion  unit, Hamilton's product, w first
///     twist       linear part first, then angular
///
/// | Header          | Holds                                                                              |
/// |-----------------|------------------------------------------------------------------------------------|
/// | `angle.h`       | one angle: its range, degrees                                                      |
/// | `linearspace.h` | the operators that positions and velocities share                                  |
/// | `position2d.h`, `position3d.h`, `velocity3d.h`, `velocity6d.h` | plain vectors and the twist         |
/// | `position6d.h`  | a pose as six numbers, as a person writes it                                       |
/// | `pose2d.h`      | a pose on the ground                                                               |
/// | `quaternion.h`, `rotation.h` | a turn in space, as four numbers or as a matrix                       |
/// | `transform.h`   | a pose in space                                                                    |
/// | `exponential.h` | from velocities to motions and back                                                |
/// | `frames.h`      | the same velocity or motion, written in another frame                              |
/// | `tostring.h`    | every type as text                                                                 |
///
/// Plain vectors take any number, and NaN travels through them. What must be a turn or an angle is checked where it
/// enters: `std::invalid_argument` tells what was expected and what came.
/// Only `rotation.h`, `transform.h` and `frames.h` bring in Eigen, and of it only its core.

#include "filtrix/zrmath/angle.h"
#include "filtrix/zrmath/exponential.h"
#include "filtrix/zrmath/frames.h"
#include "filtrix/zrmath/linearspace.h"
#include "filtrix/zrmath/pose2d.h"
#include "filtrix/zrmath/position2d.h"
#include "filtrix/zrmath/position3d.h"
#include "filtrix/zrmath/position6d.h"
#include "filtrix/zrmath/quaternion.h"
#include "filtrix/zrmath/rotation.h"
#include "filtrix/zrmath/tostring.h"
#include "filtrix/zrmath/transform.h"
#include "filtrix/zrmath/velocity3d.h"
#include "filtrix/zrmath/velocity6d.h"
