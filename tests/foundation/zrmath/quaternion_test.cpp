#include "foundation/zrmath/samples.h"

namespace ZR::ZRMath
{
TEST(Quaternion, MultipliesByHamiltonsRule)
{
  const Quaternion i(0.0, 1.0, 0.0, 0.0);
  const Quaternion j(0.0, 0.0, 1.0, 0.0);
  EXPECT_EQ((i * j).getZ(), 1.0);
  EXPECT_EQ((j * i).getZ(), -1.0);
}

TEST(Quaternion, IsBroughtToLengthOneFromAnyScale)
{
  for (const double scale : {1e-320, 1e-200, 1e200, 4e307})
    EXPECT_NEAR(Quaternion(scale, -scale, scale, scale).dot({0.5, -0.5, 0.5, 0.5}), 1.0, 1e-15) << scale;
}

TEST(Quaternion, ActsLikeItsRotation)
{
  for (Samples samples; samples.next();)
  {
    const Rotation a = samples.rotation();
    const Rotation b = samples.rotation();
    const Quaternion p = a.toQuaternion();
    const Quaternion q = -b.toQuaternion();  // the sign must not matter
    const Position3D point = samples.position();
    EXPECT_GE(p.getW(), 0.0);
    EXPECT_TRUE(areNear(Rotation::fromQuaternion(q), b));
    EXPECT_TRUE(areNear(Rotation::fromQuaternion(p * q), a * b));
    EXPECT_TRUE(areNear(p * point, a * point));
    EXPECT_TRUE(areNear(q.inverse() * (q * point), point));
    EXPECT_NEAR(angleBetween(p, q), angleBetween(a, b), 1e-14);
    EXPECT_TRUE(isNear(q, -q, 1e-15));
    EXPECT_FALSE(isNear(p, p * q, 0.9 * angleBetween(Rotation(), b)));
  }
}

TEST(Slerp, TurnsTheShortWayAtConstantRate)
{
  for (Samples samples; samples.next();)
  {
    const Rotation a = samples.rotation();
    const Rotation b = a * exp(samples.velocity(std::min(samples.angle(), pi - 1e-6)));
    const double share = samples.between(-0.5, 1.5);
    const Quaternion p = a.toQuaternion();
    const Quaternion q = b.toQuaternion();
    EXPECT_TRUE(isNear(slerp(p, q, 0.0), p, 1e-15));
    EXPECT_TRUE(isNear(slerp(p, q, 1.0), q, 1e-15));
    EXPECT_NEAR(angleBetween(p, slerp(p, q, share / 2.0)), std::abs(share / 2.0) * angleBetween(p, q), 1e-14);
    // Two ways of reckoning the same path.
    EXPECT_TRUE(areNear(Rotation::fromQuaternion(slerp(p, q, share)), interpolate(a, b, share), 1e-8));
    EXPECT_TRUE(areNear(Rotation::fromQuaternion(slerp(p, -q, share)), interpolate(a, b, share), 1e-8));
  }
}
}  // namespace ZR::ZRMath
