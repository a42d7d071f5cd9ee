#include "foundation/zrmath/samples.h"

#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

namespace ZR::ZRMath
{
TEST(ZRMath, RefusesBadInputSayingWhatWasExpectedAndWhatCame)
{
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const Eigen::Matrix3d identity = Eigen::Matrix3d::Identity();
  const Eigen::Matrix4d perspective = Eigen::Vector4d(1.0, 1.0, 1.0, 2.0).asDiagonal();
  const std::vector<std::pair<std::function<void()>, const char*>> cases = {
      {[] { std::ignore = normalizeAngle(-infinity); }, "normalizeAngle: angle is -inf, expected a finite number"},
      {[] { std::ignore = Rotation::fromAxisAngle({}, 1.0); },
       "Rotation::fromAxisAngle: axis is (0, 0, 0), expected a length above zero"},
      {[] { std::ignore = Quaternion(0.0, 0.0, 0.0, 0.0); },
       "Quaternion: (w, x, y, z) is (0, 0, 0, 0), expected a length above zero"},
      {[=] { std::ignore = Rotation::fromMatrix(identity * 2.0); },
       "Rotation::fromMatrix: M^T M is 3 off the identity, expected a rotation, off by at most 0.001"},
      {[=] { std::ignore = Rotation::fromMatrix(-identity); },
       "Rotation::fromMatrix: determinant is -1, a reflection; expected a rotation, with +1"},
      {[=] { std::ignore = Rotation::fromMatrix(identity * nan); },
       "Rotation::fromMatrix: row 0 is (nan, nan, nan), expected finite numbers"},
      {[=] { std::ignore = Transform::fromMatrix(perspective); },
       "Transform::fromMatrix: row 3 is (0, 0, 0, 2), expected (0, 0, 0, 1)"},
      {[] { std::ignore = Transform::fromPosition6D({.wy = nan}); },
       "Transform::fromPosition6D: (wx, wy, wz) is (0, nan, 0), expected finite numbers"},
      {[] { std::ignore = exp(Velocity6D{.angular = {.x = infinity}}); },
       "exp: angular velocity is (inf, 0, 0), expected finite numbers"},
      {[] { std::ignore = interpolate(Transform(), Transform(), nan); },
       "interpolate: share is nan, expected a finite number"},
  };
  for (const auto& [call, text] : cases)
    EXPECT_THAT(call, testing::ThrowsMessage<std::invalid_argument>(testing::StrEq(text)));
}

TEST(Position3D, HasARightHandedCrossProductAndALengthThatDoesNotOverflow)
{
  EXPECT_EQ((Position3D{1, 0, 0}.cross({0, 1, 0})), (Position3D{0, 0, 1}));
  EXPECT_DOUBLE_EQ((Position3D{3e200, 4e200, 0.0}).norm(), 5e200);
  for (Samples samples; samples.next();)
  {
    const Position3D a = samples.position();
    const Position3D b = samples.position();
    const Rotation r = samples.rotation();
    EXPECT_TRUE(areNear((r * a).cross(r * b), r * a.cross(b)));
  }
}

TEST(ToString, NamesTheTypeAndItsNumbers)
{
  EXPECT_EQ(toString(Pose2D(1.5, 0.0, 0.25)), "Pose2D(x=1.5, y=0, theta=0.25)");
  EXPECT_EQ(toString(Transform(Rotation::aboutZ(0.5), {1.0, 2.0, -3.0})),
            "Transform(x=1, y=2, z=-3, roll=0, pitch=0, yaw=0.5)");
  EXPECT_EQ(toString(Velocity6D{{1, 2, 3}, {4, 5, 6}}), "Velocity6D(x=1, y=2, z=3, wx=4, wy=5, wz=6)");
}
}  // namespace ZR::ZRMath
