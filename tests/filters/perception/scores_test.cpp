#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace ZR::Filtrix::Test
{
namespace
{
namespace H = HumanProperty;
namespace B = Object3DProperty;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

struct Score
{
  const char* name;
  std::shared_ptr<UserFilter> (*make)();
  DataList bounds;  ///< the inputs after the population
};

const Score size{
    ScoreName::bodySize, Filters::makeScoreBodySize, {makeData(1.0F), makeData(2.0F), makeData(0.25F), makeData(1.0F)}};
const Score visible{ScoreName::visibleSize, Filters::makeScoreVisibleSize, {}};
const Score density{ScoreName::bodyDensity, Filters::makeScoreBodyDensity, {}};
const Score vertical{ScoreName::shapeIsVertical, Filters::makeScoreShapeIsVertical, {}};
const Score newTrack{ScoreName::forNewTrack, Filters::makeScoreForNewTrack, {}};

DataList inputsOf(const Score& score, const DataPtr& people)
{
  DataList inputs{people};
  inputs.insert(inputs.end(), score.bounds.begin(), score.bounds.end());
  return inputs;
}

/// A property that differs from the believable person's; a null value takes it away.
struct Change
{
  enum class Of
  {
    Human,
    Body
  };

  Of of;
  std::int32_t key;
  DataPtr value;

  void apply(Type::Human& human) const
  {
    const auto body = human.getObject3D("3D");
    if (of == Of::Human)
      value ? human.setProperty(key, value) : human.removeProperty(key);
    else
      value ? body->setProperty(key, value) : body->removeProperty(key);
  }
};

Change human(std::int32_t key, const DataPtr& value = nullptr)
{
  return {Change::Of::Human, key, value};
}

Change body(std::int32_t key, const DataPtr& value = nullptr)
{
  return {Change::Of::Body, key, value};
}

// By the top of the image.
Change cut()
{
  return body(B::TopBorderTouched, makeData(true));
}

Change shoulders(float left, float top, float right, float bottom)
{
  return human(H::ShoulderRoi, makeData(Type::Region2({left, top}, {right, bottom})));
}

Change head(std::uint32_t column)
{
  return body(B::PossibleHeads, makeData(DataArray{makeData(column)}));
}

// A mask with so many rows set from the top.
Change mask(int rows, int height = 200)
{
  cv::Mat pixels = cv::Mat::zeros(height, 120, CV_8UC1);
  pixels.rowRange(0, rows) = 255;
  return body(B::Mask, makeData(std::make_shared<Type::BinaryImage>(pixels, "test", Time(1), 1.0F, 1.0F)));
}

// A plane that leans back by an angle, in degrees, and a camera that is pitched by another.
std::vector<Change> lean(float angle, float pitch)
{
  constexpr float radians = 0.017453293F;
  return {body(B::MainPlaneEquation, makeData(std::cos(radians * angle), std::sin(radians * angle), 0.0F, 1.0F)),
          body(B::CameraPositionRobot, makeData(0.0F, 0.0F, 1.0F, 0.0F, radians * pitch, 0.0F))};
}

struct ScoreCase
{
  const char* name;
  Score score;
  std::vector<Change> changes;
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
  const auto person = makeBelievableHuman();
  for (const Change& change : row.changes)
    change.apply(*person);
  const ku::log::Capture log;
  ASSERT_EQ(row.score.make()->run(inputsOf(row.score, population({person}))).size(), 1U);
  EXPECT_NEAR(person->getScore(row.score.name), row.expected, 1.0e-5F);
  const std::vector<std::string> messages = log.texts();
  EXPECT_EQ(messages.empty() ? "" : messages.front(), row.message);
  EXPECT_LE(messages.size(), 1U);
}

constexpr const char* humanLacks = "Human does not have the required property, score is set to 0";
constexpr const char* boxLacks = "Human has no property 'ShoulderRoi', score is set to 0";
constexpr const char* planeLacks =
    "ScoreShapeIsVertical : Object3D does not have the required property, score is set to 0";
constexpr const char* bodyLacks = "Object3D does not have the required property, score is set to 0";

// The box of the shoulders holds 100x190 of the mask's 120x200 pixels; the middle half of it is what lies between the
// columns 35 and 85 of the body's box.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Bounds, ScoreTest, testing::Values(
    ScoreCase{"SizeOfAPerson", size, {}, 1},
    ScoreCase{"WidthAtTheMinimum", size, {human(H::BodyWidth, makeData(0.25F))}, 0},
    ScoreCase{"WidthAtTheMaximum", size, {human(H::BodyWidth, makeData(1.0F))}, 0},
    ScoreCase{"HeightAtTheMinimum", size, {human(H::Height, makeData(1.0F))}, 0},
    ScoreCase{"HeightAtTheMaximum", size, {human(H::Height, makeData(2.0F))}, 0},
    ScoreCase{"CutIsExcusedTheMinimum", size, {human(H::Height, makeData(0.5F)), cut()}, 1},
    ScoreCase{"CutIsNotExcusedTheMaximum", size, {human(H::Height, makeData(2.5F)), cut()}, 0},
    ScoreCase{"HeightIsNoNumber", size, {human(H::Height, makeData(nan))}, 0, humanLacks},
    ScoreCase{"NoBorderFlag", size, {body(B::TopBorderTouched)}, 0, bodyLacks},

    ScoreCase{"VisibleSizeOfAPerson", visible, {}, 1},
    ScoreCase{"ATenthOfTheWidth", visible, {body(B::SizeImage, makeData(1200.0F, 240.0F))}, 0},
    ScoreCase{"ATenthOfTheHeight", visible, {body(B::SizeImage, makeData(320.0F, 2000.0F))}, 0},
    ScoreCase{"MoreThanATenth", visible, {body(B::SizeImage, makeData(1199.0F, 1999.0F))}, 1},
    ScoreCase{"NarrowAtTheBound", visible, {body(B::RealVisibleSize, makeData(0.15F, 1.0F))}, 0},
    ScoreCase{"LowAtTheBound", visible, {body(B::RealVisibleSize, makeData(1.0F, 0.15F))}, 0},
    ScoreCase{"SizeIsNoNumber", visible, {body(B::RealVisibleSize, makeData(nan, nan))}, 0},
    ScoreCase{"VisibleInAnEmptyMask", visible, {mask(0, 0)}, 0},
    ScoreCase{"ImageOfNoSize", visible, {body(B::SizeImage, makeData(0.0F, 0.0F))}, 0, bodyLacks},

    ScoreCase{"DensityOfAPerson", density, {}, 1},
    ScoreCase{"SixTenthsFilled", density, {mask(10 + 114), body(B::PixelCount, makeData(124 * 120))}, 0},
    ScoreCase{"MoreThanSixTenthsFilled", density, {mask(10 + 115), body(B::PixelCount, makeData(125 * 120))}, 1},
    ScoreCase{"MostPixelsElsewhere", density, {shoulders(110, 30, 209, 149)}, 0},
    ScoreCase{"BoxBeyondTheMask", density, {shoulders(90, 10, 229, 229)}, 1},
    ScoreCase{"BoxFarAway", density, {shoulders(-1e30F, -1e30F, -1e29F, 1e30F)}, 0},
    ScoreCase{"BoxOfNoNumbers", density, {shoulders(nan, nan, nan, nan)}, 0},
    ScoreCase{"DensityOfAnEmptyMask", density, {mask(0, 0)}, 0},
    ScoreCase{"NoBox", density, {human(H::ShoulderRoi)}, 0, boxLacks},
    ScoreCase{"NoPixels", density, {body(B::PixelCount, makeData(0))}, 0, bodyLacks},

    ScoreCase{"FacingTheRobot", vertical, {}, 1},
    ScoreCase{"LeaningHalfWay", vertical, lean(45, 0), 0.5F},
    ScoreCase{"SetRightByThePitch", vertical, lean(30, -30), 1},
    ScoreCase{"MadeWorseByThePitch", vertical, lean(60, 60), 0},
    ScoreCase{"SlopeOfASumOfZero", vertical, {body(B::MainPlaneEquation, makeData(1.0F, -1.0F, 0.0F, 0.0F))}, 0},
    ScoreCase{"PlaneOfNoNumbers", vertical, {body(B::MainPlaneEquation, makeData(nan, nan, nan, nan))}, 0},
    ScoreCase{"NoPlane", vertical, {body(B::MainPlaneEquation)}, 0, planeLacks},

    ScoreCase{"TrackOfAPerson", newTrack, {}, 1},
    ScoreCase{"HeadAtTheLeftBound", newTrack, {head(35)}, 0},
    ScoreCase{"HeadWithinTheLeftBound", newTrack, {head(36)}, 1},
    ScoreCase{"HeadWithinTheRightBound", newTrack, {head(84)}, 1},
    ScoreCase{"HeadAtTheRightBound", newTrack, {head(85)}, 0},
    ScoreCase{"WidthIsTrebledBeforeItIsDivided", newTrack, {shoulders(110, 30, 211, 219), head(85)}, 1},
    ScoreCase{"TwoHeads", newTrack, {human(H::HeadCount, makeData(2))}, 0},
    ScoreCase{"HeadCountedAndNotFound", newTrack, {body(B::PossibleHeads, makeData(DataArray()))}, 0},
    ScoreCase{"HeadIsNull", newTrack, {body(B::PossibleHeads, makeData(DataArray{nullptr}))}, 0},
    ScoreCase{"Hidden", newTrack, {body(B::HiddenByOtherBlob, makeData(true))}, 0},
    ScoreCase{"CutByTheTop", newTrack, {cut()}, 0},
    ScoreCase{"FaceFound", newTrack, {human(H::FaceDetected, makeData(true))}, 1},
    ScoreCase{"FaceNotFound", newTrack, {human(H::FaceDetected, makeData(false))}, 0},
    ScoreCase{"ShouldersOfNoNumbers", newTrack, {shoulders(nan, 0, nan, 0)}, 0},
    ScoreCase{"ShouldersLeftOfTheBody", newTrack, {shoulders(-900, 0, 900, 9)}, 0},
    ScoreCase{"NoShoulders", newTrack, {human(H::ShoulderRoi)}, 0, humanLacks},
    ScoreCase{"NoHeads", newTrack, {body(B::PossibleHeads)}, 0, bodyLacks}),
    [](const auto& row) { return std::string(row.param.name); });

