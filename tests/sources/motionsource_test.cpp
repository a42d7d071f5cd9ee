#include "sources/motionsource.h"

#include "filtrix/ku/clock.h"
#include "platform/motionservice.h"
#include "sources/robotbench.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
using Filtrix::Test::CallList;
using Filtrix::Test::Gate;
using Filtrix::Test::RobotBench;
using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr const char* sourceName = "Motion_CameraTop<WORLD>";

class ScriptedMotion final : public MotionService
{
public:
  std::vector<std::string> getSensorNames() override { return sensors(); }

  std::vector<float> getPosition(const std::string& name, MotionFrame frame, bool useSensorValues) override
  {
    EXPECT_TRUE(useSensorValues);
    calls.add(fmt::format("{} {}", name, static_cast<int>(frame)));
    return position();
  }

  CallList calls;
  std::function<std::vector<std::string>()> sensors = [] {
    return std::vector<std::string>{"CameraTop", "CameraDepth", "LFoot"};
  };
  std::function<std::vector<float>()> position = [] { return std::vector<float>{1, 2, 3, 4, 5, 6}; };
};

class MotionSourceTest : public testing::Test
{
protected:
  MotionSourceTest() { bench.host.broker()->add(motion); }

  void begin()
  {
    source = std::make_unique<MotionSource>(bench.host.broker(), bench.registry);
    EXPECT_TRUE(ku::ManualClock::waitForSleepers(1));
  }

  // Lets the time come to the next round, in which one position is asked for, and waits for its end.
  void round(milliseconds step)
  {
    clock.advance(step);
    EXPECT_TRUE(motion->calls.waitFor(1));
    EXPECT_TRUE(ku::ManualClock::waitForSleepers(1));
    motion->calls.take();
  }

  [[nodiscard]] DataPtr value() const { return bench.registry->getSourceData(sourceName); }

  ku::ManualClock clock;
  const std::shared_ptr<ScriptedMotion> motion = std::make_shared<ScriptedMotion>();
  RobotBench bench;
  std::unique_ptr<MotionSource> source;
};

TEST_F(MotionSourceTest, MakesASourceForEachSensorAndFrame)
{
  begin();
  EXPECT_THAT(bench.registry->getSources(),
              ElementsAre("Motion_CameraDepth<ROBOT>", "Motion_CameraDepth<TORSO>", "Motion_CameraDepth<WORLD>",
                          "Motion_CameraTop<ROBOT>", "Motion_CameraTop<TORSO>", "Motion_CameraTop<WORLD>",
                          "Motion_LFoot<ROBOT>", "Motion_LFoot<TORSO>", "Motion_LFoot<WORLD>"));
  EXPECT_THAT(bench.log.texts(), Not(Contains(testing::HasSubstr("already exists"))));
}

