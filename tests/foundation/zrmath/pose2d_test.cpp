#include "foundation/zrmath/samples.h"

#include <utility>
#include <vector>

namespace ZR::ZRMath
{
namespace
{
Pose2D somePose(Samples& samples)
{
  return {samples.between(-5.0, 5.0), samples.between(-5.0, 5.0), samples.between(-20.0, 20.0)};
}
}  // namespace

TEST(Pose2D, IsATransformInThePlane)
{
  for (Samples samples; samples.next();)
  {
    const Pose2D a = somePose(samples);
    const Pose2D b = somePose(samples);
    const Position3D point = samples.position();
    EXPECT_TRUE(areNear((a * b).toTransform(), a.toTransform() * b.toTransform()));
    EXPECT_TRUE(areNear(a.inverse().toTransform(), a.toTransform().inverse()));
    EXPECT_TRUE(isNear(Pose2D::fromTransform(a.toTransform()), a, 0.0, 1e-15));

    const Position3D moved = a.toTransform() * point;
    EXPECT_TRUE(areNear(a * Position2D{point.x, point.y}, Position2D{moved.x, moved.y}));
    EXPECT_GT((a * b).getTheta(), -pi);
    EXPECT_LE((a * b).getTheta(), pi);
  }
}

// A quarter of a circle to the left, a metre in radius: halfway it is an eighth, not the middle of the chord.
TEST(Pose2D, IsInterpolatedAlongAnArc)
{
  const Pose2D halfway = interpolate(Pose2D(), Pose2D(1.0, 1.0, pi / 2), 0.5);
  EXPECT_TRUE(isNear(halfway, Pose2D(std::sin(pi / 4), 1.0 - std::cos(pi / 4), pi / 4), 1e-15, 1e-15));
}

TEST(Pose2D, IsNearAcrossTheSeamOfHeadings)
{
  EXPECT_TRUE(isNear(Pose2D(0.0, 0.0, pi - 0.01), Pose2D(0.0, 0.0, -pi + 0.01), 0.0, 0.03));
  EXPECT_FALSE(isNear(Pose2D(0.0, 0.0, pi - 0.01), Pose2D(0.0, 0.0, -pi + 0.01), 0.0, 0.01));
}

TEST(NormalizeAngle, KeepsToOneTurn)
{
  const std::vector<std::pair<double, double>> inAndOut = {{pi, pi},     {-pi, pi},     {std::nextafter(-pi, 0.0), -pi},
                                                           {3 * pi, pi}, {2 * pi, 0.0}, {-0.5 - 2 * pi, -0.5}};
  for (const auto& [in, out] : inAndOut)
    EXPECT_NEAR(normalizeAngle(in), out, 1e-15);
}
}  // namespace ZR::ZRMath