// clang-format on

TEST(Scores, TakeWhateverComes)
{
  for (const Score& score : {size, visible, density, vertical, newTrack})
  {
    const auto person = makeBelievableHuman();
    const DataPtr people = populationWithRubbish({person, makeHuman()});
    const ku::log::Capture log;
    const DataList outputs = score.make()->run(inputsOf(score, people));
    ASSERT_EQ(outputs.size(), 1U) << score.name;
    EXPECT_EQ(outputs[0], people) << score.name;
    EXPECT_EQ(person->getScore(score.name), 1.0F) << score.name;
    ASSERT_EQ(log.texts().size(), 4U) << score.name;
    EXPECT_NE(log.texts().back().find("uman has no Object3D"), std::string::npos) << score.name;
    for (const DataPtr& wrong : {DataPtr(), makeData(1)})
      EXPECT_TRUE(score.make()->run(inputsOf(score, wrong)).empty()) << score.name;
    EXPECT_EQ(log.texts().size(), 6U) << score.name;
  }
}

TEST(Scores, CountAPropertyOfAnotherTypeAsMissingAndSayWhichItIs)
{
  const auto person = makeBelievableHuman();
  person->setProperty(H::Height, makeData("tall"));
  const ku::log::Capture log;
  size.make()->run(inputsOf(size, population({person})));
  EXPECT_EQ(person->getScore(ScoreName::bodySize), 0.0F);
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"Human property 'Height': expected Float, got String", humanLacks}));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
