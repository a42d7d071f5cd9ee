// The whole system on a robot whose services fail: each operation in each way, one at a time. The rest goes on, frames
// are back once the cause is gone, and the end does not wait for what is stuck.

#include "module/modulekit.h"

#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "filtrix/vectors.h"
#include "platform/fault/faultservices.h"
#include "platform/sim/photographer.h"
#include "platform/sim/simrobot.h"
#include "program/filtrixprivate.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace std::chrono_literals;
using Fault::Mode;
using Fault::Operation;
using SteadyClock = std::chrono::steady_clock;

constexpr const char* program = "process colors(Identity, 5, 20) { in <= VideoDevice_TopCamera<QQVGA>; out => out; }"
                                "process poses(Identity, 5, 20) { in <= Motion_CameraTop<ROBOT>; out => out; }"
                                // The last: it fails where the cameras do not tell what they are, and ends the load.
                                "process depths(Identity, 5, 20) { in <= VideoDevice_DepthCamera<QQVGA>; out => out; }";

// Moves the clock on, faster than in life: by default many times.
class Hurry final
{
public:
  explicit Hurry(std::chrono::microseconds pause_ = 500us) : pause(pause_), thread([this] { run(); }) {}

  ~Hurry()
  {
    isOver = true;
    thread.join();
  }

  Hurry(const Hurry&) = delete;
  Hurry& operator=(const Hurry&) = delete;

private:
  void run()
  {
    while (!isOver)
    {
      clock.advance(5ms);
      std::this_thread::sleep_for(pause);
    }
  }

  const std::chrono::microseconds pause;  // in real time, after each 5 ms
  ku::ManualClock clock;
  std::atomic<bool> isOver = false;
  std::thread thread;
};

// Counts what is handed out and what comes back.
class CountingCamera final : public CameraService
{
public:
  explicit CountingCamera(std::shared_ptr<CameraService> camera_) : camera(std::move(camera_)) {}

  bool hasDepthCamera() override { return camera->hasDepthCamera(); }

  int getCameraModel(int number) override { return camera->getCameraModel(number); }

  std::string subscribeCamera(const std::string& name, int number, int resolution, int colorSpace,
                              int framesPerSecond) override
  {
    std::string id = camera->subscribeCamera(name, number, resolution, colorSpace, framesPerSecond);
    const std::lock_guard lock(mutex);
    if (!id.empty())
      frames[id] = 0;
    return id;
  }

  void unsubscribe(const std::string& id) override
  {
    {
      const std::lock_guard lock(mutex);
      frames.erase(id);
    }
    camera->unsubscribe(id);
  }

  std::shared_ptr<const ZRImage> getImageLocal(const std::string& id) override
  {
    auto image = camera->getImageLocal(id);
    count(id, image ? 1 : 0);
    return image;
  }

  void releaseImage(const std::string& id) override
  {
    count(id, -1);
    camera->releaseImage(id);
  }

  void setFrameRate(const std::string& id, int framesPerSecond) override { camera->setFrameRate(id, framesPerSecond); }

  // Subscriptions that nobody has closed. With the last of them its frames are the service's again.
  [[nodiscard]] std::size_t open() const
  {
    const std::lock_guard lock(mutex);
    return frames.size();
  }

  // The most frames that a subscription holds.
  [[nodiscard]] int held() const
  {
    const std::lock_guard lock(mutex);
    int most = 0;
    for (const auto& [id, count] : frames)
      most = std::max(most, count);
    return most;
  }

private:
  void count(const std::string& id, int change)
  {
    const std::lock_guard lock(mutex);
    if (const auto found = frames.find(id); found != frames.end())
      found->second += change;
  }

  const std::shared_ptr<CameraService> camera;
  mutable std::mutex mutex;  // guards the frames that were handed out, by subscription
  std::map<std::string, int> frames;
};

// A simulated robot whose head moves all the time, behind services that fail; of the cameras perhaps only one.
class BrokenRobot final
{
public:
  explicit BrokenRobot(std::optional<int> camera = std::nullopt)
  {
    robot.attach(*own.broker());
    cameras = std::make_shared<CountingCamera>(std::make_shared<Fault::FaultCamera>(
        std::dynamic_pointer_cast<CameraService>(own.broker()->find(CameraService::serviceName)), faults, camera));
    host.broker()->add(cameras);
    host.broker()->add(std::make_shared<Fault::FaultMotion>(
        std::dynamic_pointer_cast<MotionService>(own.broker()->find(MotionService::serviceName)), faults));
  }

  const std::shared_ptr<Fault::Faults> faults = std::make_shared<Fault::Faults>();
  std::shared_ptr<CountingCamera> cameras;
  const Sim::Robot robot{Sim::parseScene("filtrix-scene 1\nduration 600\nhead 0 -60 0\nhead 600 60 20\n", "test")};
  Host own;
  Host host;
};

