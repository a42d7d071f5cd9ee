#include "foundation/zrmath/samples.h"

namespace ZR::ZRMath
{
struct Anchor
{
  const char* name;
  Rotation rotation;
  Position3D from;
  Position3D to;
};

class RotationAnchor : public testing::TestWithParam<Anchor>
{
};

TEST_P(RotationAnchor, Holds)
{
  const auto& [name, rotation, from, to] = GetParam();
  EXPECT_TRUE(areNear(rotation * from, to, 1e-15));
}

INSTANTIATE_TEST_SUITE_P(
    Conventions, RotationAnchor,
    testing::Values(
        Anchor{"PitchTakesForwardDown", Rotation::fromRollPitchYaw(0.0, pi / 2, 0.0), {1, 0, 0}, {0, 0, -1}},
        Anchor{"YawTakesForwardLeft", Rotation::fromRollPitchYaw(0.0, 0.0, pi / 2), {1, 0, 0}, {0, 1, 0}},
        Anchor{"RollTakesLeftUp", Rotation::fromRollPitchYaw(pi / 2, 0.0, 0.0), {0, 1, 0}, {0, 0, 1}},
        Anchor{"RollComesBeforePitch", Rotation::fromRollPitchYaw(pi / 2, pi / 2, 0.0), {0, 1, 0}, {1, 0, 0}},
        Anchor{"PitchComesBeforeYaw", Rotation::fromRollPitchYaw(0.0, pi / 2, pi / 2), {0, 0, 1}, {0, 1, 0}},
        Anchor{"AxisAngleIsRightHanded", Rotation::fromAxisAngle({0, 0, 7}, pi / 2), {1, 0, 0}, {0, 1, 0}},
        Anchor{"ThirdOfATurnAboutTheDiagonal", Rotation::fromAxisAngle({1, 1, 1}, 2 * pi / 3), {1, 0, 0}, {0, 1, 0}},
        Anchor{"QuaternionHasWFirst", Rotation::fromQuaternion({1, 0, 0, 1}), {1, 0, 0}, {0, 1, 0}}),
    [](const auto& row) { return std::string(row.param.name); });

// However close to straight up or down the angles must give the same rotation; away from there they are the same.
TEST(Rotation, ComesBackFromRollPitchYaw)
{
  for (Samples samples; samples.next();)
  {
    const double offPole = samples.between(0.0, 1.0) < 0.5 ? std::pow(10.0, samples.between(-20.0, -1.0)) : 0.3;
    const double pitch = std::copysign(pi / 2 - offPole, samples.between(-1.0, 1.0));
    const double roll = samples.between(-pi, pi);
    const double yaw = samples.between(-pi, pi);
    const Rotation r = Rotation::fromRollPitchYaw(roll, pitch, yaw);
    const RollPitchYaw back = r.toRollPitchYaw();
    EXPECT_LE(std::abs(back.pitch), pi / 2);
    EXPECT_TRUE(
        areNear(Rotation::fromRollPitchYaw(back.roll, back.pitch, back.yaw), r, offPole < 1e-11 ? 2e-12 : 1e-14));
    EXPECT_NEAR(back.roll, roll, offPole < 0.3 ? 2 * pi : 1e-13);
    EXPECT_NEAR(back.yaw, yaw, offPole < 0.3 ? 2 * pi : 1e-13);
  }
}

TEST(Rotation, TellsTheWholeTurnAsYawAtThePole)
{
  const auto up = Rotation::fromRollPitchYaw(0.4, -pi / 2, 1.0).toRollPitchYaw();
  EXPECT_EQ(up.roll, 0.0);
  EXPECT_NEAR(up.yaw, 1.4, 1e-15);
  const auto down = Rotation::fromRollPitchYaw(0.4, pi / 2, 1.0).toRollPitchYaw();
  EXPECT_EQ(down.roll, 0.0);
  EXPECT_NEAR(down.yaw, 0.6, 1e-15);
}

TEST(Rotation, ComesBackFromAxisAngle)
{
  for (Samples samples; samples.next();)
  {
    const Rotation r = samples.rotation();
    const auto [axis, angle] = r.toAxisAngle();
    EXPECT_NEAR(axis.norm(), 1.0, 1e-15);
    EXPECT_TRUE(areNear(Rotation::fromAxisAngle(axis * samples.between(0.1, 9.0), angle), r));
    EXPECT_TRUE(areNear(Rotation::fromAxisAngle(-axis, 4 * pi - angle), r));
  }
  EXPECT_EQ(Rotation().toAxisAngle().axis, (Position3D{1.0, 0.0, 0.0}));
  EXPECT_TRUE(areNear(Rotation::fromAxisAngle({0, 0, 1e-320}, 1.0), Rotation::aboutZ(1.0)));
  EXPECT_TRUE(areNear(Rotation::fromAxisAngle({0, 1e308, 0}, 1.0), Rotation::aboutY(1.0)));
}

// A rotation times a symmetric positive matrix: the polar decomposition must give back the rotation, not just one near.
TEST(Rotation, FromAMatrixIsTheNearestRotation)
{
  for (Samples samples; samples.next();)
  {
    const Rotation r = samples.rotation();
    const Eigen::Matrix3d noise = Eigen::Matrix3d::NullaryExpr([&samples] { return samples.between(-1e-4, 1e-4); });
    const Eigen::Matrix3d stretch = Eigen::Matrix3d::Identity() + noise + noise.transpose();
    const Rotation mended = Rotation::fromMatrix(r.getMatrix() * stretch);
    EXPECT_LT((mended.getMatrix() - r.getMatrix()).cwiseAbs().maxCoeff(), 1e-14);
  }
}
}  // namespace ZR::ZRMath
