#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/randommat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
using namespace Test;
using Type::ColorImage;
using Type::Region2;
using Type::Vector2;

// What is drawn on gray: the first letter of the colour of each pixel, '.' where it stayed.
std::string picture(const cv::Mat& drawn)
{
  const auto letter = [](const cv::Vec3b& pixel)
  {
    for (const auto& [color, name] : {std::pair(cv::Vec3b(255, 0, 0), 'r'),
                                      {{0, 255, 0}, 'g'},
                                      {{0, 0, 255}, 'b'},
                                      {{0, 0, 0}, 'k'},
                                      {{255, 255, 255}, 'w'},
                                      {{255, 255, 0}, 'y'}})
    {
      if (pixel == color)
        return name;
    }
    return pixel == cv::Vec3b(100, 100, 100) ? '.' : '?';
  };
  std::string text;
  for (int y = 0; y < drawn.rows; ++y)
  {
    for (int x = 0; x < drawn.cols; ++x)
      text += letter(drawn.at<cv::Vec3b>(y, x));
    text += '\n';
  }
  return text;
}

struct DrawCase
{
  const char* name;
  DataArray marks;
  DataPtr color;
  const char* expected;
};

class DrawTest : public testing::TestWithParam<DrawCase>
{
};

TEST_P(DrawTest, DrawsOnACopy)
{
  const cv::Mat whole(9, 13, CV_8UC3, cv::Scalar::all(100));
  const cv::Mat part = whole(cv::Rect(1, 1, 9, 5));
  FilterBench filter(makeDraw());
  const DataPtr out = filter.first({image<ColorImage>(part), makeData(GetParam().marks), GetParam().color});
  ASSERT_TRUE(out);
  EXPECT_EQ(picture(out->get<ColorImage>()->cvMat()), GetParam().expected);
  EXPECT_TRUE(equal(whole, cv::Mat(9, 13, CV_8UC3, cv::Scalar::all(100)))) << "the input stays as it is";
  EXPECT_EQ(Type::sourceName(*out), "test");
}

DataPtr box(float left, float top, float right, float bottom)
{
  return makeData(Region2({left, top}, {right, bottom}));
}

DataPtr point(float x, float y)
{
  return makeData(Vector2(x, y));
}

constexpr const char* untouched = ".........\n.........\n.........\n.........\n.........\n";

INSTANTIATE_TEST_SUITE_P(
    Marks, DrawTest,
    testing::Values(
        DrawCase{"OutlineIsRedAndItsEndOpen",
                 {box(1.9F, 1.0F, 6.0F, 3.9F)},
                 nullptr,
                 ".........\n.rrrrrr..\n.r....r..\n.rrrrr...\n.........\n"},
        DrawCase{"CrossIsBlackWithARedCentre",
                 {point(4.0F, 2.0F)},
                 nullptr,
                 "....k....\n....k....\n.kkkrkkk.\n....k....\n....k....\n"},
        DrawCase{"ColorIsForBoth",
                 {box(0.0F, 0.0F, 2.0F, 1.0F), point(8.0F, 4.0F)},
                 makeData("green"),
                 "ggg......\ngg......g\n........g\n........g\n.....gggy\n"},
        DrawCase{"White",
                 {box(0.0F, 0.0F, 1.0F, 0.0F)},
                 makeData("white"),
                 "w........\n.........\n.........\n.........\n.........\n"},
        DrawCase{"Blue",
                 {box(0.0F, 0.0F, 1.0F, 0.0F)},
                 makeData("blue"),
                 "b........\n.........\n.........\n.........\n.........\n"},
        DrawCase{"UnknownNameIsRed",
                 {point(-2.0F, 1.0F)},
                 makeData("mauve"),
                 ".........\nrr.......\n.........\n.........\n.........\n"},
        DrawCase{"EmptyNameIsNone",
                 {point(-2.0F, 1.0F)},
                 makeData(""),
                 ".........\nkk.......\n.........\n.........\n.........\n"},
        DrawCase{"Clipped",
                 {box(-3e38F, 2.0F, 3e38F, INFINITY)},
                 nullptr,
                 ".........\n.........\nrrrrrrrrr\n.........\n.........\n"},
        DrawCase{
            "NothingFarOutside", {point(3e38F, 2.0F), point(2.0F, -INFINITY), box(20, 20, 30, 30)}, nullptr, untouched},
        DrawCase{"NothingForNoNumber", {point(NAN, 2.0F), box(0.0F, 0.0F, NAN, 3.0F)}, nullptr, untouched},
        DrawCase{"NothingBackwards", {box(6.0F, 3.0F, 1.0F, 1.0F)}, nullptr, untouched},
        DrawCase{
            "OthersAreSkipped", {nullptr, makeData(3), makeData(DataArray{point(2.0F, 2.0F)})}, nullptr, untouched}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Draw, GivesNothingForOtherInputs)
{
  FilterBench filter(makeDraw());
  const DataPtr color = image<ColorImage>(cv::Mat::zeros(1, 1, CV_8UC3));
  const DataPtr marks = makeData(DataArray{});
  EXPECT_TRUE(filter({color, nullptr, nullptr}).empty());
  EXPECT_TRUE(filter({nullptr, marks, nullptr}).empty());
  EXPECT_TRUE(filter({color, point(0.0F, 0.0F), nullptr}).empty());
  EXPECT_TRUE(filter({image<Type::GrayscaleImage>(cv::Mat::zeros(1, 1, CV_8U)), marks, nullptr}).empty());
  EXPECT_TRUE(Type::toCvMat(*filter.first({image<ColorImage>(cv::Mat()), makeData(DataArray{point(0, 0)})})).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
