#include "filters/perception/perceptionfilters.h"
#include "tests/filters/perception/peoplekit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace ZR::Filtrix::Test
{
namespace
{
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float degrees = 0.017453293F;

struct Score
{
  const char* name;
  std::shared_ptr<UserFilter> (*make)();
  DataList bounds;  ///< the inputs after the population
};

const Score bodySize{
    ScoreName::bodySize, Filters::makeScoreBodySize, {makeData(1.0F), makeData(2.0F), makeData(0.25F), makeData(1.0F)}};
const Score visibleSize{ScoreName::visibleSize, Filters::makeScoreVisibleSize, {}};
const Score bodyDensity{ScoreName::bodyDensity, Filters::makeScoreBodyDensity, {}};
const Score isVertical{ScoreName::shapeIsVertical, Filters::makeScoreShapeIsVertical, {}};
const Score forNewTrack{ScoreName::forNewTrack, Filters::makeScoreForNewTrack, {}};
const std::vector<Score> allScores{bodySize, visibleSize, bodyDensity, isVertical, forNewTrack};

DataList inputsOf(const Score& score, const DataPtr& people)
{
  DataList inputs{people};
  inputs.insert(inputs.end(), score.bounds.begin(), score.bounds.end());
  return inputs;
}

/// What is different about a believable person, and what the score makes of it.
struct ScoreCase
{
  const char* name;
  Score score;
  void (*change)(Type::Human& human, Type::Object3D& body);
  float expected;
  const char* message = "";  ///< the only line in the log
};

void PrintTo(const ScoreCase& row, std::ostream* out)
{
  *out << row.name;
}

class ScoreTest : public testing::TestWithParam<ScoreCase>
{
};

TEST_P(ScoreTest, JudgesTheBody)
{
  const ScoreCase& row = GetParam();
  const auto human = makeBelievableHuman();
  row.change(*human, *human->getObject3D(ObjectName::object3D));
  const ku::log::Capture log;
  ASSERT_EQ(row.score.make()->run(inputsOf(row.score, population({human}))).size(), 1U);
  EXPECT_NEAR(human->getScore(row.score.name), row.expected, 1.0e-5F);
  const std::vector<std::string> messages = log.texts();
  EXPECT_EQ(messages.empty() ? "" : messages.front(), row.message);
  EXPECT_LE(messages.size(), 1U);
}

using Person = Type::Human;
using Body = Type::Object3D;
namespace H = HumanProperty;
namespace B = Object3DProperty;

void setHeads(Body& body, std::uint32_t column)
{
  body.setProperty(B::PossibleHeads, makeData(DataArray{makeData(column)}));
}

void setMask(Body& body, const cv::Mat& mask)
{
  body.setProperty(B::Mask, makeData(std::make_shared<Type::BinaryImage>(mask, "test", Time(1), 1.0F, 1.0F)));
}

// The given share of the mask's rows, from the top, is set.
void fill(Body& body, int rows)
{
  cv::Mat mask = cv::Mat::zeros(200, 120, CV_8UC1);
  mask.rowRange(0, rows) = 255;
  setMask(body, mask);
  body.setProperty(B::PixelCount, makeData(rows * 120));
}

// A plane that leans back, seen by a camera that looks down.
void lean(Body& body, float angle, float pitch)
{
  body.setProperty(B::MainPlaneEquation, makeData(std::cos(angle), std::sin(angle), 0.0F, 1.0F));
  body.setProperty(B::CameraPositionRobot, makeData(0.0F, 0.0F, 1.0F, 0.0F, pitch, 0.0F));
}

INSTANTIATE_TEST_SUITE_P(
    BodySize, ScoreTest,
    testing::Values(ScoreCase{"Person", bodySize, [](Person&, Body&) {}, 1},
                    ScoreCase{"WidthAtTheMinimum", bodySize,
                              [](Person& h, Body&) { h.setProperty(H::BodyWidth, makeData(0.25F)); }, 0},
                    ScoreCase{"WidthAtTheMaximum", bodySize,
                              [](Person& h, Body&) { h.setProperty(H::BodyWidth, makeData(1.0F)); }, 0},
                    ScoreCase{"HeightAtTheMinimum", bodySize,
                              [](Person& h, Body&) { h.setProperty(H::Height, makeData(1.0F)); }, 0},
                    ScoreCase{"HeightAtTheMaximum", bodySize,
                              [](Person& h, Body&) { h.setProperty(H::Height, makeData(2.0F)); }, 0},
                    ScoreCase{"CutByTheTopIsExcusedTheMinimum", bodySize,
                              [](Person& h, Body& b)
                              {
                                h.setProperty(H::Height, makeData(0.5F));
                                b.setProperty(B::TopBorderTouched, makeData(true));
                              },
                              1},
                    ScoreCase{"CutByTheTopIsNotExcusedTheMaximum", bodySize,
                              [](Person& h, Body& b)
                              {
                                h.setProperty(H::Height, makeData(2.5F));
                                b.setProperty(B::TopBorderTouched, makeData(true));
                              },
                              0},
                    ScoreCase{"NoBody", bodySize, [](Person& h, Body&) { h.removeObject3D("3D"); }, 0,
                              "Human has no Object3D, score is set to 0"},
                    ScoreCase{"HeightIsNoNumber", bodySize,
                              [](Person& h, Body&) { h.setProperty(H::Height, makeData(nan)); }, 0,
                              "Human does not have the required property, score is set to 0"},
                    ScoreCase{"NoBorderFlag", bodySize, [](Person&, Body& b) { b.removeProperty(B::TopBorderTouched); },
                              0, "Object3D does not have the required property, score is set to 0"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    VisibleSize, ScoreTest,
    testing::Values(ScoreCase{"Person", visibleSize, [](Person&, Body&) {}, 1},
                    ScoreCase{"ATenthOfTheWidth", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::SizeImage, makeData(1200.0F, 240.0F)); }, 0},
                    ScoreCase{"ATenthOfTheHeight", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::SizeImage, makeData(320.0F, 2000.0F)); }, 0},
                    ScoreCase{"MoreThanATenth", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::SizeImage, makeData(1199.0F, 1999.0F)); }, 1},
                    ScoreCase{"NarrowAtTheBound", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::RealVisibleSize, makeData(0.15F, 1.0F)); }, 0},
                    ScoreCase{"LowAtTheBound", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::RealVisibleSize, makeData(1.0F, 0.15F)); }, 0},
                    ScoreCase{"SizeIsNoNumber", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::RealVisibleSize, makeData(nan, nan)); }, 0},
                    ScoreCase{"EmptyMask", visibleSize, [](Person&, Body& b) { setMask(b, cv::Mat(0, 0, CV_8UC1)); },
                              0},
                    ScoreCase{"NoBody", visibleSize, [](Person& h, Body&) { h.removeObject3D("3D"); }, 0,
                              "Human has no Object3D, score is set to 0"},
                    ScoreCase{"ImageOfNoSize", visibleSize,
                              [](Person&, Body& b) { b.setProperty(B::SizeImage, makeData(0.0F, 0.0F)); }, 0,
                              "Object3D does not have the required property, score is set to 0"}),
    [](const auto& row) { return std::string(row.param.name); });

