#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/randommat.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using namespace Test;
using Type::ColorImage;

// The definition, step by step.
int degreesOf(float r, float g, float b)
{
  const auto a = static_cast<float>(std::atan2(1.73 * static_cast<double>(g - b), static_cast<double>(2 * r - g - b)));
  return static_cast<int>(static_cast<double>(a) / 6.29 * 360.0);
}

int nearness(int degrees, std::int64_t reference)
{
  std::int64_t h = degrees - reference;
  if (h < 0)
    h = h + 360 + ((-h - 1) / 360) * 360;
  if (h > 360)
    h = h - 360 - ((h - 361) / 360) * 360;
  if (h > 180)
    h = 360 - h;
  return static_cast<int>(255 - (h * 255) / 180);
}

constexpr std::array references{0, 75, -1000};

// All colours with one level of red.
int countDifferences(FilterBench& filter, int red)
{
  cv::Mat colors(256, 256, CV_8UC3);
  for (int green = 0; green < 256; ++green)
    for (int blue = 0; blue < 256; ++blue)
      colors.at<cv::Vec3b>(green, blue) = cv::Vec3b(static_cast<unsigned char>(red), static_cast<unsigned char>(green),
                                                    static_cast<unsigned char>(blue));
  std::vector<cv::Mat> results;
  for (const int reference : references)
    results.push_back(Type::toCvMat(*filter.first({image<ColorImage>(colors), makeData(reference)})));

  int differences = 0;
  for (int green = 0; green < 256; ++green)
  {
    for (int blue = 0; blue < 256; ++blue)
    {
      const int degrees = degreesOf(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
      for (std::size_t i = 0; i < references.size(); ++i)
        differences += results[i].at<unsigned char>(green, blue) != nearness(degrees, references[i]);
    }
  }
  return differences;
}

TEST(Hue, IsExactForEveryColor)
{
  constexpr int workers = 2;
  std::array<int, workers> differences{};
  std::vector<std::thread> threads;
  for (int worker = 0; worker < workers; ++worker)
  {
    threads.emplace_back(
        [&, worker]
        {
          FilterBench filter(makeHue());
          for (int red = worker; red < 256; red += workers)
            differences[static_cast<std::size_t>(worker)] += countDifferences(filter, red);
        });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(differences, (std::array<int, workers>{}));
}

TEST(Hue, TakesEveryReference)
{
  constexpr int intMin = std::numeric_limits<int>::min();
  constexpr int intMax = std::numeric_limits<int>::max();
  cv::RNG random(41);
  FilterBench filter(makeHue());
  for (const int reference : {intMin, -721, -720, -361, -360, -1, 1, 179, 180, 181, 359, 360, 361, 720, intMax})
  {
    const cv::Mat in = randomMat(random, {101, 7}, CV_8UC3);
    const auto expected = [reference](int r, int g, int b)
    { return nearness(degreesOf(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b)), reference); };
    const DataPtr out = filter.first({image<ColorImage>(in), makeData(reference)});
    EXPECT_TRUE(equal(Type::toCvMat(*out), mapColors(in, expected))) << reference;
  }
}

TEST(Hue, GivesNothingForOtherInputs)
{
  FilterBench filter(makeHue());
  const DataPtr color = image<ColorImage>(cv::Mat::zeros(1, 1, CV_8UC3));
  for (const DataList& inputs : {DataList{}, {color}, {color, nullptr}, {color, makeData(1.0F)}, {makeData(1), color}})
    EXPECT_TRUE(filter(inputs).empty());
  EXPECT_TRUE(Type::toCvMat(*filter.first({image<ColorImage>(cv::Mat()), makeData(0)})).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
