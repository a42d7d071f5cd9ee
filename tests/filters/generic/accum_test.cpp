#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;
using testing::ElementsAre;
using Type::ColorImage;
using Type::DepthImage;
using Type::GrayscaleImage;

constexpr int intMax = std::numeric_limits<int>::max();

template <typename Image>
DataPtr row(std::vector<typename Image::PixelType> pixels)
{
  return image<Image>(cv::Mat(pixels, true).reshape(Image::channels, 1));
}

// A random image, as a part of a larger matrix.
template <typename Image>
DataPtr randomImage(cv::RNG& random, cv::Size size)
{
  cv::Mat whole(size + cv::Size(3, 2), Image::matType);
  random.fill(whole, cv::RNG::UNIFORM, 0, std::numeric_limits<typename Image::PixelType>::max() + 1);
  return image<Image>(whole(cv::Rect({1, 1}, size)));
}

template <typename Image>
std::vector<int> elements(const DataPtr& value)
{
  const cv::Mat mat = value->get<Image>()->cvMat().clone().reshape(1, 1);
  return {mat.begin<typename Image::PixelType>(), mat.end<typename Image::PixelType>()};
}

template <typename Image>
class WindowTest : public testing::Test
{
};

using ImageTypes = testing::Types<ColorImage, GrayscaleImage, DepthImage>;
TYPED_TEST_SUITE(WindowTest, ImageTypes);

TYPED_TEST(WindowTest, AccumFollowsItsDefinition)
{
  cv::RNG random(21);
  for (const float factor : {0.0F, 0.3F, 0.5F, 1.0F, 1.5F, -0.25F, 40.0F})
  {
    FilterBench filter(makeAccum());
    const int newWeight = static_cast<int>(double{factor} * 256.0);
    const int oldWeight = static_cast<int>((1.0 - double{factor}) * 256.0);
    std::vector<int> state;
    for (int run = 0; run < 6; ++run)
    {
      const DataPtr in = randomImage<TypeParam>(random, {19, 5});
      const std::vector<int> pixels = elements<TypeParam>(in);
      for (std::size_t i = 0; i < state.size(); ++i)
        state[i] = std::clamp((pixels[i] * newWeight + state[i] * oldWeight) >> 8, 0,
                              int{std::numeric_limits<typename TypeParam::PixelType>::max()});
      if (run == 0)
        state = pixels;
      ASSERT_EQ(elements<TypeParam>(filter.first({in, makeData(factor)})), state) << factor << ", run " << run;
    }
  }
}

TYPED_TEST(WindowTest, SlidingWindowIsTheMeanOfTheLast)
{
  cv::RNG random(22);
  FilterBench filter(makeSlidingWindow());
  std::deque<std::vector<int>> last;
  for (const int size : {3, 3, 3, 3, 5, 5, 5, 2, 2, 0, 1, -7, intMax, intMax, intMax, 7, 7, 7, 7, 7, 4})
  {
    const DataPtr in = randomImage<TypeParam>(random, {11, 4});
    last.push_back(elements<TypeParam>(in));
    while (static_cast<int>(last.size()) > std::max(size, 1))
      last.pop_front();
    std::vector<int> mean(last.front().size());
    for (std::size_t i = 0; i < mean.size(); ++i)
    {
      for (const auto& pixels : last)
        mean[i] += pixels[i];
      mean[i] /= static_cast<int>(last.size());
    }
    ASSERT_EQ(elements<TypeParam>(filter.first({in, makeData(size)})), mean) << "size " << size;
  }
}

TEST(SlidingWindow, AStillSceneStaysAsItIs)
{
  // At every count: a quotient that is whole must not come out a little below.
  FilterBench filter(makeSlidingWindow());
  const DataPtr still = row<DepthImage>({0, 1, 2, 3, 7, 254, 255, 1000, 65534, 65535});
  for (int count = 1; count <= 500; ++count)
    ASSERT_EQ(elements<DepthImage>(filter.first({still, makeData(intMax)})), elements<DepthImage>(still)) << count;
}

struct FactorCase
{
  const char* name;
  float factor;
  std::vector<int> expected;  // after {0, 100, 255} comes {10, 100, 200}
};

class AccumFactor : public testing::TestWithParam<FactorCase>
{
};