// The box of the shoulders holds 100x190 of the mask's 120x200 pixels, which is 79 in 100.
INSTANTIATE_TEST_SUITE_P(
    BodyDensity, ScoreTest,
    testing::Values(
        ScoreCase{"Person", bodyDensity, [](Person&, Body&) {}, 1},
        ScoreCase{"SixTenthsFilled", bodyDensity, [](Person&, Body& b) { fill(b, 10 + 114); }, 0},
        ScoreCase{"MoreThanSixTenthsFilled", bodyDensity, [](Person&, Body& b) { fill(b, 10 + 115); }, 1},
        ScoreCase{"MostPixelsElsewhere", bodyDensity,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({110, 30}, {209, 149})));
                  },
                  0},
        ScoreCase{"BoxBeyondTheMask", bodyDensity,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({90, 10}, {229, 229})));
                  },
                  1},
        ScoreCase{"BoxFarAway", bodyDensity,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({-1e30F, -1e30F}, {-1e29F, 1e30F})));
                  },
                  0},
        ScoreCase{"BoxOfNoNumbers", bodyDensity,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({nan, nan}, {nan, nan})));
                  },
                  0},
        ScoreCase{"EmptyMask", bodyDensity, [](Person&, Body& b) { setMask(b, cv::Mat(0, 0, CV_8UC1)); }, 0},
        ScoreCase{"NoBody", bodyDensity, [](Person& h, Body&) { h.removeObject3D("3D"); }, 0,
                  "Human has no Object3D, score is set to 0"},
        ScoreCase{"NoShoulders", bodyDensity, [](Person& h, Body&) { h.removeProperty(H::ShoulderRoi); }, 0,
                  "Human has no property 'ShoulderRoi', score is set to 0"},
        ScoreCase{"CountsNoPixels", bodyDensity, [](Person&, Body& b) { b.setProperty(B::PixelCount, makeData(0)); }, 0,
                  "Object3D does not have the required property, score is set to 0"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    ShapeIsVertical, ScoreTest,
    testing::Values(
        ScoreCase{"FacingTheRobot", isVertical, [](Person&, Body&) {}, 1},
        ScoreCase{"HalfWay", isVertical, [](Person&, Body& b) { lean(b, 45 * degrees, 0); }, 0.5F},
        ScoreCase{"SetRightByThePitch", isVertical, [](Person&, Body& b) { lean(b, 30 * degrees, -30 * degrees); }, 1},
        ScoreCase{"MadeWorseByThePitch", isVertical, [](Person&, Body& b) { lean(b, 60 * degrees, 60 * degrees); }, 0},
        ScoreCase{"SlopeOfASumOfZero", isVertical,
                  [](Person&, Body& b) { b.setProperty(B::MainPlaneEquation, makeData(1.0F, -1.0F, 0.0F, 0.0F)); }, 0},
        ScoreCase{"NoNumbers", isVertical,
                  [](Person&, Body& b) { b.setProperty(B::MainPlaneEquation, makeData(nan, nan, nan, nan)); }, 0},
        ScoreCase{"NoBody", isVertical, [](Person& h, Body&) { h.removeObject3D("3D"); }, 0,
                  "ScoreShapeIsVertical : human has no Object3D"},
        ScoreCase{"NoPlane", isVertical, [](Person&, Body& b) { b.removeProperty(B::MainPlaneEquation); }, 0,
                  "ScoreShapeIsVertical : Object3D does not have the required property, score is set to 0"}),
    [](const auto& row) { return std::string(row.param.name); });

