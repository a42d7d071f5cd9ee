// Real people, by colour alone: a street from above, whose faces are eight pixels wide.

#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"
#include "filtrix/properties.h"
#include "filtrix/time.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/personview.h"
#include "tools/filtrix/session.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <chrono>
#include <set>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Tool;

constexpr const char* film = "/usr/share/doc/opencv-doc/examples/data/vtest.avi";
const cv::Size frameSize(640, 480);

class StreetTest : public ::testing::Test
{
protected:
  StreetTest()
  {
    FiltrixPrivate& registry = session.registry();
    EXPECT_TRUE(
        registry.loadProgramFromFile("people.fxs") &&
        registry.loadProgram("source Color { 0 } source Pose { 0 } process people(People2D, 8, 1000) { colorImage <= "
                             "Color; cameraPositionTorso <= Pose; cameraPositionRobot <= Pose; cameraPositionWorld <= "
                             "Pose; population => population; }"));
    registry.setData("Pose", makeData(0.0F, 0.0F, 6.0F, 0.0F, 0.3F, 0.0F));
  }

  void SetUp() override
  {
    if (!video.isOpened())
      GTEST_SKIP() << "no " << film;
  }

  cv::Mat nextFrame()
  {
    cv::Mat bgr;
    cv::Mat rgb;
    EXPECT_TRUE(video.read(bgr));
    cv::cvtColor(bgr, rgb, cv::COLOR_BGR2RGB);
    cv::resize(rgb, rgb, frameSize, 0.0, 0.0, cv::INTER_AREA);
    return rgb;
  }

  // Those who are seen after an image, at ten a second.
  std::vector<PersonView> show(const cv::Mat& image)
  {
    clock.advance(std::chrono::milliseconds(100));
    session.registry().setData(
        "Color", makeData(std::make_shared<Type::ColorImage>(image, "Color", Type::Time::now(), 0.8338F, 0.6419F)));
    std::vector<PersonView> people = viewsOf(session.registry().getData("people:population"));
    std::erase_if(people, [](const PersonView& person) { return !person.visible; });
    return people;
  }

  const ku::log::Capture silence{ku::log::Level::Error};
  ku::ManualClock clock;
  Session session;
  cv::VideoCapture video{film};
};

TEST_F(StreetTest, FollowsThoseWhoWalkAndFindsNobodyInAPictureThatStandsStill)
{
  const cv::Mat still = nextFrame();
  for (int i = 0; i < 10; ++i)
    EXPECT_TRUE(show(still).empty());

  // Six people walk through the middle of the view.
  std::size_t seen = 0;
  std::set<std::uint64_t> ids;
  constexpr int frames = 60;
  for (int i = 0; i < frames; ++i)
  {
    for (const PersonView& person : show(nextFrame()))
    {
      ids.insert(person.id);
      if (i >= frames / 2)
        ++seen;
    }
  }
  const double mean = static_cast<double>(seen) / (frames / 2);
  EXPECT_GE(mean, 3.0);
  EXPECT_LE(mean, 9.0);
  EXPECT_LE(ids.size(), 16U);
}

TEST_F(StreetTest, FindsNobodyInFlickeringNoise)
{
  cv::RNG random(1);
  for (int i = 0; i < 15; ++i)
  {
    cv::Mat noise(frameSize, CV_8UC3);
    random.fill(noise, cv::RNG::UNIFORM, 0, 255);
    cv::rectangle(noise, cv::Rect(100 + 20 * i, 150, 120, 60), cv::Scalar::all(255), cv::FILLED);
    EXPECT_TRUE(show(noise).empty());
  }
}
}  // namespace
}  // namespace ZR::Filtrix::Test
