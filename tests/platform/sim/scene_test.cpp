// The language of scenes, and what actors come to in it.

#include "filtrix/ku/path.h"
#include "platform/sim/actormotion.h"
#include "platform/sim/scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

namespace ZR::Sim
{
namespace
{
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string errorOf(const std::string& text)
{
  try
  {
    static_cast<void>(parseScene(text, "a.scene"));
  }
  catch (const SceneError& error)
  {
    return error.what();
  }
  return "no error";
}

struct Fault
{
  const char* name;
  const char* text;
  const char* place;
  const char* says;
};

class SceneFault : public testing::TestWithParam<Fault>
{
};

TEST_P(SceneFault, IsToldWithItsPlace)
{
  const std::string error = errorOf(GetParam().text);
  EXPECT_THAT(error, StartsWith(GetParam().place));
  EXPECT_THAT(error, HasSubstr(GetParam().says));
}

INSTANTIATE_TEST_SUITE_P(
    Scene, SceneFault,
    testing::Values(
        Fault{"Nothing", "", "a.scene:1: ", "expected \"filtrix-scene 1\", got the end of the file"},
        Fault{"OtherFile", "# a comment\nprocess p", "a.scene:2: ", "expected \"filtrix-scene 1\", got \"process\""},
        Fault{"OtherVersion", "filtrix-scene 2", "a.scene:1: ", "got \"2\""},
        Fault{"OtherWord", "filtrix-scene 1\nroof 3", "a.scene:2: ", "got \"roof\""},
        Fault{"NoNumber", "filtrix-scene 1\nduration long", "a.scene:2: ", "seconds, a number from 0.1"},
        Fault{"NotFinite", "filtrix-scene 1\nduration nan", "a.scene:2: ", "got \"nan\""},
        Fault{"TooMany", "filtrix-scene 1\nseed 1 2", "a.scene:2: ", "expected the end of the line, got \"2\""},
        Fault{"TooFew", "filtrix-scene 1\nbox 1 2", "a.scene:2: ", "got the end of the line"},
        Fault{"NoColor", "filtrix-scene 1\nperson a shirt #12345g", "a.scene:2: ", "or #rrggbb"},
        Fault{"NobodyThere", "filtrix-scene 1\nat 0 place 1 1", "a.scene:2: ", "a person or a pet before what it does"},
        Fault{"NoPlace", "filtrix-scene 1\nperson a\nat 0 sit", "a.scene:3: ", "\"place\" as the first"},
        Fault{"TimeBack", "filtrix-scene 1\nperson a\nat 2 place 1 1\nat 1 sit", "a.scene:4: ", "not before"},
        Fault{"Twice", "filtrix-scene 1\nperson a\npet a", "a.scene:3: ", "a name that is not taken"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Scenes, OfTheDataFilesCanBeRead)
{
  const auto names = sceneNames();
  EXPECT_GE(names.size(), 12U);
  for (const std::string& name : names)
  {
    const Scene scene = loadScene(name);
    EXPECT_FALSE(scene.title.empty()) << name;
  }
  EXPECT_THROW(static_cast<void>(loadScene("nowhere")), SceneError);
  EXPECT_THROW(static_cast<void>(loadScene("../scenes/empty")), SceneError);
}

TEST(Scenes, KnowColorsCommentsAndSeveralActionsALine)
{
  const Scene scene =
      parseScene("filtrix-scene 1  # so\nperson a shirt #ff8000 # orange\nat 1 place 2 1 face robot sit\n", "a.scene");
  ASSERT_EQ(scene.actors.size(), 1U);
  EXPECT_EQ(scene.actors[0].shirt, Color(255.0F, 128.0F, 0.0F));
  ASSERT_EQ(scene.actors[0].actions.size(), 3U);
  EXPECT_EQ(scene.actors[0].actions[2].kind, Action::Kind::Sit);
  EXPECT_EQ(scene.actors[0].actions[2].time, 1.0);
}

ActorMotion motionOf(const std::string& actions)
{
  return ActorMotion(parseScene("filtrix-scene 1\nperson a\n" + actions, "a.scene").actors.front());
}

TEST(ActorMotion, WalksAtItsSpeedAndStopsAtItsGoal)
{
  const ActorMotion motion = motionOf("at 1 place 3 0\nat 2 walk 3 2 speed 0.5\nat 9 leave");
  EXPECT_FALSE(motion.at(0.5).isPresent);
  EXPECT_NEAR(motion.at(4.0).y, 1.0F, 1.0e-5F);
  EXPECT_NEAR(motion.at(4.0).bodyYaw, std::numbers::pi_v<float> / 2.0F, 1.0e-4F);
  EXPECT_EQ(motion.at(4.0).walking, 1.0F);
  EXPECT_EQ(motion.at(8.0).y, 2.0F);
  EXPECT_EQ(motion.at(8.0).walking, 0.0F);
  EXPECT_FALSE(motion.at(9.0).isPresent);
}

TEST(ActorMotion, AWalkThatIsCutShortGoesOnFromThere)
{
  const ActorMotion motion = motionOf("at 0 place 0 0\nat 0 walk 10 0\nat 3 walk 3 4 speed 2");
  EXPECT_NEAR(motion.at(4.0).x, 3.0F, 1.0e-5F);
  EXPECT_NEAR(motion.at(4.0).y, 2.0F, 1.0e-5F);
}

TEST(ActorMotion, TurnsHeadAndBodyNoFartherThanANeckAllows)
{
  const ActorMotion motion = motionOf("at 0 place 2 0 face 90 look robot\nat 5 face robot\nat 10 look away");
  const ActorState aside = motion.at(3.0);
  EXPECT_NEAR(aside.bodyYaw, 1.5708F, 1.0e-4F);
  EXPECT_NEAR(std::remainder(aside.headYaw - aside.bodyYaw, 6.28318F), 1.3F, 1.0e-3F);
  EXPECT_NEAR(std::abs(motion.at(8.0).headYaw), std::numbers::pi_v<float>, 1.0e-4F);
  EXPECT_LT(std::abs(motion.at(12.0).headYaw), 2.0F);
}

TEST(ActorMotion, NeverJumpsWhilePresent)
{
  for (const std::string& name : sceneNames())
  {
    for (const Actor& actor : loadScene(name).actors)
    {
      const ActorMotion motion(actor);
      for (double time = 0.05; time < 25.0; time += 0.05)
      {
        const ActorState before = motion.at(time - 0.05);
        const ActorState now = motion.at(time);
        if (!before.isPresent || !now.isPresent)
          continue;
        EXPECT_LT(std::hypot(now.x - before.x, now.y - before.y), 0.1F) << name << " " << actor.name << " " << time;
        EXPECT_LT(std::abs(std::remainder(now.headYaw - before.headYaw, 6.28318F)), 0.9F)
            << name << " " << actor.name << " " << time;
        EXPECT_LT(std::abs(now.sitting - before.sitting), 0.1F) << name << " " << actor.name << " " << time;
      }
    }
  }
}
}  // namespace
}  // namespace ZR::Sim
