#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/randommat.h"
#include "filtrix/ku/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
using namespace Test;
using Type::BinaryImage;
using Type::ColorImage;
using Type::DepthImage;
using Type::GrayscaleImage;
using Type::LabelImage;
using Type::XYZImage;
using Make = FilterPtr (*)();

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

cv::Mat matOf(const DataPtr& value)
{
  return value ? Type::toCvMat(*value) : cv::Mat(1, 1, CV_64F);  // a type that no image has
}

DataPtr named(const cv::Mat& mat)
{
  return makeData(std::make_shared<BinaryImage>(mat, "the mask's", Time(5), 0.5F, 0.25F));
}

template <typename Image>
void expectOnImages(Make make, int (*element)(int left, int right))
{
  cv::RNG random(31);
  FilterBench filter(make());
  for (const cv::Size size : oddSizes)
  {
    const cv::Mat left = randomMat(random, size, Image::matType);
    const cv::Mat right = randomMat(random, size, Image::matType);
    const DataPtr out = filter.first({image<Image>(left), image<Image>(right)});
    ASSERT_TRUE(out && out->get<Image>()) << size;
    EXPECT_TRUE(equal(matOf(out), combine<typename Image::PixelType>(left, right, element))) << size;
    EXPECT_EQ(Type::sourceName(*out), "test");
    EXPECT_EQ(out->timestamp(), Time(1'000'000));
  }
}

TEST(Arithmetic, FollowsItsDefinitionOnImages)
{
  const auto saturatingSum = [](int left, int right) { return std::min(left + right, 255); };
  const auto distance = [](int left, int right) { return std::abs(left - right); };
  const auto smaller = [](int left, int right) { return std::min(left, right); };
  const auto greater = [](int left, int right) { return std::max(left, right); };
  expectOnImages<ColorImage>(makeAdd, saturatingSum);
  expectOnImages<GrayscaleImage>(makeAdd, saturatingSum);
  expectOnImages<BinaryImage>(makeAdd, saturatingSum);
  expectOnImages<ColorImage>(makeSub, distance);
  expectOnImages<GrayscaleImage>(makeSub, distance);
  expectOnImages<DepthImage>(makeSub, distance);
  expectOnImages<ColorImage>(makeMin, smaller);
  expectOnImages<GrayscaleImage>(makeMin, smaller);
  expectOnImages<ColorImage>(makeMax, greater);
  expectOnImages<GrayscaleImage>(makeMax, greater);
  expectOnImages<BinaryImage>(makeMultiply, [](int left, int right) { return left & right; });
}

TEST(Multiply, OfColorsIsExactForEveryPairOfLevels)
{
  cv::Mat left(256, 256, CV_8U);
  for (int y = 0; y < left.rows; ++y)
    left.row(y).setTo(y);
  const cv::Mat right = left.t();
  cv::Mat leftColor;
  cv::Mat rightColor;
  cv::merge(std::vector<cv::Mat>{left, right, left}, leftColor);
  cv::merge(std::vector<cv::Mat>{right, left, left}, rightColor);
  FilterBench filter(makeMultiply());
  const DataPtr out = filter.first({image<ColorImage>(leftColor), image<ColorImage>(rightColor)});
  const auto product = [](int l, int r) { return l * r / 255; };
  EXPECT_TRUE(equal(matOf(out), combine<unsigned char>(leftColor, rightColor, product)));
}

TEST(Multiply, OfAGrayImageByANumberSaturates)
{
  cv::Mat levels(1, 256, CV_8U);
  for (int i = 0; i < 256; ++i)
    levels.at<unsigned char>(i) = static_cast<unsigned char>(i);
  FilterBench filter(makeMultiply());
  for (const int factor : {intMin, -1, 0, 1, 2, 3, 254, 255, 256, 65536, intMax})
  {
    const auto scaled = [factor](std::int64_t level, int) { return std::clamp<std::int64_t>(level * factor, 0, 255); };
    EXPECT_TRUE(equal(matOf(filter.first({image<GrayscaleImage>(levels), makeData(factor)})),
                      combine<unsigned char>(levels, levels, scaled)))
        << factor;
  }
}

struct NumberCase
{
  const char* name;
  Make make;
  DataPtr left, right;
  const char* expected;  // as text; empty for no output
};

class NumberTest : public testing::TestWithParam<NumberCase>
{
};