// The middle half of the shoulders is what lies between the columns 35 and 85 of the body's box.
INSTANTIATE_TEST_SUITE_P(
    ForNewTrack, ScoreTest,
    testing::Values(
        ScoreCase{"Person", forNewTrack, [](Person&, Body&) {}, 1},
        ScoreCase{"HeadAtTheLeftBound", forNewTrack, [](Person&, Body& b) { setHeads(b, 35); }, 0},
        ScoreCase{"HeadWithinTheLeftBound", forNewTrack, [](Person&, Body& b) { setHeads(b, 36); }, 1},
        ScoreCase{"HeadWithinTheRightBound", forNewTrack, [](Person&, Body& b) { setHeads(b, 84); }, 1},
        ScoreCase{"HeadAtTheRightBound", forNewTrack, [](Person&, Body& b) { setHeads(b, 85); }, 0},
        ScoreCase{"TwoHeads", forNewTrack, [](Person& h, Body&) { h.setProperty(H::HeadCount, makeData(2)); }, 0},
        ScoreCase{"HeadCountWithoutAHead", forNewTrack,
                  [](Person&, Body& b) { b.setProperty(B::PossibleHeads, makeData(DataArray())); }, 0},
        ScoreCase{"HeadIsNull", forNewTrack,
                  [](Person&, Body& b) { b.setProperty(B::PossibleHeads, makeData(DataArray{nullptr})); }, 0},
        ScoreCase{"Hidden", forNewTrack, [](Person&, Body& b) { b.setProperty(B::HiddenByOtherBlob, makeData(true)); },
                  0},
        ScoreCase{"CutByTheTop", forNewTrack,
                  [](Person&, Body& b) { b.setProperty(B::TopBorderTouched, makeData(true)); }, 0},
        ScoreCase{"FaceFound", forNewTrack, [](Person& h, Body&) { h.setProperty(H::FaceDetected, makeData(true)); },
                  1},
        ScoreCase{"FaceNotFound", forNewTrack,
                  [](Person& h, Body&) { h.setProperty(H::FaceDetected, makeData(false)); }, 0},
        ScoreCase{"ShouldersOfNoNumbers", forNewTrack,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({nan, 0}, {nan, 0})));
                  },
                  0},
        ScoreCase{"ShouldersLeftOfTheBody", forNewTrack,
                  [](Person& h, Body&) {
                    h.setProperty(H::ShoulderRoi, makeData(Type::Region2({-900, 0}, {900, 9})));
                  },
                  0},
        ScoreCase{"NoBody", forNewTrack, [](Person& h, Body&) { h.removeObject3D("3D"); }, 0,
                  "Human has no Object3D, score is set to 0"},
        ScoreCase{"NoShoulders", forNewTrack, [](Person& h, Body&) { h.removeProperty(H::ShoulderRoi); }, 0,
                  "Human does not have the required property, score is set to 0"},
        ScoreCase{"NoHeads", forNewTrack, [](Person&, Body& b) { b.removeProperty(B::PossibleHeads); }, 0,
                  "Object3D does not have the required property, score is set to 0"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Scores, PassOverWhatIsNoPersonAndPutOutThePopulationAsItCame)
{
  for (const Score& score : allScores)
  {
    const auto human = makeBelievableHuman();
    const DataPtr people = populationWithRubbish({human});
    const ku::log::Capture log;
    const DataList outputs = score.make()->run(inputsOf(score, people));
    ASSERT_EQ(outputs.size(), 1U) << score.name;
    EXPECT_EQ(outputs[0], people) << score.name;
    EXPECT_EQ(human->getScore(score.name), 1.0F) << score.name;
    EXPECT_EQ(log.texts().size(), 3U) << score.name;
  }
}

TEST(Scores, GiveNothingForOtherInputs)
{
  for (const Score& score : allScores)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(score.make()->run({}).empty()) << score.name;
    EXPECT_TRUE(score.make()->run(inputsOf(score, nullptr)).empty()) << score.name;
    EXPECT_TRUE(score.make()->run(inputsOf(score, makeData(1))).empty()) << score.name;
    EXPECT_EQ(log.texts().size(), 3U) << score.name;
  }
}

TEST(Scores, CountAPropertyOfAnotherTypeAsMissingAndSayWhichItIs)
{
  const auto human = makeBelievableHuman();
  human->setProperty(H::Height, makeData("tall"));
  const ku::log::Capture log;
  bodySize.make()->run(inputsOf(bodySize, population({human})));
  EXPECT_EQ(human->getScore(ScoreName::bodySize), 0.0F);
  EXPECT_EQ(log.texts("vision.filter.population"),
            std::vector<std::string>{"Human property 'Height': expected Float, got String"});
}
}  // namespace
}  // namespace ZR::Filtrix::Test
