#include "filters/filterkit.h"
#include "filters/perception/bodykit.h"
#include "filters/perception/objectextraction.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include <chrono>
#include <cmath>

namespace ZR::Filtrix::Test
{
namespace
{
using HumanPtr = std::shared_ptr<Type::Human>;

const Type::Vector6 camera = cameraAt(1.2F, 0.0F);

/// Cuts a depth image into objects, as the program of this name does: there is no floor in these images.
class Segmentation final : public UserFilter
{
public:
  std::string getName() override { return "Segmentation3D"; }

  std::string getDescription() override { return "Cuts a depth image into objects."; }

  std::vector<std::string> getInputs() override
  {
    return {"depthImage [DepthImage]", "torso [Vector6]", "robot [Vector6]", "world [Vector6]"};
  }

  std::vector<std::string> getOutputs() override { return {"objects"}; }

  DataList run(const DataList& inputs) override
  {
    const DataPtr labels = FilterBench(Filters::makeLabelize()).first({inputs[0], makeData(100)});
    return {Filters::makeExtractObjects()->run({labels, inputs[0], inputs[1], inputs[2], inputs[3], nullptr})};
  }
};

class Library final : public LambdaFactory
{
public:
  explicit Library(bool isEmpty_ = false) : isEmpty(isEmpty_) {}

  [[nodiscard]] std::shared_ptr<Type::Lambda> createLambda(const std::string& name) const override
  {
    if (isEmpty || name != "Segmentation3D")
      return nullptr;
    return std::make_shared<Type::Lambda>(std::make_shared<FilterAdapter>(std::make_shared<Segmentation>()));
  }

private:
  const bool isEmpty;
};

/// A ball in the air, where a hand would be.
Body ball(float x, float y, float height)
{
  return {x, y, height, 0.0F, 0.07F, 3.0F};  // the cylinder below it begins above it: there is none
}

/// Somebody of these bodies: what is seen of them, at a time, through the camera.
HumanPtr makePerson(std::uint64_t id, const std::vector<Body>& bodies, std::chrono::milliseconds time,
                    const Type::Vector6& pose = camera)
{
  const cv::Mat depths = renderDepth(bodies, pose, false);
  const Type::DepthImage image(depths, "test", Time(1'000'000 + std::chrono::microseconds(time).count()),
                               horizontalView, verticalView);
  const cv::Mat mask = depths > 0;
  const cv::Rect box = cv::boundingRect(mask);
  auto human = std::make_shared<Type::Human>(id);
  human->setObject3D(ObjectName::object3D,
                     Filters::makeObject3D(mask(box), box, image, Filters::CameraPoses{pose, pose, pose}));
  human->setProperty(HumanProperty::Head3DPosition, makeData(bodies[0].x, bodies[0].y, bodies[0].height));
  return human;
}

std::vector<std::shared_ptr<Type::Object3D>> movementsOf(const Type::Human& human)
{
  return Filters::elementsOf<Type::Object3D>(human.getProperty(HumanProperty::AssociatedMovements), "test");
}

class ExtractMovementsTest : public testing::Test
{
protected:
  std::vector<std::shared_ptr<Type::Object3D>> run(const HumanPtr& human)
  {
    EXPECT_EQ(bench({Filters::toArray<Type::Human>({human})}).size(), 1U);
    return movementsOf(*human);
  }