TEST_F(MotionSourceTest, SetsThePositionThatIsRead)
{
  begin();
  bench.read(sourceName);
  round(milliseconds(1000));
  ASSERT_TRUE(value());
  const auto* const position = value()->get<Type::Vector6>();
  ASSERT_NE(position, nullptr);
  EXPECT_EQ(*position, Type::Vector6(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(value()->timestamp(), Time::now());
}

struct Substitution
{
  std::vector<std::string> sensors;
  const char* source;
  const char* call;
};

class SubstitutionTest : public MotionSourceTest, public testing::WithParamInterface<Substitution>
{
};

TEST_P(SubstitutionTest, StandsInForACameraThatTheRobotDoesNotHave)
{
  motion->sensors = [] { return GetParam().sensors; };
  begin();
  bench.read(GetParam().source);
  clock.advance(milliseconds(1000));
  ASSERT_TRUE(motion->calls.waitFor(1));
  EXPECT_THAT(motion->calls.take(), ElementsAre(GetParam().call));
}

INSTANTIATE_TEST_SUITE_P(
    Robots, SubstitutionTest,
    testing::Values(Substitution{{"CameraTop", "CameraDepth"}, "Motion_CameraDepth<TORSO>", "CameraDepth 0"},
                    Substitution{{"CameraTop"}, "Motion_CameraDepth<ROBOT>", "CameraTop 2"},
                    Substitution{{"CameraLeft"}, "Motion_CameraDepth<WORLD>", "CameraLeft 1"},
                    Substitution{{"CameraLeft"}, "Motion_CameraTop<WORLD>", "CameraLeft 1"},
                    Substitution{{"CameraDepth"}, "Motion_CameraTop<WORLD>", "CameraLeft 1"}));

struct Pace
{
  const char* frequency;
  int milliseconds;
};

class MotionPaceTest : public MotionSourceTest, public testing::WithParamInterface<Pace>
{
};

TEST_P(MotionPaceTest, AsksAsOftenAsTheFastestReader)
{
  begin();
  bench.read(sourceName, "0.5", "slow");
  bench.read(sourceName, GetParam().frequency);
  clock.advance(milliseconds(999));
  EXPECT_EQ(motion->calls.size(), 0U) << "unread, it looks once a second";
  round(milliseconds(1));
  const milliseconds delay(GetParam().milliseconds);
  clock.advance(delay - std::chrono::microseconds(1));
  EXPECT_EQ(motion->calls.size(), 0U);
  round(std::chrono::milliseconds(1));
}

INSTANTIATE_TEST_SUITE_P(Frequencies, MotionPaceTest,
                         testing::Values(Pace{"0.5", 1000}, Pace{"1.0", 1000}, Pace{"4.0", 250}, Pace{"15.0", 66},
                                         Pace{"100000.0", 1}));

TEST_F(MotionSourceTest, SetsOnlyWhatHasMoved)
{
  float x = 1.0F;
  motion->position = [&] { return std::vector<float>{x, x, x, x, x, x}; };
  begin();
  bench.read(sourceName, "1.0");
  round(milliseconds(1000));
  std::vector<float> set;
  for (const float next : {1.0005F, 1.0008F, 1.0013F, 1.0018F, 1.0002F, 1.0005F})
  {
    const DataPtr before = value();
    x = next;
    round(milliseconds(1000));
    if (value() != before)
      set.push_back(value()->get<Type::Vector6>()->wz);
  }
  EXPECT_THAT(set, ElementsAre(1.0013F, 1.0002F)) << "measured from what was last set, in both directions";
}

TEST_F(MotionSourceTest, APositionThatIsNoneIsPassedOver)
{
  using Limits = std::numeric_limits<float>;
  const std::function<std::vector<float>()> faults[] = {
      [] { return std::vector<float>(5, 1.0F); },
      [] { return std::vector<float>(7, 1.0F); },
      [] { return std::vector<float>(); },
      [] { return std::vector<float>{1, 2, Limits::quiet_NaN(), 4, 5, 6}; },
      [] { return std::vector<float>(6, Limits::infinity()); },
      []() -> std::vector<float> { throw std::runtime_error("lost"); },
      []() -> std::vector<float> { throw 7; }};
  const auto sound = motion->position;
  begin();
  bench.read(sourceName, "1.0");
  for (const auto& fault : faults)
  {
    motion->position = fault;
    for (int i = 0; i < 3; ++i)
      round(milliseconds(1000));
    EXPECT_FALSE(value()) << "fault " << &fault - faults;
  }
  const std::string start = std::string(sourceName) + ": expected 6 finite coordinates, came ";
  EXPECT_THAT(bench.log.texts("filtrix.motionsourceworker"),
              ElementsAre(start + "5", start + "7", start + "0", start + "nan as number 3", start + "inf as number 1",
                          "Error when calling ZRMotion::getPosition:lost",
                          testing::StartsWith("Error when calling ZRMotion::getPosition:it threw what is no std::exc")))
      << "each once, not each time";
  motion->position = sound;
  round(milliseconds(1000));
  EXPECT_TRUE(value());
}

TEST_F(MotionSourceTest, HasOneWorkerAtATime)
{
  begin();
  source->startWorker();
  EXPECT_THAT(bench.log.texts("filtrix.motionsource"), ElementsAre("Motion worker is already running"));
  bench.read(sourceName);
  source->stopWorker();
  clock.advance(std::chrono::seconds(10));
  EXPECT_EQ(motion->calls.size(), 0U);
  source->startWorker();
  EXPECT_TRUE(motion->calls.waitFor(1)) << "it begins with a round";
}

TEST_F(MotionSourceTest, WithoutAServiceThereAreNoSources)
{
  bench.host.broker()->remove(MotionService::serviceName);
  begin();
  EXPECT_THAT(bench.log.texts("filtrix.motionsource"),
              ElementsAre(testing::MatchesRegex("Can't create proxy on ZRMotion: .* Please verify the autoload.ini.")));
  EXPECT_THAT(bench.registry->getSources(), testing::IsEmpty());
  source->stopWorker();
  bench.host.broker()->add(motion);
  source->startWorker();
  EXPECT_THAT(bench.registry->getSources(), Contains(sourceName)) << "a service that came later";
}

TEST_F(MotionSourceTest, SensorsThatCannotBeListedAreTold)
{
  motion->sensors = []() -> std::vector<std::string> { throw std::runtime_error("asleep"); };
  begin();
  EXPECT_THAT(bench.log.texts("filtrix.motionsourceworker"),
              ElementsAre("Error when calling ZRMotion::getSensorNames:asleep"));
}

TEST_F(MotionSourceTest, EndsThoughTheServiceIsStuck)
{
  const auto gate = std::make_shared<Gate>();
  motion->position = [gate]
  {
    gate->pass();
    return std::vector<float>(6, 1.0F);
  };
  begin();
  bench.read(sourceName);
  clock.advance(milliseconds(1000));
  ASSERT_TRUE(gate->waitForOne());
  const auto before = std::chrono::steady_clock::now();
  source.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
  EXPECT_THAT(bench.log.texts("filtrix.motionsource"), Contains(testing::HasSubstr("is left behind")));
  gate->open();
}
}  // namespace
}  // namespace ZR::Filtrix