TEST_P(NumberTest, CombinesEqualTypesOnly)
{
  const DataPtr out = FilterBench(GetParam().make()).first({GetParam().left, GetParam().right});
  EXPECT_EQ(out ? Type::toText(*out) : "", GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, NumberTest,
    testing::Values(NumberCase{"Sum", makeAdd, makeData(2), makeData(3), "5"},
                    NumberCase{"SumWraps", makeAdd, makeData(intMax), makeData(1), "-2147483648"},
                    NumberCase{"DifferenceHasASign", makeSub, makeData(10), makeData(20), "-10"},
                    NumberCase{"DifferenceWraps", makeSub, makeData(intMin), makeData(1), "2147483647"},
                    NumberCase{"DifferenceOfDoubles", makeSub, makeData(0.5), makeData(2.0), "-1.5"},
                    NumberCase{"ProductWraps", makeMultiply, makeData(intMin), makeData(intMin), "0"},
                    NumberCase{"ProductOfFloats", makeMultiply, makeData(-0.5F), makeData(3.0F), "-1.5f"},
                    NumberCase{"Smaller", makeMin, makeData(-1), makeData(2), "-1"},
                    NumberCase{"Greater", makeMax, makeData(-1), makeData(2), "2"},
                    NumberCase{"NoNumberGivesTheRight", makeMax, makeData(NAN), makeData(2.5F), "2.5f"},
                    NumberCase{"NoConversion", makeAdd, makeData(1), makeData(1.0F), ""},
                    NumberCase{"NoUnsigned", makeAdd, makeData(1U), makeData(1U), ""},
                    NumberCase{"NullLeft", makeMultiply, nullptr, makeData(1), ""},
                    NumberCase{"NullRight", makeMin, makeData(1), nullptr, ""}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Arithmetic, GivesNothingForOtherImages)
{
  const DataPtr gray = image<GrayscaleImage>(cv::Mat::ones(1, 1, CV_8U));
  const DataPtr binary = image<BinaryImage>(cv::Mat::ones(1, 1, CV_8U));
  const DataPtr depth = image<DepthImage>(cv::Mat::ones(1, 1, CV_16U));
  EXPECT_EQ(FilterBench(makeAdd()).first({depth, depth}), nullptr);
  EXPECT_EQ(FilterBench(makeAdd()).first({gray, binary}), nullptr);
  EXPECT_EQ(FilterBench(makeSub()).first({binary, binary}), nullptr);
  EXPECT_EQ(FilterBench(makeMax()).first({depth, depth}), nullptr);
  EXPECT_EQ(FilterBench(makeMultiply()).first({gray, gray}), nullptr);
  EXPECT_EQ(FilterBench(makeMultiply()).first({makeData(2), gray}), nullptr);
}

TEST(Arithmetic, RefusesImagesOfDifferentSize)
{
  // A single pixel, and as many as channels, would be a number for OpenCV; an empty mask would be none.
  for (const cv::Size size : {cv::Size(0, 0), cv::Size(1, 1), cv::Size(1, 3), cv::Size(4, 3), cv::Size(3, 4)})
  {
    const DataPtr large = image<ColorImage>(cv::Mat::ones(4, 4, CV_8UC3));
    const DataPtr other = image<ColorImage>(cv::Mat::ones(size, CV_8UC3));
    for (const Make make : {makeAdd, makeSub, makeMultiply, makeMin, makeMax})
    {
      FilterBench filter(make());
      EXPECT_THROW(filter({large, other}), cv::Exception) << (*filter).getName() << size;
      EXPECT_THROW(filter({other, large}), cv::Exception) << (*filter).getName() << size;
    }
    FilterBench mask(makeMask());
    EXPECT_THROW(mask({image<BinaryImage>(cv::Mat::ones(size, CV_8U)), large}), cv::Exception) << size;
  }
}

TEST(Invert, TurnsIntoTheOpposite)
{
  cv::RNG random(32);
  FilterBench filter(makeInvert());
  EXPECT_FALSE(filter.first({makeData(true)})->toBool());
  for (const cv::Size size : oddSizes)
  {
    const cv::Mat color = randomMat(random, size, CV_8UC3);
    const cv::Mat gray = coarseMat(random, size, CV_8U);
    const auto inverse = [](int level, int) { return 255 - level; };
    const auto background = [](int level, int) { return level == 0 ? 255 : 0; };
    EXPECT_TRUE(equal(matOf(filter.first({image<ColorImage>(color)})), combine<unsigned char>(color, color, inverse)));
    EXPECT_TRUE(equal(matOf(filter.first({image<GrayscaleImage>(gray)})), combine<unsigned char>(gray, gray, inverse)));
    EXPECT_TRUE(equal(matOf(filter.first({image<BinaryImage>(gray)})), combine<unsigned char>(gray, gray, background)));
  }
  EXPECT_EQ(filter.first({image<DepthImage>(cv::Mat::ones(1, 1, CV_16U))}), nullptr);
  EXPECT_EQ(filter.first({nullptr}), nullptr);
}

template <typename Image>
class MaskTest : public testing::Test
{
};

using MaskedImages = testing::Types<ColorImage, GrayscaleImage, BinaryImage, LabelImage, DepthImage, XYZImage>;
TYPED_TEST_SUITE(MaskTest, MaskedImages);

TYPED_TEST(MaskTest, KeepsWhatIsMarked)
{
  cv::RNG random(33);
  FilterBench filter(makeMask());
  for (int run = 0; run < 2; ++run)  // the second one meets the pixels of the first in its memory
  {
    for (const cv::Size size : oddSizes)
    {
      const cv::Mat mask = coarseMat(random, size, CV_8U);
      const cv::Mat in = randomMat(random, size, TypeParam::matType);
      const DataPtr out = filter.first({named(mask), image<TypeParam>(in)});
      ASSERT_TRUE(out && out->get<TypeParam>());
      EXPECT_EQ(Type::sourceName(*out), "the mask's");
      cv::Mat expected;
      in.copyTo(expected, mask);
      EXPECT_TRUE(equal(matOf(out), size.empty() ? in : expected)) << size;
    }
  }
}

TEST(Mask, LogsOtherTypes)
{
  const DataPtr binary = named(cv::Mat::ones(1, 1, CV_8U));
  FilterBench filter(makeMask());
  const ku::log::Capture log;
  for (const DataList& inputs : {DataList{}, {binary}, {binary, nullptr}, {nullptr, binary}})
    EXPECT_TRUE(filter(inputs).empty());
  EXPECT_TRUE(log.entries().empty());
  const DataPtr matrix = image<Type::MatrixImage>(cv::Mat::ones(1, 1, CV_32F));
  EXPECT_TRUE(filter({binary, matrix}).empty());
  EXPECT_TRUE(filter({matrix, binary}).empty());
  EXPECT_EQ(log.texts("filtrix.filter.mask"), std::vector<std::string>(2, " [Invalid Input] -> Mask -> ..."));
}

template <typename Image>
class ScaleDownTest : public testing::Test
{
};

using ScaledImages = testing::Types<ColorImage, GrayscaleImage, BinaryImage, LabelImage, DepthImage>;
TYPED_TEST_SUITE(ScaleDownTest, ScaledImages);

TYPED_TEST(ScaleDownTest, KeepsEveryNthPixelAndTheView)
{
  cv::RNG random(34);
  FilterBench filter(makeScaleDown());
  const cv::Mat in = randomMat(random, {60, 40}, TypeParam::matType);
  for (const int factor : {1, 2, 4, 20})
  {
    const DataPtr out = filter.first({image<TypeParam>(in), makeData(factor)});
    const cv::Mat small = matOf(out);
    ASSERT_EQ(small.size(), cv::Size(60 / factor, 40 / factor));
    EXPECT_EQ(Type::horizontalFov(*out), 1.0F);
    for (int y = 0; y < small.rows; ++y)
      for (int x = 0; x < small.cols; ++x)
        ASSERT_TRUE(std::equal(small.ptr(y, x), small.ptr(y, x) + in.elemSize(), in.ptr(y * factor, x * factor)));
  }
  for (const int factor : {41, intMax})
    EXPECT_THROW(filter({image<TypeParam>(in), makeData(factor)}), std::invalid_argument);
  for (const int factor : {0, -1, intMin})
  {
    const DataPtr value = image<TypeParam>(in);
    EXPECT_EQ(filter.first({value, makeData(factor)}), value) << "the very object";
  }
}

TEST(ScaleDown, LogsOtherImages)
{
  FilterBench filter(makeScaleDown());
  const DataPtr points = image<XYZImage>(cv::Mat::zeros(4, 4, CV_32FC3));
  const ku::log::Capture log;
  EXPECT_TRUE(filter({points}).empty());
  EXPECT_TRUE(filter({points, makeData(2.0F)}).empty());
  EXPECT_TRUE(log.entries().empty());
  EXPECT_TRUE(filter({points, makeData(2)}).empty());
  EXPECT_TRUE(filter({makeData(std::shared_ptr<ColorImage>()), makeData(2)}).empty());
  EXPECT_EQ(log.texts("filtrix.filter.scaledown"), std::vector<std::string>(2, " [Invalid Input] -> ScaleDown -> ..."));
}

TEST(Extract, CutsACopyOut)
{
  cv::RNG random(35);
  FilterBench filter(makeExtract());
  const cv::Mat in = randomMat(random, {20, 10}, CV_8UC3);
  const auto region = [](float left, float top, float right, float bottom) {
    return makeData(Type::Region2({left, top}, {right, bottom}));
  };
  const DataPtr out = filter.first({image<ColorImage>(in), region(4.6F, 2.4F, 99.0F, 5.0F)});
  EXPECT_TRUE(equal(matOf(out), in(cv::Rect(5, 2, 15, 4))));
  EXPECT_NE(matOf(out).data, in.ptr(2, 5));
  EXPECT_FLOAT_EQ(Type::horizontalFov(*out), 0.75F);
  EXPECT_EQ(out->timestamp(), Time(1'000'000));
  EXPECT_THROW(filter({image<ColorImage>(in), region(30.0F, 0.0F, 40.0F, 5.0F)}), cv::Exception);
  EXPECT_EQ(filter.first({image<GrayscaleImage>(cv::Mat::ones(2, 2, CV_8U)), region(0, 0, 1, 1)}), nullptr);
  EXPECT_TRUE(filter({image<ColorImage>(in), nullptr}).empty());
  EXPECT_TRUE(filter({image<ColorImage>(in), makeData(1)}).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