  const Library library;
  FilterBench bench{Filters::makeExtractMovementsFromPopulation(library)};
  const Body trunk{2.0F, 0.0F};
};

TEST_F(ExtractMovementsTest, FindsTheHandWhereItIs)
{
  using std::chrono::milliseconds;
  EXPECT_TRUE(run(makePerson(1, {trunk, ball(1.9F, 0.40F, 1.5F)}, milliseconds(0))).empty())
      << "nothing to compare with";
  EXPECT_TRUE(run(makePerson(1, {trunk, ball(1.9F, 0.40F, 1.5F)}, milliseconds(100))).empty()) << "nothing moves";
  const HumanPtr human = makePerson(1, {trunk, ball(1.9F, 0.60F, 1.5F)}, milliseconds(200));
  const auto movements = run(human);
  ASSERT_EQ(movements.size(), 1U);
  const auto view = Filters::ObjectView::of(*movements[0]);
  const auto centre = *Filters::propertyOf<Type::Vector2>(*movements[0], Object3DProperty::CenterOfMass);
  const cv::Vec3f place = view->robotPose.apply(view->camera.point(centre.x, centre.y, view->distance));
  EXPECT_NEAR(place[1], 0.60F, 0.03F);
  EXPECT_NEAR(place[2], 1.43F, 0.03F);
  EXPECT_TRUE(human->getObject3D(ObjectName::object3D)->hasProperty(Object3DProperty::HasMovementData));
}

TEST_F(ExtractMovementsTest, FindsAHandBeforeTheBody)
{
  using std::chrono::milliseconds;
  run(makePerson(1, {trunk, ball(1.5F, 0.10F, 1.3F)}, milliseconds(0)));
  const auto movements = run(makePerson(1, {trunk, ball(1.5F, -0.10F, 1.3F)}, milliseconds(100)));
  ASSERT_EQ(movements.size(), 1U);
  EXPECT_NEAR(*Filters::propertyOf<std::int32_t>(*movements[0], Object3DProperty::Distance), 1440, 40);
}

/// What is between the first frame, with the hand at 0.40 m, and the second, with the hand at 0.60 m.
struct ChangeCase
{
  const char* name;
  std::chrono::milliseconds time;
  Type::Vector6 pose;
  std::size_t movements;
};

void PrintTo(const ChangeCase& row, std::ostream* out)
{
  *out << row.name;
}

class ChangeTest : public ExtractMovementsTest, public testing::WithParamInterface<ChangeCase>
{
};

TEST_P(ChangeTest, IsComparedWithAMomentAgo)
{
  run(makePerson(1, {trunk, ball(1.9F, 0.40F, 1.5F)}, std::chrono::milliseconds(0)));
  const ChangeCase& row = GetParam();
  EXPECT_EQ(run(makePerson(1, {trunk, ball(1.9F, 0.60F, 1.5F)}, row.time, row.pose)).size(), row.movements);
}

INSTANTIATE_TEST_SUITE_P(
    Changes, ChangeTest,
    testing::Values(ChangeCase{"OneFrameOfTen", std::chrono::milliseconds(100), camera, 1},
                    ChangeCase{"TooSoon", std::chrono::milliseconds(33), camera, 0},
                    ChangeCase{"TooLate", std::chrono::milliseconds(600), camera, 0},
                    ChangeCase{"SameTime", std::chrono::milliseconds(0), camera, 0},
                    ChangeCase{"TimeGoesBack", std::chrono::milliseconds(-100), camera, 0},
                    ChangeCase{"CameraTurned", std::chrono::milliseconds(100), cameraAt(1.2F, 0.01F), 0},
                    ChangeCase{"CameraMoved", std::chrono::milliseconds(100), cameraAt(1.25F, 0.0F), 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ExtractMovementsTest, GivesEachItsOwn)
{
  using std::chrono::milliseconds;
  const auto people = [&](float hand, milliseconds time)
  {
    const std::vector<HumanPtr> both{makePerson(1, {Body{2.0F, 0.6F}}, time),
                                     makePerson(2, {Body{2.5F, -0.5F}, ball(2.4F, hand, 1.5F)}, time)};
    bench({Filters::toArray(both)});
    return both;
  };
  people(-0.90F, milliseconds(0));
  const auto both = people(-1.10F, milliseconds(100));
  EXPECT_TRUE(movementsOf(*both[0]).empty());
  EXPECT_EQ(movementsOf(*both[1]).size(), 1U);
}

// A pixel to the side, as outlines flicker.
TEST_F(ExtractMovementsTest, PassesOverOutlines)
{
  using std::chrono::milliseconds;
  for (int i = 0; i < 4; ++i)
    EXPECT_TRUE(run(makePerson(1, {Body{2.0F, i % 2 == 0 ? 0.0F : 0.008F}}, milliseconds(100 * i))).empty());
}

// Somebody who comes into view has not moved by that.
TEST_F(ExtractMovementsTest, TakesANewBodyForNoMovement)
{
  using std::chrono::milliseconds;
  run(makePerson(1, {Body{2.0F, 0.6F}}, milliseconds(0)));
  EXPECT_TRUE(run(makePerson(2, {Body{2.5F, -0.5F}}, milliseconds(100))).empty());
}

TEST_F(ExtractMovementsTest, BearsAnyInput)
{
  const HumanPtr bare = std::make_shared<Type::Human>(1);
  const HumanPtr hollow = std::make_shared<Type::Human>(2);
  hollow->setObject3D(ObjectName::object3D, std::make_shared<Type::Object3D>());
  const ku::log::Capture log;
  EXPECT_EQ(bench({makeData(DataArray{nullptr, makeData(7), makeData(bare), makeData(hollow)})}).size(), 1U);
  EXPECT_TRUE(movementsOf(*bare).empty());
  EXPECT_TRUE(bench({makeData(7)}).empty());
  EXPECT_TRUE(bench({nullptr}).empty());
  EXPECT_EQ(bench({makeData(DataArray())}).size(), 1U);
}

TEST(ExtractMovementsFromPopulation, TellsWhenThereIsNoSegmentation)
{
  const Library nothing(true);
  FilterBench bench(Filters::makeExtractMovementsFromPopulation(nothing));
  const DataPtr people = makeData(DataArray());
  const ku::log::Capture log;
  EXPECT_EQ(bench.first({people}), people);
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "ExtractMovementsFromPopulation: the 'Segmentation3D' lambda failed to be created"});
}

// From depth images to the decision: a hand beside the body, and one that only reaches out.
TEST(Waving, IsFoundInDepthImages)
{
  const Library library;
  for (const bool isWave : {true, false})
  {
    ku::ManualClock clock;
    FilterBench extract(Filters::makeExtractMovementsFromPopulation(library));
    FilterBench analyse(Filters::makeHumanMovementsAnalysis());
    HumanPtr human;
    for (int i = 0; i <= 20; ++i)
    {
      const auto step = static_cast<float>(i);
      const float y = isWave ? 0.55F + 0.15F * std::sin(2.0F * 3.14159265F * 0.15F * step) : 0.25F + 0.035F * step;
      human = makePerson(1, {Body{2.0F, 0.0F}, ball(1.9F, y, 1.5F)}, std::chrono::milliseconds(100 * i));
      const DataPtr people = extract.first({Filters::toArray<Type::Human>({human})});
      analyse({people, makeData(0.06F), makeData(3.5F)});
      clock.advance(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(Filters::isTrue(*human, HumanProperty::IsWavingLeft), isWave);
    EXPECT_FALSE(Filters::isTrue(*human, HumanProperty::IsWavingRight));
    EXPECT_FALSE(Filters::isTrue(*human, HumanProperty::IsWavingCenter));
  }
}
}  // namespace
}  // namespace ZR::Filtrix::Test