class BrokenModule final
{
public:
  explicit BrokenModule(BrokenRobot& robot_) : robot(robot_)
  {
    _createModule(robot.host.broker());
    module = std::dynamic_pointer_cast<ZRFiltrix>(robot.host.broker()->find(ZRFiltrix::moduleName));
    registry = static_cast<std::shared_ptr<FiltrixPrivate>*>(module->getFiltrix())->get();
    module->loadProgram(program);
    module->startScheduler();
  }

  // True when a sink gets another value than it has.
  bool goesOn(const std::string& sink) const
  {
    if (!registry->isProcess(sink.substr(0, sink.find(':'))))
      return false;
    const DataPtr before = registry->getLastData(sink);
    return eventually(
        [&]
        {
          const DataPtr now = registry->getLastData(sink);
          return now && now != before;
        });
  }

  // What is counted of a source: "values", "failures", "refused".
  [[nodiscard]] std::int64_t count(const std::string& what, const std::string& source) const
  {
    const ZRValue all = module->getInstrumentationValue();
    for (const ZRValue& figures : all.at("sources").asArray())
    {
      if (figures.at("name") == ZRValue(source))
        return figures.at(what).asInteger();
    }
    throw std::out_of_range(source);
  }

  // How long it takes to end, in real time.
  SteadyClock::duration end()
  {
    const auto start = SteadyClock::now();
    robot.host.broker()->remove(ZRFiltrix::moduleName);
    module.reset();
    return SteadyClock::now() - start;
  }

private:
  BrokenRobot& robot;
  std::shared_ptr<ZRFiltrix> module;
  FiltrixPrivate* registry = nullptr;
};

bool isOfStart(Operation operation)
{
  return operation == Operation::HasDepthCamera || operation == Operation::GetCameraModel ||
         operation == Operation::GetSensorNames;
}

bool isOfMotion(Operation operation)
{
  return operation == Operation::GetSensorNames || operation == Operation::GetPosition;
}

// Cameras that do not tell what they are get no sources.
bool makesNoSources(Operation operation, Mode mode)
{
  return (operation == Operation::HasDepthCamera || operation == Operation::GetCameraModel) &&
         (mode == Mode::ThrowStd || mode == Mode::ThrowOther);
}

// A subscription that fails stays failed: nobody tries it again.
bool staysFailed(Operation operation, Mode mode)
{
  return operation == Operation::SubscribeCamera &&
         (mode == Mode::ThrowStd || mode == Mode::ThrowOther || mode == Mode::Null || mode == Mode::Garbage ||
          mode == Mode::Intermittent);
}

// A motion service whose positions hold six times the same number, another one each time.
class EvenMotion final : public MotionService
{
public:
  std::vector<std::string> getSensorNames() override { return {"CameraTop"}; }

  std::vector<float> getPosition(const std::string&, MotionFrame, bool) override
  {
    return std::vector<float>(6, static_cast<float>(++asked));
  }

  std::atomic<int> asked = 0;
};

class FaultSystem : public ::testing::TestWithParam<Operation>
{
};

TEST_P(FaultSystem, IsSurvivedInEveryMode)
{
  const Operation operation = GetParam();
  const ku::log::Capture silence(ku::log::Level::Error);
  for (const Mode mode : {Mode::ThrowStd, Mode::ThrowOther, Mode::Null, Mode::Stall, Mode::Slow, Mode::Intermittent,
                          Mode::Garbage, Mode::WrongSize, Mode::RepeatedTime, Mode::TimeBackward, Mode::TimeAhead})
  {
    SCOPED_TRACE(std::string(Fault::nameOf(operation)) + ", mode " + std::to_string(static_cast<int>(mode)));
    const Hurry clock;
    BrokenRobot robot;
    // What stalls at the start is let go again: nobody could begin.
    const bool isStuckAtStart = isOfStart(operation) && mode == Mode::Stall;
    if (!isStuckAtStart && (isOfStart(operation) || operation == Operation::SubscribeCamera))
      robot.faults->set(operation, mode);
    BrokenModule module(robot);
    if (!isOfStart(operation) && operation != Operation::SubscribeCamera)
    {
      EXPECT_TRUE(module.goesOn("colors:out"));
    }
    robot.faults->set(operation, mode);
    const std::uint64_t calls = robot.faults->calls(operation);
    if (operation == Operation::GetImage || operation == Operation::GetPosition || operation == Operation::ReleaseImage)
    {
      EXPECT_TRUE(eventually([&] { return robot.faults->calls(operation) >= calls + 2 || mode == Mode::Stall; }));
    }

    // The other service goes on.
    if (makesNoSources(operation, mode))
    {
      EXPECT_LT(module.end(), 5s);
      continue;
    }
    if (isOfMotion(operation))
    {
      EXPECT_TRUE(module.goesOn("colors:out"));
    }
    else
    {
      EXPECT_TRUE(module.goesOn("poses:out"));
    }

    robot.faults->set(operation, Mode::None);
    if (!staysFailed(operation, mode))
    {
      EXPECT_TRUE(module.goesOn("colors:out"));
      if (!isOfStart(operation))
      {
        EXPECT_TRUE(module.goesOn("depths:out"));
      }
    }

    // What is stuck is left behind.
    if (mode == Mode::Stall && !isOfStart(operation))
      robot.faults->set(operation, Mode::Stall);
    EXPECT_LE(robot.cameras->held(), 1);
    EXPECT_LT(module.end(), 5s);
    robot.faults->setAll(Mode::None);
    EXPECT_EQ(robot.cameras->open(), 0U);
  }
}