TEST_P(AccumFactor, HasADefinedOutcome)
{
  FilterBench filter(makeAccum());
  filter({row<GrayscaleImage>({0, 100, 255}), makeData(0.5F)});
  const DataPtr out = filter.first({row<GrayscaleImage>({10, 100, 200}), makeData(GetParam().factor)});
  EXPECT_EQ(elements<GrayscaleImage>(out), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Edges, AccumFactor,
                         testing::Values(FactorCase{"NoNumberKeepsTheOld", NAN, {0, 100, 255}},
                                         FactorCase{"InfiniteSaturates", INFINITY, {255, 100, 0}},
                                         FactorCase{"MinusInfiniteSaturates", -INFINITY, {0, 100, 255}},
                                         FactorCase{"HugeSaturates", 3e38F, {255, 100, 0}},
                                         FactorCase{"TruncationLosesALevel", 0.3F, {2, 99, 237}}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Accum, NeverWritesToWhatItHasPublished)
{
  FilterBench filter(makeAccum());
  const DataPtr source = row<GrayscaleImage>({10, 20});
  const DataPtr first = filter.first({source, makeData(1.0F)});
  const DataPtr second = filter.first({row<GrayscaleImage>({90, 80}), makeData(1.0F)});
  EXPECT_THAT(elements<GrayscaleImage>(first), ElementsAre(10, 20));
  EXPECT_THAT(elements<GrayscaleImage>(second), ElementsAre(90, 80));
  EXPECT_NE(first->get<GrayscaleImage>()->data(), source->get<GrayscaleImage>()->data()) << "the first is a copy";
}

TEST(Accum, KeepsAStateOfAnotherType)
{
  FilterBench filter(makeAccum());
  const DataPtr first = filter.first({row<DepthImage>({1000}), makeData(0.5F)});
  EXPECT_EQ(filter.first({row<GrayscaleImage>({10}), makeData(0.5F)}), first);
  EXPECT_THAT(elements<DepthImage>(filter.first({row<DepthImage>({3000}), makeData(0.5F)})), ElementsAre(2000));
}

// What holds for both.
class SmoothingTest : public testing::TestWithParam<FilterPtr (*)()>
{
protected:
  FilterBench filter{GetParam()()};
  const DataPtr amount = GetParam() == &makeAccum ? makeData(0.5F) : makeData(2);
};

TEST_P(SmoothingTest, AnotherSizeStartsAfresh)
{
  filter({row<GrayscaleImage>({10, 20}), amount});
  EXPECT_THAT(elements<GrayscaleImage>(filter.first({row<GrayscaleImage>({90}), amount})), ElementsAre(90));
  EXPECT_THAT(elements<GrayscaleImage>(filter.first({row<GrayscaleImage>({30}), amount})), ElementsAre(60));
  EXPECT_TRUE(Type::toCvMat(*filter.first({image<GrayscaleImage>(cv::Mat()), amount})).empty());
  EXPECT_TRUE(Type::toCvMat(*filter.first({image<GrayscaleImage>(cv::Mat()), amount})).empty());
}

TEST_P(SmoothingTest, EveryScopeHasAStateOfItsOwn)
{
  filter({row<GrayscaleImage>({10}), amount}, "left");
  const DataPtr right = filter({row<GrayscaleImage>({90}), amount}, "right").front();
  const DataPtr left = filter({row<GrayscaleImage>({20}), amount}, "left").front();
  EXPECT_THAT(elements<GrayscaleImage>(right), ElementsAre(90));
  EXPECT_THAT(elements<GrayscaleImage>(left), ElementsAre(15));
}

TEST_P(SmoothingTest, TheResultHasTheHeaderOfTheNewImage)
{
  filter({row<GrayscaleImage>({10}), amount});
  const auto later = std::make_shared<GrayscaleImage>(cv::Mat::ones(1, 1, CV_8U), "later", Time(5'000'000), 0.5F, 0.4F);
  const DataPtr out = filter.first({makeData(later), amount});
  EXPECT_EQ(Type::sourceName(*out), "later");
  EXPECT_EQ(Type::timestamp(*out), Time(5'000'000));
  EXPECT_EQ(Type::horizontalFov(*out), 0.5F);
}

TEST_P(SmoothingTest, LogsOtherImagesAndNothingElse)
{
  const std::string name = (*filter).getName();
  const DataPtr gray = row<GrayscaleImage>({1});
  const ku::log::Capture log;
  for (const DataList& inputs : {DataList{}, {gray}, {gray, nullptr}, {gray, makeData("2")}, {gray, amount, amount}})
    EXPECT_TRUE(filter(inputs).empty());
  EXPECT_TRUE(log.entries().empty());

  for (const DataPtr& wrong : {DataPtr(), makeData(1), image<Type::LabelImage>(cv::Mat::ones(1, 1, CV_32S))})
    EXPECT_TRUE(filter({wrong, amount}).empty());
  const std::string category = GetParam() == &makeAccum ? "filtrix.filter.accum" : "filtrix.filter.slidingwindow";
  EXPECT_EQ(log.texts(category), std::vector<std::string>(3, " [Invalid Input] -> " + name + " -> ..."));
}

INSTANTIATE_TEST_SUITE_P(Both, SmoothingTest, testing::Values(&makeAccum, &makeSlidingWindow),
                         [](const auto& test) { return test.param()->getName(); });

TEST(SlidingWindow, AnotherTypeStartsAfresh)
{
  FilterBench filter(makeSlidingWindow());
  filter({row<DepthImage>({1000}), makeData(3)});
  EXPECT_THAT(elements<GrayscaleImage>(filter.first({row<GrayscaleImage>({10}), makeData(3)})), ElementsAre(10));
  EXPECT_THAT(elements<DepthImage>(filter.first({row<DepthImage>({3000}), makeData(3)})), ElementsAre(3000));
}

TEST(SlidingWindow, KeepsPixelsThatAreNotTheImagesOwn)
{
  FilterBench filter(makeSlidingWindow());
  unsigned char buffer = 40;
  const auto borrowed = [&]
  { return makeData(std::make_shared<GrayscaleImage>(&buffer, 1, 1, "test", Time(1), 1.0F, 1.0F)); };
  filter({borrowed(), makeData(2)});
  buffer = 200;  // the caller's next image, in the same place
  EXPECT_THAT(elements<GrayscaleImage>(filter.first({borrowed(), makeData(2)})), ElementsAre(120));
  buffer = 100;
  EXPECT_THAT(elements<GrayscaleImage>(filter.first({borrowed(), makeData(2)})), ElementsAre(150));
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
