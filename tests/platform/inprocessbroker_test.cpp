#include "platform/inprocessbroker.h"

#include "platform/robot.h"
#include "platform/zrmodule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace ZR
{
namespace
{
using testing::ElementsAre;

TEST(InProcessBroker, TellsWhoIsThereWhenAServiceIsMissing)
{
  const Host host("robot");
  EXPECT_EQ(errorOf([&] { CameraProxy camera(host.broker()); }),
            "no \"ZRVideoDevice\" at broker \"robot\"; known are: none.");
  host.broker()->add(std::make_shared<TestMotion>());
  host.broker()->add(std::make_shared<TestCamera>());
  EXPECT_EQ(errorOf([&] { ZRProxy(host.broker(), "ZRMotoin"); }),
            "no \"ZRMotoin\" at broker \"robot\"; known are: ZRMotion, ZRVideoDevice. Did you mean \"ZRMotion\"?");
  EXPECT_EQ(errorOf([] { ZRProxy(nullptr, "ZRMotion"); }), "proxy to \"ZRMotion\": expected a broker, came null");
  EXPECT_EQ(errorOf([&] { host.broker()->add(std::make_shared<TestMotion>()); }),
            "broker \"robot\": \"ZRMotion\" is there already");
  EXPECT_EQ(errorOf([&] { host.broker()->add(nullptr); }),
            "broker \"robot\": expected a module or a service, came null");
}

TEST(InProcessBroker, ReachesAServiceAgainWhenItComesBack)
{
  auto host = std::make_unique<Host>("robot");
  host->broker()->add(std::make_shared<TestMotion>());
  const MotionProxy motion(host->broker());
  EXPECT_EQ(motion->getSensorNames().size(), 2U);

  EXPECT_TRUE(host->broker()->remove("ZRMotion"));
  EXPECT_FALSE(host->broker()->remove("ZRMotion"));
  EXPECT_EQ(errorOf([&] { return motion->getSensorNames(); }), "\"ZRMotion\" has gone from broker \"robot\"");
  EXPECT_EQ(errorOf([&] { motion.call("getSensorNames"); }), "\"ZRMotion\" has gone from broker \"robot\"");

  host->broker()->add(std::make_shared<TestMotion>());
  EXPECT_EQ(motion->getSensorNames().size(), 2U);
  host.reset();
  EXPECT_EQ(errorOf([&] { return motion->getSensorNames(); }), "\"ZRMotion\" has gone, and its broker too");
}

TEST(InProcessBroker, LetsACallEndWhoseServiceGoesAway)
{
  const Host host;
  const auto camera = std::make_shared<TestCamera>();
  std::latch inside(1);
  std::latch gone(1);
  camera->nextImage = [&]
  {
    inside.count_down();
    gone.wait();
    return std::make_shared<const ZRImage>(2, 2, ColorSpace::gray);
  };
  host.broker()->add(camera);
  const CameraProxy proxy(host.broker());
  std::shared_ptr<const ZRImage> image;
  std::thread caller([&] { image = proxy->getImageLocal("me"); });
  inside.wait();
  host.broker()->remove("ZRVideoDevice");
  gone.count_down();
  caller.join();
  EXPECT_TRUE(image);
}

// Tells its end, and calls an older object while it goes.
class Mortal final : public ZRModule
{
public:
  Mortal(const std::shared_ptr<ZRBroker>& broker, std::string name, std::vector<std::string>& ends_)
      : ZRModule(broker, std::move(name)), ends(ends_), motion(broker)
  {
  }

  ~Mortal() override
  {
    ends.push_back(getName() + ": " + errorOf([&] { return motion->getSensorNames(); }));
  }

  Mortal(const Mortal&) = delete;
  Mortal& operator=(const Mortal&) = delete;

private:
  std::vector<std::string>& ends;
  const MotionProxy motion;
};

TEST(InProcessBroker, ShutsDownFromTheLastToTheFirst)
{
  std::vector<std::string> ends;
  {
    const Host host("robot");
    host.broker()->add(std::make_shared<TestMotion>());
    createModule<Mortal>(host.broker(), "first", ends);
    createModule<Mortal>(host.broker(), "second", ends);
    EXPECT_THAT(host.broker()->names(), ElementsAre("ZRMotion", "first", "second"));
  }
  EXPECT_THAT(ends, ElementsAre("second: no error", "first: no error"));
}

// For the sanitizers: services come and go under calls from everywhere.
TEST(InProcessBroker, KeepsItsOrderUnderManyThreads)
{
  const Host host;
  host.broker()->add(std::make_shared<TestMotion>());
  const MotionProxy motion(host.broker());
  constexpr int threads = 4;
  std::latch start(threads);
  std::vector<std::thread> running;
  running.reserve(threads);
  for (int i = 0; i < threads; ++i)
    running.emplace_back(
        [&, i]
        {
          start.arrive_and_wait();
          for (int round = 0; round < 500; ++round)
          {
            if (i == 0)
            {
              host.broker()->add(host.broker()->remove("ZRMotion"));
              continue;
            }
            const std::string text = errorOf([&] { return motion->getSensorNames(); });
            EXPECT_TRUE(text == "no error" || text == "\"ZRMotion\" has gone from broker \"host\"") << text;
          }
        });
  for (std::thread& thread : running)
    thread.join();
  EXPECT_THAT(host.broker()->names(), ElementsAre("ZRMotion"));
}

TEST(BrokerManager, KnowsTheBrokersThatAreAlive)
{
  ZRBrokerManager::setInstance(std::make_shared<ZRBrokerManager>());
  EXPECT_EQ(ZRBrokerManager::getInstance()->getRandomBroker(), nullptr);
  {
    const Host host;
    EXPECT_EQ(host.broker()->brokerManager(), ZRBrokerManager::getInstance());
    ZRBrokerManager::setInstance(host.broker()->brokerManager());
    ZRBrokerManager::getInstance()->addBroker(host.broker());
    EXPECT_EQ(ZRBrokerManager::getInstance()->getRandomBroker(), host.broker());
  }
  EXPECT_EQ(ZRBrokerManager::getInstance()->getRandomBroker(), nullptr);
  EXPECT_THROW(ZRBrokerManager::getInstance()->addBroker(nullptr), std::invalid_argument);
  ZRBrokerManager::setInstance(nullptr);
}
}  // namespace
}  // namespace ZR