// How many frames a camera brings meanwhile.
std::int64_t framesWithin(const BrokenModule& module, const std::string& source, ku::Clock::duration length)
{
  const std::int64_t before = module.count("values", source);
  const auto end = ku::Clock::now() + length;
  while (ku::Clock::now() < end)
    std::this_thread::sleep_for(1ms);
  return module.count("values", source) - before;
}

TEST(FaultSystemRates, ACameraThatIsSlowOrFailsHoldsNoOtherUp)
{
  constexpr int depthCamera = 2;
  const std::string color = "VideoDevice_TopCamera<QQVGA>";
  const std::string depth = "VideoDevice_DepthCamera<QQVGA>";
  const ku::log::Capture silence(ku::log::Level::Error);
  const Hurry clock(2ms);
  BrokenRobot robot(depthCamera);
  robot.faults->setDelay(2s);
  BrokenModule module(robot);
  ASSERT_TRUE(module.goesOn("colors:out"));
  ASSERT_TRUE(module.goesOn("depths:out"));
  const std::int64_t usual = framesWithin(module, color, 6s);
  EXPECT_GT(usual, 30);
  for (const Mode mode : {Mode::Slow, Mode::Intermittent, Mode::Garbage})
  {
    SCOPED_TRACE("mode " + std::to_string(static_cast<int>(mode)));
    robot.faults->set(Operation::GetImage, mode);
    // A camera that waits for the slow one has three. The clock runs faster than a busy machine can follow.
    EXPECT_GT(framesWithin(module, color, 6s), usual / 4);
    robot.faults->set(Operation::GetImage, Mode::None);
  }
  EXPECT_GT(module.count("failures", depth), 0);
  EXPECT_GT(module.count("refused", depth), 0);
  EXPECT_EQ(module.count("failures", color) + module.count("refused", color), 0);
  EXPECT_LT(module.end(), 5s);
}

TEST(Positions, AreWholeThoughACallerSetsThemBesideTheRobot)
{
  const std::string source = "Motion_CameraTop<ROBOT>";
  const ku::log::Capture silence(ku::log::Level::Error);
  const Hurry clock;
  const Host host;
  const auto motion = std::make_shared<EvenMotion>();
  host.broker()->add(motion);
  _createModule(host.broker());
  const auto module = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find(ZRFiltrix::moduleName));
  auto& registry = **static_cast<std::shared_ptr<FiltrixPrivate>*>(module->getFiltrix());
  module->loadProgram("process poses(Identity, 5, 1000) { in <= " + source + "; out => out; }");
  module->startScheduler();
  std::atomic<bool> isOver = false;
  std::thread caller(
      [&]
      {
        for (float x = -1.0F; !isOver; --x)
          module->setMotionSource(source, std::vector<float>(6, x));
      });
  std::set<bool> ofTheCaller;
  std::size_t torn = 0;
  EXPECT_TRUE(eventually(
      [&]
      {
        for (const DataPtr& value : {registry.getSourceData(source), registry.getLastData("poses:out")})
        {
          const auto* const pose = value ? value->get<Type::Vector6>() : nullptr;
          if (pose == nullptr)
            continue;
          ofTheCaller.insert(pose->x < 0.0F);
          torn += *pose == Type::Vector6{pose->x, pose->x, pose->x, pose->x, pose->x, pose->x} ? 0 : 1;
        }
        return motion->asked > 200 && ofTheCaller.size() == 2;
      }));
  isOver = true;
  caller.join();
  EXPECT_EQ(torn, 0U);
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultSystem,
                         ::testing::Values(Operation::HasDepthCamera, Operation::GetCameraModel,
                                           Operation::SubscribeCamera, Operation::UnsubscribeCamera,
                                           Operation::GetImage, Operation::ReleaseImage, Operation::SetFrameRate,
                                           Operation::GetSensorNames, Operation::GetPosition),
                         [](const auto& test) { return "Operation" + std::to_string(static_cast<int>(test.param)); });
}  // namespace
}  // namespace ZR::Filtrix::Test
