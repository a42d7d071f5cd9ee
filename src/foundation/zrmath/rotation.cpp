#include "filtrix/zrmath/rotation.h"

#include "filtrix/zrmath/exponential.h"
#include "foundation/zrmath/checks.h"
#include "foundation/zrmath/eigen.h"

#include <cmath>
#include <Eigen/Geometry>
#include <Eigen/SVD>
#include <fmt/format.h>
#include <stdexcept>

namespace ZR::ZRMath
{
namespace
{
// Below this cosine of the pitch, roll and yaw turn about one line as far as the matrix can tell.
constexpr double poleCosine = 1e-12;

// Turns about one of the axes, with an exact 0 and 1 where they belong.
Eigen::Matrix3d aboutAxis(const char* function, int axis, double radians)
{
  requireFinite(function, "angle", {radians});
  const int next = (axis + 1) % 3;
  const int last = (axis + 2) % 3;
  Eigen::Matrix3d matrix = Eigen::Matrix3d::Identity();
  matrix(next, next) = matrix(last, last) = std::cos(radians);
  matrix(last, next) = std::sin(radians);
  matrix(next, last) = -std::sin(radians);
  return matrix;
}

void requireRotation(const Eigen::Matrix3d& matrix)
{
  for (int row = 0; row < 3; ++row)
    requireFinite("Rotation::fromMatrix", fmt::format("row {}", row), {matrix(row, 0), matrix(row, 1), matrix(row, 2)});

  const Eigen::Matrix3d difference = matrix.transpose() * matrix - Eigen::Matrix3d::Identity();
  const double deviation = difference.cwiseAbs().maxCoeff();
  // Asked this way round, since the product of large entries may overflow to NaN.
  if (!(deviation <= Rotation::matrixTolerance))
    throw std::invalid_argument(
        fmt::format("Rotation::fromMatrix: M^T M is {:.4g} off the identity, expected a rotation, off by at most {:g}",
                    deviation, Rotation::matrixTolerance));
  if (matrix.determinant() < 0.0)
    throw std::invalid_argument("Rotation::fromMatrix: determinant is -1, a reflection; expected a rotation, with +1");
}
}  // namespace

Rotation Rotation::aboutX(double radians)
{
  return Rotation(aboutAxis("Rotation::aboutX", 0, radians));
}

Rotation Rotation::aboutY(double radians)
{
  return Rotation(aboutAxis("Rotation::aboutY", 1, radians));
}

Rotation Rotation::aboutZ(double radians)
{
  return Rotation(aboutAxis("Rotation::aboutZ", 2, radians));
}

Rotation Rotation::fromAxisAngle(const Position3D& axis, double angleRadians)
{
  requireFinite("Rotation::fromAxisAngle", "axis", {axis.x, axis.y, axis.z});
  requireFinite("Rotation::fromAxisAngle", "angle", {angleRadians});
  const double length = axis.norm();
  if (length == 0.0)
    throw std::invalid_argument("Rotation::fromAxisAngle: axis is (0, 0, 0), expected a length above zero");

  const Position3D unit = axis / length;
  const double sine = std::sin(angleRadians / 2.0);
  return fromQuaternion({std::cos(angleRadians / 2.0), sine * unit.x, sine * unit.y, sine * unit.z});
}

Rotation Rotation::fromRollPitchYaw(double rollRadians, double pitchRadians, double yawRadians)
{
  requireFinite("Rotation::fromRollPitchYaw", "(roll, pitch, yaw)", {rollRadians, pitchRadians, yawRadians});
  return aboutZ(yawRadians) * aboutY(pitchRadians) * aboutX(rollRadians);
}

Rotation Rotation::fromQuaternion(const Quaternion& q)
{
  return Rotation(Eigen::Quaterniond(q.getW(), q.getX(), q.getY(), q.getZ()).toRotationMatrix());
}

Rotation Rotation::fromMatrix(const Eigen::Matrix3d& matrix)
{
  requireRotation(matrix);
  const Eigen::JacobiSVD<Eigen::Matrix3d> svd(matrix, Eigen::ComputeFullU | Eigen::ComputeFullV);
  return Rotation(svd.matrixU() * svd.matrixV().transpose());
}

AxisAngle Rotation::toAxisAngle() const
{
  const Velocity3D turn = log(*this);
  const double angle = turn.norm();
  if (angle == 0.0)
    return {{1.0, 0.0, 0.0}, 0.0};
  return {{turn.x / angle, turn.y / angle, turn.z / angle}, angle};
}

RollPitchYaw Rotation::toRollPitchYaw() const
{
  const Eigen::Matrix3d& m = matrix;
  const double cosine = std::hypot(m(2, 1), m(2, 2));
  const double roll = cosine < poleCosine ? 0.0 : std::atan2(m(2, 1), m(2, 2));
  const double pitch = std::atan2(0.0 - m(2, 0), cosine);  // a minus sign would tell a level pose as -0

  // With the roll undone, the middle column is that of the yaw alone, whose length is one even at the pole.
  const double s = std::sin(roll);
  const double c = std::cos(roll);
  const double yaw = std::atan2(s * m(0, 2) - c * m(0, 1), c * m(1, 1) - s * m(1, 2));
  return {roll, pitch, yaw};
}

Quaternion Rotation::toQuaternion() const
{
  const Eigen::Quaterniond q(matrix);
  return Quaternion(q.w(), q.x(), q.y(), q.z()).canonical();
}

Rotation Rotation::inverse() const
{
  return Rotation(matrix.transpose());
}

Rotation operator*(const Rotation& rotationAB, const Rotation& rotationBC)
{
  return Rotation(rotationAB.matrix * rotationBC.matrix);
}

Position3D operator*(const Rotation& rotationAB, const Position3D& pointB)
{
  return toPosition(rotationAB.getMatrix() * toEigen(pointB));
}

Velocity3D operator*(const Rotation& rotationAB, const Velocity3D& velocityB)
{
  return toVelocity(rotationAB.getMatrix() * toEigen(velocityB));
}

double angleBetween(const Rotation& a, const Rotation& b)
{
  return log(a.inverse() * b).norm();
}

bool isNear(const Rotation& a, const Rotation& b, double toleranceRadians)
{
  return angleBetween(a, b) <= toleranceRadians;
}

Rotation interpolate(const Rotation& a, const Rotation& b, double share)
{
  requireFinite("interpolate", "share", {share});
  return a * exp(log(a.inverse() * b) * share);
}
}  // namespace ZR::ZRMath
