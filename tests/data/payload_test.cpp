#include "filtrix/audiobuffer.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"

#include <gmock/gmock.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>
#include <random>

namespace ZR::Filtrix::Type
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Histogram, ChannelsStandInterleaved)
{
  const float bins[] = {1, 10, 5, 30, 5, 20};
  const Histogram histogram(bins, 6, 2);
  EXPECT_EQ(histogram.size(), 3U);
  EXPECT_EQ(histogram.totalSize(), 6U);
  EXPECT_EQ(histogram.maxIndex(), 3U);
  EXPECT_EQ(histogram.maxValue(), 30.0F);
  EXPECT_EQ(histogram.minValue(), 1.0F);
  EXPECT_EQ(histogram.maxValue(0), 5.0F);
  EXPECT_EQ(histogram.minValue(1), 10.0F);
  EXPECT_EQ(histogram.maxValue(2), 0.0F) << "no such channel";
}

TEST(Histogram, EmptyOnesAnswerToo)
{
  const Histogram histogram(0, 0);
  EXPECT_EQ(histogram.channels(), 1U);
  EXPECT_EQ(histogram.maxIndex(), 0U);
  EXPECT_EQ(histogram.maxValue() + histogram.minValue(0), 0.0F);
  EXPECT_THAT(histogram.topIndices(5), IsEmpty());
  EXPECT_EQ(histogram.draw().width(), 1);
}

// The n greatest, the greatest first: what a full sort gives, for any n.
TEST(Histogram, TopIndicesAreThoseOfASort)
{
  std::mt19937 random(3);
  std::vector<float> bins(40);
  for (float& bin : bins)
    bin = static_cast<float>(random() % 12U);
  bins[7] = std::numeric_limits<float>::quiet_NaN();
  const Histogram histogram(bins.data(), 40, 1);
  std::vector<std::uint32_t> sorted(40);
  for (std::uint32_t i = 0; i < 40; ++i)
    sorted[i] = i;
  std::ranges::stable_sort(sorted, [&](std::uint32_t a, std::uint32_t b)
                           { return (a == 7 ? -1.0F : bins[a]) > (b == 7 ? -1.0F : bins[b]); });
  for (const std::uint32_t n : {0U, 1U, 2U, 17U, 40U, 1000U})
  {
    const auto top = histogram.topIndices(n);
    const auto count = std::min<std::ptrdiff_t>(n, 40);
    EXPECT_TRUE(std::equal(top.begin(), top.end(), sorted.begin(), sorted.begin() + count)) << n;
  }
}

TEST(Histogram, DrawsBarsInTheColoursOfItsChannels)
{
  const float bins[] = {4, 2, 1};
  const ColorImage image = Histogram(bins, 3, 3).draw(100);
  ASSERT_EQ(image.width(), 3);
  const auto pixel = [&](int x, int y) { return image.cvMat().at<cv::Vec3b>(y, x); };
  const cv::Vec3b white(255, 255, 255);
  EXPECT_EQ(pixel(0, 0), cv::Vec3b(255, 0, 0));
  EXPECT_EQ(pixel(1, 49), white);
  EXPECT_EQ(pixel(1, 50), cv::Vec3b(0, 255, 0));
  EXPECT_EQ(pixel(2, 74), white);
  EXPECT_EQ(pixel(2, 75), cv::Vec3b(0, 0, 255));

  EXPECT_EQ(Histogram(640, 1).draw().width(), 640);
  EXPECT_EQ(Histogram(641, 1).draw().width(), 320);
  EXPECT_EQ(Histogram(100'000, 1).draw().width(), 390);
}

TEST(AudioBuffer, DrawsALanePerChannel)
{
  constexpr std::int16_t least = std::numeric_limits<std::int16_t>::min();
  constexpr std::int16_t most = std::numeric_limits<std::int16_t>::max();
  const std::int16_t samples[] = {most, 0, least, most};
  const AudioBuffer buffer(samples, 4, 2);
  const ColorImage image = buffer.draw();
  EXPECT_EQ(image.width(), 320);
  EXPECT_EQ(image.height(), 240);
  const auto lit = [&](int x, int y) { return image.at(x, y) == 255; };
  EXPECT_TRUE(lit(0, 0)) << "the loudest sample fills the upper half of the first lane";
  EXPECT_TRUE(lit(0, 60));
  EXPECT_FALSE(lit(0, 61));
  EXPECT_TRUE(lit(160, 119)) << "the lower half";
  EXPECT_FALSE(lit(160, 59));
  EXPECT_TRUE(lit(0, 180)) << "silence is a dot on the centre of the second lane";
  EXPECT_FALSE(lit(0, 179));
  EXPECT_TRUE(lit(160, 120));
  EXPECT_FALSE(lit(1, 60));
  EXPECT_EQ(AudioBuffer(0, 0).draw().width(), 320);
  EXPECT_EQ(AudioBuffer(2000, 1000).draw().height(), 240);
}
}  // namespace
}  // namespace ZR::Filtrix::Type
