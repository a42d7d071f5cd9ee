#include "foundation/zrmath/samples.h"

namespace ZR::ZRMath
{
TEST(Transform, IsAGroupThatActsOnPoints)
{
  for (Samples samples; samples.next();)
  {
    const Transform a = samples.transform();
    const Transform b = samples.transform();
    const Transform c = samples.transform();
    const Position3D point = samples.position();
    EXPECT_TRUE(areNear((a * b) * c, a * (b * c)));
    EXPECT_TRUE(areNear(a * Transform(), a));
    EXPECT_TRUE(areNear(a * a.inverse(), Transform()));
    EXPECT_TRUE(areNear((a * b) * point, a * (b * point)));

    const Eigen::Vector4d moved = a.toMatrix() * Eigen::Vector4d(point.x, point.y, point.z, 1.0);
    EXPECT_TRUE(areNear(Position3D{moved[0], moved[1], moved[2]}, a * point));
    EXPECT_EQ(moved[3], 1.0);
  }
}

TEST(Transform, ComesBackFromItsOtherForms)
{
  for (Samples samples; samples.next();)
  {
    const Transform pose = samples.transform();
    EXPECT_TRUE(areNear(Transform::fromMatrix(pose.toMatrix()), pose));
    EXPECT_TRUE(areNear(Transform::fromPosition6D(pose.toPosition6D()), pose));
  }
  const Position6D written{1.0, 2.0, 3.0, 0.1, 0.2, 0.3};
  const Transform expected(Rotation::aboutZ(0.3) * Rotation::aboutY(0.2) * Rotation::aboutX(0.1), {1.0, 2.0, 3.0});
  EXPECT_TRUE(areNear(Transform::fromPosition6D(written), expected));
}

TEST(Interpolate, MovesAlongAScrewSeenAlikeFromEveryFrame)
{
  for (Samples samples; samples.next();)
  {
    const Transform a = samples.transform();
    const Transform motion(exp(samples.velocity(samples.between(0.0, 3.0))), samples.position());
    const Transform b = a * motion;
    const Transform frame = samples.transform();
    const double share = samples.between(-1.0, 2.0);
    const Transform midway = interpolate(a, b, share);
    EXPECT_TRUE(areNear(interpolate(a, b, 0.0), a));
    EXPECT_TRUE(areNear(interpolate(a, b, 1.0), b));
    EXPECT_TRUE(areNear(interpolate(b, a, 1.0 - share), midway, 1e-12));
    EXPECT_TRUE(areNear(interpolate(frame * a, frame * b, share), frame * midway, 1e-12));
    EXPECT_TRUE(areNear(interpolate(a * frame, b * frame, share), midway * frame, 1e-12));
    // Equal steps: from each share the same motion leads on.
    const Transform step = interpolate(a, b, 0.3).inverse() * interpolate(a, b, 0.4);
    EXPECT_TRUE(areNear(midway.inverse() * interpolate(a, b, share + 0.1), step, 1e-12));
  }
}

TEST(Distance, TellsMetresAndRadiansApart)
{
  for (Samples samples; samples.next();)
  {
    const Transform a = samples.transform();
    const double angle = samples.angle();
    const Transform b(a.getRotation() * exp(samples.velocity(angle)), a * Position3D{0.0, 3.0, 4.0});
    EXPECT_NEAR(distance(a, b).metres, 5.0, 1e-14);
    EXPECT_NEAR(distance(a, b).radians, angle, 4e-15);
    EXPECT_TRUE(isNear(a, b, 5.1, angle + 1e-14));
    EXPECT_FALSE(isNear(a, b, 4.9, angle + 1e-14));
    EXPECT_FALSE(isNear(a, b, 5.1, angle * 0.9));
  }
  const Transform lost({}, {std::nan(""), 0.0, 0.0});
  EXPECT_FALSE(isNear(lost, lost, 1.0, 1.0));
}
}  // namespace ZR::ZRMath
