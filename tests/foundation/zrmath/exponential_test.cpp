#include "foundation/zrmath/samples.h"

#include <array>

namespace ZR::ZRMath
{
namespace
{
using Matrix4l = Eigen::Matrix<long double, 4, 4>;

// The definition, summed term by term in more digits than the code under test has.
Eigen::Matrix4d powerSeries(const Velocity6D& twist)
{
  const auto& [v, w] = twist;
  Eigen::Matrix4d generator;
  generator << 0.0, -w.z, w.y, v.x, w.z, 0.0, -w.x, v.y, -w.y, w.x, 0.0, v.z, 0.0, 0.0, 0.0, 0.0;
  Matrix4l term = Matrix4l::Identity();
  Matrix4l sum = term;
  for (int n = 1; n < 50; ++n)
  {
    term = term * generator.cast<long double>() / static_cast<long double>(n);
    sum += term;
  }
  return sum.cast<double>();
}

Velocity6D twistOf(Samples& samples, double angle)
{
  return {samples.velocity(samples.between(0.0, 5.0)), samples.velocity(angle)};
}
}  // namespace

class ExponentialAtAngle : public testing::TestWithParam<double>
{
};

TEST_P(ExponentialAtAngle, IsThePowerSeriesAndUndoneByTheLogarithm)
{
  for (Samples samples; samples.next();)
  {
    const Velocity6D twist = twistOf(samples, GetParam());
    const Eigen::Matrix4d difference = exp(twist).toMatrix() - powerSeries(twist);
    EXPECT_LT(difference.cwiseAbs().maxCoeff(), 1e-14) << toString(twist);

    const Velocity6D back = log(exp(twist));
    EXPECT_TRUE(areNear(back.angular, twist.angular, 4e-15 * GetParam()));
    EXPECT_TRUE(areNear(back.linear, twist.linear));
  }
}

INSTANTIATE_TEST_SUITE_P(Angles, ExponentialAtAngle,
                         testing::Values(0.0, 1e-12, 1e-8, 1e-4, 0.1, 1.0, 2.0, 3.0, pi - 1e-4, pi - 1e-9));

TEST(Logarithm, IsUndoneByTheExponential)
{
  const std::array halfTurns = {0.0, pi, 2.0 * pi, 3.0 * pi};
  for (Samples samples; samples.next();)
  {
    const double angle = samples.angle() + halfTurns[static_cast<std::size_t>(samples.between(0.0, 4.0))];
    for (const Transform& pose : {samples.transform(), exp(twistOf(samples, angle))})
    {
      EXPECT_TRUE(areNear(exp(log(pose)), pose));
      EXPECT_LE(log(pose).angular.norm(), pi);
    }
  }
  for (const Rotation& half : {Rotation::aboutX(pi), Rotation::aboutY(-pi), Rotation::aboutZ(pi)})
    EXPECT_TRUE(areNear(exp(log(half)), half));
}

TEST(Exponential, OfOneTwistAddsUpOverTime)
{
  for (Samples samples; samples.next();)
  {
    const Velocity6D twist = twistOf(samples, samples.angle());
    const double s = samples.between(-2.0, 2.0);
    const double t = samples.between(-2.0, 2.0);
    EXPECT_TRUE(areNear(exp(twist * s) * exp(twist * t), exp(twist * (s + t))));
  }
}

// Forward at pi metres per second and turning left at pi radians per second: half a circle with a radius of a metre.
TEST(Exponential, DrivesHalfACircle)
{
  const Transform end = exp(Velocity6D{{pi, 0.0, 0.0}, {0.0, 0.0, pi}});
  EXPECT_TRUE(areNear(end, {Rotation::aboutZ(pi), {0.0, 2.0, 0.0}}));
}

TEST(ChangeFrame, OfATwistIsTheTwistOfTheChangedMotion)
{
  for (Samples samples; samples.next();)
  {
    const Transform poseAB = samples.transform();
    const Velocity6D twistB = twistOf(samples, samples.between(0.0, pi - 0.1));
    const Velocity6D twistA = changeFrame(poseAB, twistB);
    const Velocity6D expected = log(poseAB * exp(twistB) * poseAB.inverse());
    EXPECT_TRUE(areNear(twistA.angular, expected.angular, 1e-12));
    EXPECT_TRUE(areNear(twistA.linear, expected.linear, 1e-12));
    EXPECT_TRUE(areNear(changeFrame(poseAB, exp(twistB)), exp(twistA)));

    Eigen::Vector<double, 6> column;
    column << twistB.linear.x, twistB.linear.y, twistB.linear.z, twistB.angular.x, twistB.angular.y, twistB.angular.z;
    column = adjoint(poseAB) * column;
    EXPECT_TRUE(areNear({column[0], column[1], column[2]}, twistA.linear));
    EXPECT_TRUE(areNear({column[3], column[4], column[5]}, twistA.angular));
  }
}
}  // namespace ZR::ZRMath
